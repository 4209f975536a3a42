// The shape of a block: how the S bits of a band are dealt to its T threads, K bits each, and where
// a bit is in a matrix row and in every other array that is kept in row order.
#pragma once

#include "engine/device/dialect.hpp"

namespace orvex::device {

/** Threads of a block of a band of `size` bits: one for four bits, within 64 and 1024. */
ORVEX_HD constexpr int threads_of(int size) {
    const int quarter = size / 4;
    const int at_least = quarter < 64 ? 64 : quarter;
    return at_least > 1024 ? 1024 : at_least;
}

/** Blocks, threads and places of one band. Bit j belongs to thread j / K as its own bit j % K. */
struct SHAPE {
    int size;     ///< S: bits of the band
    int threads;  ///< T: threads of a block
    int own;      ///< K: bits of one thread

    ORVEX_HD explicit constexpr SHAPE(int band_size)
        : size(band_size), threads(threads_of(band_size)), own(band_size / threads_of(band_size)) {}

    /**
     * Row order: the place of bit j in a matrix row. Chunk c of all threads lies in the T elements
     * from c * T, so the threads read neighbouring elements when they read a row chunk by chunk.
     */
    ORVEX_HD constexpr int place(int j) const { return (j % own) * threads + j / own; }

    /** Row numbers and public solutions are in bit order; this leads back from a place to its bit.
     */
    ORVEX_HD constexpr int bit(int place) const {
        return (place % threads) * own + place / threads;
    }
};
static_assert(SHAPE(64).own == 1 && SHAPE(256).own == 4 && SHAPE(4096).own == 4);
static_assert(SHAPE(65536).threads == 1024 && SHAPE(65536).own == 64);
static_assert(SHAPE(5120).bit(SHAPE(5120).place(4711)) == 4711);
static_assert(SHAPE(64).place(17) == 17, "with one bit for each thread, places are bits");

}  // namespace orvex::device
