// A run of the companion alone: on models beyond the largest band, and where the structure leaves
// the library's blocks nothing that the companion would not do better.
#pragma once

#include "toolkit/companion/companion.hpp"
#include "toolkit/run/record.hpp"
#include "toolkit/run/trace.hpp"

namespace orvex::toolkit {

/**
 * Searches until the record has an ending, and takes what is found into it.
 *
 * @throws what leaves an event of the caller's, and what ends a thread of the companion
 */
void run_companion(Record& record, Companion& companion, Trace& trace);

/**
 * Takes the companion's best into the record if it is lower than what is known.
 *
 * @param known lowest energy of the searched model that is known; lowered
 * @return the solution, if there was one
 */
std::optional<Sol> take_best(Record& record, Companion& companion, Wide& known);

}  // namespace orvex::toolkit
