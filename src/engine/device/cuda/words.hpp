// Reads and writes of single words that other threads use at the same time, and the device's clock.
// The kernel is written in these and in the words of the device language (__syncthreads, atomicMin,
// __ballot_sync, ...). A host compiler that is to compile the kernel's text has been given a
// meaning for all of them before this is included.
#pragma once

#ifdef __CUDACC__

#include <cstdint>

#include "engine/device/dialect.hpp"

namespace orvex::device {

/** A load that is made where it is written and bypasses the caches that are not coherent. */
template <class X>
ORVEX_BLOCK_CODE X peek(const X& word) {
    return *const_cast<const volatile X*>(&word);
}

/** The same for a store. */
template <class X>
ORVEX_BLOCK_CODE void poke(X& word, X value) {
    *const_cast<volatile X*>(&word) = value;
}

/** A plain store that several threads may make at once; any one of them may land. */
template <class X>
ORVEX_BLOCK_CODE void put(X& cell, X value) {
    cell = value;
}

/** Nanoseconds of the clock that all blocks of a device share. */
ORVEX_BLOCK_CODE std::uint64_t global_timer_ns() {
    std::uint64_t now;
    asm volatile("mov.u64 %0, %%globaltimer;" : "=l"(now));
    return now;
}

}  // namespace orvex::device

#endif
