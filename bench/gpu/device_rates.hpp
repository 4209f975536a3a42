// What the device itself reaches, measured in the process that measures the search: the figures to
// hold the search's against. Any failure of the device ends the process with its message.
#pragma once

#include <cstddef>

namespace orvex::bench {

/** Bytes per second of a copy within device memory, read and written ones together. */
double copyRate();

/**
 * Bytes per second at which blocks read rows of `row_bytes` at random places of `bytes` of memory,
 * each thread 4 bytes at a time, as the search reads matrix rows.
 */
double rowReadRate(std::size_t bytes, std::size_t row_bytes, int threads, int blocks);

/** Seconds that one barrier costs a block of `threads` while `blocks` of them run. */
double barrierSeconds(int threads, int blocks);

}  // namespace orvex::bench
