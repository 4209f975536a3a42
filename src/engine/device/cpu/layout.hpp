// Where the arrays of a CPU block lie: one after the other in one piece of memory, each from the
// beginning of a cache line. Invariant: what is counted is what is placed, since one function does
// both.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>

#include "engine/device/cpu/ops.hpp"

namespace orvex::device {

inline constexpr std::size_t CACHE_LINE = 64;

/** Deals out a piece of memory; without one it only counts what would be dealt out. */
class ARENA {
  public:
    ARENA() = default;
    explicit ARENA(unsigned char* memory) : memory_(memory) {}

    template <class X>
    X* take(std::size_t count) {
        static_assert(alignof(X) <= CACHE_LINE);
        assert(reinterpret_cast<std::uintptr_t>(memory_) % CACHE_LINE == 0);
        X* const array = memory_ ? reinterpret_cast<X*>(memory_ + used_) : nullptr;
        used_ += (count * sizeof(X) + CACHE_LINE - 1) / CACHE_LINE * CACHE_LINE;
        return array;
    }

    /** Bytes dealt out, whole lines. */
    std::size_t used() const { return used_; }

  private:
    unsigned char* memory_ = nullptr;
    std::size_t used_ = 0;
};

/** All arrays of a block: those that the loops work on, and those that it keeps beside them. */
template <class N>
struct BLOCK_MEMORY {
    BLOCK_ARRAYS<N> arrays;
    std::uint8_t* barred_until;  ///< S times, see TABU_LIST
    std::int8_t* target;         ///< S bits to which the block walks
    std::int8_t* best;           ///< S bits of the best solution of the instance

    /** Numbers of the words, whole vectors of any width. */
    static constexpr std::size_t words_of(std::size_t size) {
        constexpr std::size_t LANES = CACHE_LINE / sizeof(N);
        return (size / WORD + LANES - 1) / LANES * LANES;
    }

    BLOCK_MEMORY(const SHAPE& shape, ARENA& arena) : arrays{.shape = shape} {
        const std::size_t size = static_cast<std::size_t>(shape.size);
        assert(size % WORD == 0);
        arrays.delta = arena.take<N>(size);
        arrays.ones = arena.take<std::int8_t>(size);
        arrays.differs = arena.take<std::int8_t>(size);
        arrays.barred = arena.take<std::uint8_t>(size);
        barred_until = arena.take<std::uint8_t>(size);
        target = arena.take<std::int8_t>(size);
        best = arena.take<std::int8_t>(size);
        arrays.group_low = arena.take<N>(size / WORD * (CACHE_LINE / sizeof(N)));
        arrays.chosen = arena.take<std::uint64_t>(size / WORD);
        arrays.tied = arena.take<std::uint64_t>(size / WORD);
        const std::size_t words = words_of(size);
        arrays.words.low = arena.take<N>(words);
        arrays.words.free_low = arena.take<N>(words);
        arrays.words.free_high = arena.take<N>(words);
        arrays.words.above = arena.take<N>(words);
        arrays.words.ties = arena.take<N>(words);
        arrays.words.free_above = arena.take<N>(words);
        arrays.words.free_ties = arena.take<N>(words);
        arrays.words.below = arena.take<int>(1);
    }
};

}  // namespace orvex::device
