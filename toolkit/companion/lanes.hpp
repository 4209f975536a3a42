// What an annealing by several replicas side by side works on. Each variable has a block of 64
// bytes for its fields and one for its spins, with a lane for each replica; so one walk over a
// variable's couplings serves all replicas, whatever the width of the machine's vectors. Invariant:
// every field of every state fits into a lane.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <vector>

namespace orvex::toolkit {

inline constexpr std::size_t BLOCK_BYTES = 64;

/** Replicas with fields of this type. */
template <class T>
inline constexpr std::size_t LANES = BLOCK_BYTES / sizeof(T);

/** Puts vectors at the beginning of a block. */
template <class T>
struct BlockAllocator {
    using value_type = T;
    BlockAllocator() = default;
    template <class U>
    explicit BlockAllocator(const BlockAllocator<U>&) {}
    T* allocate(std::size_t count) {
        return static_cast<T*>(::operator new (count * sizeof(T), std::align_val_t{BLOCK_BYTES}));
    }
    void deallocate(T* memory, std::size_t) {
        ::operator delete (memory, std::align_val_t{BLOCK_BYTES});
    }
    bool operator==(const BlockAllocator&) const { return true; }
};
template <class T>
using Blocks = std::vector<T, BlockAllocator<T>>;

/** A model, or a part of one whose surroundings stand still, with weights as wide as a lane. */
template <class T>
struct Part {
    std::vector<T> linear;                 ///< of each variable, with what surrounds the part
    std::vector<std::uint32_t> starts{0};  ///< of each variable's couplings, and their end
    std::vector<std::int32_t> neighbours;
    std::vector<T> weights;

    std::size_t size() const { return linear.size(); }
};

/** The replicas of a part. */
template <class T>
struct Replicas {
    Blocks<T> fields;  ///< what turning the variable from 0 to 1 would add to the energy
    Blocks<T> spins;   ///< 0, or -1 where the variable is 1
};

/**
 * An RNG for each word of a block: xoroshiro128+ of Blackman and Vigna ("Scrambled linear
 * pseudorandom number generators", ACM TOMS 47, 2021), seeded by splitmix64.
 */
struct Randoms {
    explicit Randoms(std::uint64_t seed);

    alignas(BLOCK_BYTES) std::array<std::uint64_t, 8> first;
    alignas(BLOCK_BYTES) std::array<std::uint64_t, 8> second;
};

/** Deltas that a table of acceptance has room for. */
inline constexpr int TABLE_SIZE = 16;

/** A temperature, as the sweeps need it. */
struct Heat {
    /** @param temperature in the unit of the part's weights, not below 0 */
    explicit Heat(double temperature);

    double temperature;
    /** Bytes of the chance to accept a delta of 0 to 15, in shares of 65536. */
    alignas(16) std::array<std::uint8_t, TABLE_SIZE> high;
    alignas(16) std::array<std::uint8_t, TABLE_SIZE> low;
};

}  // namespace orvex::toolkit
