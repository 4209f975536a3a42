// What a run asks of the machine: the band that a model falls into, and the memory that it takes.
// The sizes of the bands come from the library; only the widths they come in are known here.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <orvex/orvex.hpp>

#include "toolkit/model/bounds.hpp"
#include "toolkit/settings/search_settings.hpp"

namespace orvex::toolkit {

/** Which engine runs a model. */
struct Band {
    int size;             ///< variables it holds
    int matrix_bits;      ///< width of a weight
    int arithmetic_bits;  ///< width of an energy

    std::string name() const;  ///< qb<size>_<matrix bits>_<arithmetic bits>
};

/** The widths that bands come in, as (weights, energies). */
inline constexpr int BAND_WIDTHS[][2] = {{32, 32}, {32, 64}, {64, 64}};

/** The sizes of this build's bands, ascending. */
std::vector<int> band_sizes(Solver& solver);

/**
 * The band that the library takes: the smallest that holds the model.
 *
 * @param sizes the sizes of the build's bands
 * @param size number of variables
 * @param width bits of a weight
 * @param arithmetic_bits width of energies that is asked for
 * @return none if no band holds the model
 */
std::optional<Band> band_for(const std::vector<int>& sizes, int size, int width,
                             int arithmetic_bits);

/** Bytes of memory. */
struct Memory {
    long model;   ///< the model's matrix
    long record;  ///< the band's form of it
    long rest;    ///< at most: program, libraries, pools, blocks, rings

    long total() const { return model + record + rest; }
};

Memory memory_of_run(int size, int width, const Band& band);

/** The blocks of a run on processors. */
struct Blocks {
    long count;   ///< how many there are, unless parameters say otherwise
    long memory;  ///< bytes of one with its share of the rings, at most
};

/** @return nothing but zeros in a build for GPUs, whose blocks lie in their own memory */
Blocks blocks_of_run(const Band& band);

/** The rows of the matrix as a run on processors reads them. */
struct RowsOfRun {
    std::string form;  ///< "8-bit", "16-bit", "32-bit", "64-bit" or "sparse"
    long memory;       ///< bytes that the form takes beside the band's matrix, if there is room
};

/** @return none in a build for GPUs, which read the band's matrix itself */
std::optional<RowsOfRun> rows_of_run(const Band& band, const Couplings& couplings);

/** Bytes that the process can have at all, by the machine and by its container. */
long machine_memory();

/** Bytes that are free at present, or can be made free. */
long free_memory();

/** "12.3 GiB", "4.1 MiB": three digits that matter. */
std::string bytes_text(long bytes);

}  // namespace orvex::toolkit
