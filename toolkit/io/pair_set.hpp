// The pairs of variables that a file has named so far. Invariant: memory grows with the number of
// pairs named, not with the number of pairs that there are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace orvex::toolkit {

/** A hash table with open addressing, at most half full. */
class PairSet {
  public:
    PairSet() : slots_(FIRST_SLOTS, FREE) {}

    /** @return whether the pair is new */
    bool insert(int i, int j) {
        if (2 * (count_ + 1) > slots_.size()) grow();
        if (i > j) std::swap(i, j);
        const bool is_new = place(std::uint64_t(static_cast<std::uint32_t>(i)) << 32 |
                                  static_cast<std::uint32_t>(j));
        count_ += is_new;
        return is_new;
    }

  private:
    static constexpr std::size_t FIRST_SLOTS = 64;            // a power of two, as all later sizes
    static constexpr std::uint64_t FREE = ~std::uint64_t{0};  // no pair: indices have 31 bits

    /** Multiplies by 2^64 over the golden ratio and takes the top bits (Knuth, section 6.4). */
    std::size_t first_slot(std::uint64_t pair) const {
        const std::uint64_t spread = (pair ^ pair >> 32) * 0x9E37'79B9'7F4A'7C15;
        return static_cast<std::size_t>(spread >> 32) & (slots_.size() - 1);
    }

    bool place(std::uint64_t pair) {
        std::size_t slot = first_slot(pair);
        for (; slots_[slot] != FREE; slot = (slot + 1) & (slots_.size() - 1))
            if (slots_[slot] == pair) return false;
        slots_[slot] = pair;
        return true;
    }

    void grow() {
        const std::vector<std::uint64_t> old =
            std::exchange(slots_, std::vector<std::uint64_t>(2 * slots_.size(), FREE));
        for (const std::uint64_t pair : old)
            if (pair != FREE) place(pair);
    }

    std::vector<std::uint64_t> slots_;
    std::size_t count_ = 0;
};

}  // namespace orvex::toolkit
