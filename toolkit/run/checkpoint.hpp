// The file that outlives a run: the best solutions of a problem, from which another run goes on.
// Invariants: a file is there complete or not at all, whenever the machine stops; and what is read
// belongs to the problem, since every energy was added up again from its bits.
//
//     orvex checkpoint 1
//     size 10                        variables of the problem
//     nonzero 23                     its weights other than 0
//     energies -310 205              no energy lies outside, by the sums of its weights
//     solution -97 1c0               energy, then four variables in each hexadecimal digit, the
//     solution -95 1d0               first of them in its lowest bit; the best solution first
//     end 2                          how many solutions there are
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "toolkit/model/problem.hpp"

namespace orvex::toolkit {

/** A solution as a checkpoint keeps it. */
struct Kept {
    long energy;                       ///< added up from the bits
    std::vector<std::uint64_t> words;  ///< the bits, as in Sol
};

/**
 * The solutions of a checkpoint, the best first.
 *
 * @throws InputError when the file cannot be read, is no checkpoint or not a whole one, or belongs
 *     to another problem
 */
std::vector<Kept> read_checkpoint(const std::string& file, const Problem& problem);

/**
 * Writes a checkpoint: beside its place first, from where it takes the place of what is there once
 * the disk has it.
 *
 * @param solutions of the problem, the best first
 * @throws std::runtime_error when it cannot be written; what was there is there still
 */
void write_checkpoint(const std::string& file, const Problem& problem,
                      const std::vector<Kept>& solutions);

/** The same bits as a solution. */
Sol solution_of(const Kept& kept, int size);

}  // namespace orvex::toolkit
