// The pairs of variables that a model file has named so far, one bit for each pair. The memory
// comes from the system as zero pages, of which a sparse file touches few.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

namespace orvex::toolkit {

class PairSet {
  public:
    explicit PairSet(int size)
        : size_(static_cast<std::size_t>(size)),
          words_(static_cast<std::uint64_t*>(
              std::calloc(size_ * (size_ + 1) / 2 / 64 + 1, sizeof(std::uint64_t)))) {
        if (!words_) throw std::bad_alloc();
    }

    /** @return whether the pair is new */
    bool insert(int i, int j) {
        if (i > j) std::swap(i, j);
        const auto row = static_cast<std::size_t>(i), column = static_cast<std::size_t>(j);
        const std::size_t place = row * (2 * size_ - row + 1) / 2 + column - row;
        const std::uint64_t bit = std::uint64_t{1} << place % 64;
        std::uint64_t& word = words_.get()[place / 64];
        const bool is_new = (word & bit) == 0;
        word |= bit;
        return is_new;
    }

  private:
    struct Freer {
        void operator()(std::uint64_t* words) const { std::free(words); }
    };
    std::size_t size_;
    std::unique_ptr<std::uint64_t, Freer> words_;
};

}  // namespace orvex::toolkit
