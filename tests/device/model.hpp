// Matrices for the tests of a block. A matrix is given as a function of two bits and lies in
// memory in the form that a block reads: rows by bit, columns in row order, the bits above the
// model's size filled up. Its rows are written when they are first needed, so that the matrix of
// the largest band, which would not fit, can be searched for a while. The energy of a solution is
// computed from the function alone, in 64 bits.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <sys/mman.h>
#include <vector>

#include "engine/device/shape.hpp"

namespace orvex::device::test {

/** A solution: one byte for each bit of the band, 0 or 1. */
using BITS = std::vector<std::uint8_t>;

/** Element (i, j) of a symmetric matrix, asked for i <= j only. */
using ELEMENT = std::function<std::int64_t(int i, int j)>;

/** What a bit beyond the model has on its diagonal; it is coupled to nothing. */
inline constexpr std::int64_t FILLER = 255;

template <class E>
class TEST_MODEL {
  public:
    TEST_MODEL(int size, int variables, ELEMENT element)
        : shape(size),
          n(variables),
          element_(std::move(element)),
          weights_(reserve(bytes()), [size = bytes()](E* memory) { munmap(memory, size); }),
          diagonal_(static_cast<std::size_t>(size)),
          filled_(static_cast<std::size_t>(size)) {
        for (int i = 0; i < size; ++i)
            diagonal_[static_cast<std::size_t>(shape.place(i))] = at(i, i);
    }
    TEST_MODEL(int size, ELEMENT element) : TEST_MODEL(size, size, std::move(element)) {}

    const SHAPE shape;
    const int n;

    const E* weights() const { return weights_.get(); }
    const E* diagonal() const { return diagonal_.data(); }

    E at(int i, int j) const {
        if (i >= n || j >= n) return static_cast<E>(i == j ? FILLER : 0);
        return static_cast<E>(i <= j ? element_(i, j) : element_(j, i));
    }

    /** The element as a block reads it, for tests that spoil one. */
    E& inMemory(int i, int j) {
        needRow(i);
        return weights_[static_cast<std::size_t>(i) * static_cast<std::size_t>(size()) +
                        static_cast<std::size_t>(shape.place(j))];
    }

    /** Row i is in memory from now on. */
    void needRow(int i) {
        if (filled_[static_cast<std::size_t>(i)]) return;
        filled_[static_cast<std::size_t>(i)] = true;
        E* row = weights_.get() + static_cast<std::size_t>(i) * static_cast<std::size_t>(size());
        for (int j = 0; j < size(); ++j)
            row[shape.place(j)] = at(i, j);
    }
    void needAllRows() {
        for (int i = 0; i < size(); ++i)
            needRow(i);
    }

    /** Sum of the elements (i, j), i <= j, of which both bits are 1, modulo 2^64. */
    std::int64_t energy(const BITS& solution) const {
        std::vector<int> ones;
        for (int i = 0; i < size(); ++i)
            if (solution[static_cast<std::size_t>(i)]) ones.push_back(i);
        std::uint64_t sum = 0;
        for (std::size_t a = 0; a < ones.size(); ++a)
            for (std::size_t b = a; b < ones.size(); ++b)
                sum += static_cast<std::uint64_t>(std::int64_t{at(ones[a], ones[b])});
        return static_cast<std::int64_t>(sum);
    }

    int size() const { return shape.size; }

  private:
    std::size_t bytes() const {
        return static_cast<std::size_t>(size()) * static_cast<std::size_t>(size()) * sizeof(E);
    }

    /** Address space only: pages come when they are touched. */
    static E* reserve(std::size_t bytes) {
        void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory == MAP_FAILED) throw std::bad_alloc();
        return static_cast<E*>(memory);
    }

    ELEMENT element_;
    std::unique_ptr<E[], std::function<void(E*)>> weights_;
    std::vector<E> diagonal_;
    std::vector<bool> filled_;
};

// ---- kinds of models -----------------------------------------------------------------------

/** A well-mixed number for each pair of bits, the same at every call. */
inline std::uint64_t mixed(std::uint64_t seed, int i, int j) {
    std::uint64_t x = seed * 0x9E3779B97F4A7C15u + static_cast<std::uint64_t>(i) * 65536u +
                      static_cast<std::uint64_t>(j);
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9u;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBu;
    return x ^ (x >> 31);
}

inline std::int64_t within(std::uint64_t number, std::int64_t low, std::int64_t high) {
    return low + static_cast<std::int64_t>(number % static_cast<std::uint64_t>(high - low + 1));
}

/** Every element drawn evenly from low to high. */
inline ELEMENT dense(std::uint64_t seed, std::int64_t low, std::int64_t high) {
    return [=](int i, int j) { return within(mixed(seed, i, j), low, high); };
}

/** Few couplings, many zeros. */
inline ELEMENT sparse(std::uint64_t seed, int one_in, std::int64_t limit) {
    return [=](int i, int j) {
        const bool present = i == j || mixed(seed + 1, i, j) % static_cast<unsigned>(one_in) == 0;
        return present ? within(mixed(seed, i, j), -limit, limit) : 0;
    };
}

/** Nearly all deltas are equal to many others. */
inline ELEMENT ties(std::uint64_t seed) {
    return dense(seed, -1, 1);
}

/** Local minima with few ones: bits drive each other out, so descents are short in any band. */
inline ELEMENT shallow(std::uint64_t seed) {
    return [=](int i, int j) {
        if (i != j) return within(mixed(seed, i, j), -6, 12);
        return mixed(seed, i, i) % 512 == 0 ? std::int64_t{-40} : within(mixed(seed, i, i), 20, 90);
    };
}

/** No couplings; the given diagonal for the first bits, `rest` for the others. */
inline ELEMENT uncoupled(std::vector<std::int64_t> diagonal, std::int64_t rest) {
    return [diagonal = std::move(diagonal), rest](int i, int j) {
        if (i != j) return std::int64_t{0};
        const std::size_t bit = static_cast<std::size_t>(i);
        return bit < diagonal.size() ? diagonal[bit] : rest;
    };
}

}  // namespace orvex::device::test
