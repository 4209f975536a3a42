// What the words of the device language mean on fibers. With this in front, the kernel's own text
// is compiled by the host compiler: the threads of a block are fibers, shared memory is of the host
// thread that runs the block.
//
// Atomic operations on cells of the block order nothing, as on the device, so that they cannot
// stand in for a barrier that is missing; the exchange is what locks are made of, and does.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstring>

#include "fibers.hpp"

#define __device__
#define __forceinline__ inline
#define __global__ inline
#define __constant__ inline
#define __shared__ static thread_local

#define ORVEX_HERE                 \
    ::orvex::device::test::PLACE { \
        __FILE__, __LINE__         \
    }
#define threadIdx (::orvex::device::test::thread_index())
#define blockIdx (::orvex::device::test::block_index())
#define __syncthreads() ::orvex::device::test::FIBERS::current().barrier(ORVEX_HERE)
#define __ballot_sync(mask, vote) ::orvex::device::test::ballot(mask, vote, ORVEX_HERE)
#define __shfl_xor_sync(mask, value, distance) \
    ::orvex::device::test::shuffled(mask, value, distance, ORVEX_HERE)
#define __reduce_min_sync(mask, value) \
    ::orvex::device::test::reduced(    \
        mask, value, [](auto a, auto b) { return b < a ? b : a; }, ORVEX_HERE)
#define __reduce_max_sync(mask, value) \
    ::orvex::device::test::reduced(    \
        mask, value, [](auto a, auto b) { return b > a ? b : a; }, ORVEX_HERE)
#define __reduce_add_sync(mask, value) \
    ::orvex::device::test::reduced(    \
        mask, value, [](auto a, auto b) { return a + b; }, ORVEX_HERE)

namespace orvex::device::test {

struct INDEX {
    unsigned x;
};
inline INDEX thread_index() {
    return {static_cast<unsigned>(FIBERS::current().thread())};
}
inline INDEX block_index() {
    return {static_cast<unsigned>(FIBERS::current().block())};
}

// ---- warps ---------------------------------------------------------------------------------

inline unsigned ballot(unsigned mask, bool vote, PLACE place) {
    const std::uint64_t* votes = FIBERS::current().exchange(mask, vote, place);
    unsigned word = 0;
    for (int lane = 0; lane < 32; ++lane)
        word |= static_cast<unsigned>(votes[lane]) << lane;
    return word;
}

template <class X>
X lane_value(const std::uint64_t* values, int lane) {
    X value;
    std::memcpy(&value, values + lane, sizeof(X));
    return value;
}

template <class X>
const std::uint64_t* exchanged(unsigned mask, X value, PLACE place) {
    std::uint64_t word = 0;
    std::memcpy(&word, &value, sizeof(X));
    return FIBERS::current().exchange(mask, word, place);
}

template <class X>
X shuffled(unsigned mask, X value, int distance, PLACE place) {
    const int lane = FIBERS::current().thread() % 32;
    return lane_value<X>(exchanged(mask, value, place), lane ^ distance);
}

template <class X, class OF>
X reduced(unsigned mask, X value, OF of, PLACE place) {
    const std::uint64_t* values = exchanged(mask, value, place);
    X result = lane_value<X>(values, 0);
    for (int lane = 1; lane < 32; ++lane)
        result = of(result, lane_value<X>(values, lane));
    return result;
}

/** Replaces *cell by of(*cell, value); returns what was there. */
template <class X, class OF>
X atomically(X* cell, OF of, int order) {
    FIBERS::current().maybeYield();
    X seen = __atomic_load_n(cell, __ATOMIC_RELAXED);
    while (!__atomic_compare_exchange_n(cell, &seen, of(seen), false, order, __ATOMIC_RELAXED)) {
    }
    return seen;
}

}  // namespace orvex::device::test

// ---- memory --------------------------------------------------------------------------------

inline int atomicMin(int* cell, int value) {
    return orvex::device::test::atomically(
        cell, [=](int seen) { return value < seen ? value : seen; }, __ATOMIC_RELAXED);
}
inline int atomicMax(int* cell, int value) {
    return orvex::device::test::atomically(
        cell, [=](int seen) { return value > seen ? value : seen; }, __ATOMIC_RELAXED);
}
inline int atomicAdd(int* cell, int value) {
    return orvex::device::test::atomically(  // wraps, as tickets do on a device
        cell,
        [=](int seen) {
            return static_cast<int>(static_cast<unsigned>(seen) + static_cast<unsigned>(value));
        },
        __ATOMIC_RELAXED);
}
inline unsigned long long atomicCAS(unsigned long long* cell, unsigned long long expected,
                                    unsigned long long value) {
    return orvex::device::test::atomically(
        cell, [=](unsigned long long seen) { return seen == expected ? value : seen; },
        __ATOMIC_RELAXED);
}
inline unsigned atomicExch(unsigned* cell, unsigned value) {
    return orvex::device::test::atomically(
        cell, [=](unsigned) { return value; }, __ATOMIC_ACQ_REL);
}

template <class X>
X __ldg(const X* address) {
    return *address;
}
inline void __threadfence() {}
inline void __threadfence_system() {}
inline void __nanosleep(unsigned) {
    orvex::device::test::FIBERS::current().sleep();
}

namespace orvex::device {

template <class X>
X peek(const X& word) {
    return __atomic_load_n(&word, __ATOMIC_ACQUIRE);
}
template <class X>
void poke(X& word, X value) {
    __atomic_store_n(&word, value, __ATOMIC_RELEASE);
    if (test::FIBERS::on_poke) test::FIBERS::on_poke(&word);
}
template <class X>
void put(X& cell, X value) {
    if (test::FIBERS::current().mayLand(&cell)) __atomic_store_n(&cell, value, __ATOMIC_RELAXED);
}
inline std::uint64_t global_timer_ns() {
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                          std::chrono::steady_clock::now().time_since_epoch())
                                          .count());
}

}  // namespace orvex::device
