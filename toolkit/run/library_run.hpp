// A run of the library on the searched model, the companion beside it where there is one.
// Invariant: what the library would end the process for is found out before and thrown.
#pragma once

#include "toolkit/companion/companion.hpp"
#include "toolkit/run/record.hpp"
#include "toolkit/run/run_settings.hpp"
#include "toolkit/run/trace.hpp"

namespace orvex::toolkit {

/**
 * What a run with these settings will be.
 *
 * @throws InputError when no band of this build holds the model, or the run has no shape
 * @throws NoDevice
 * @throws MemoryShortage
 */
Plan plan_of(const Problem& searched, const RunSettings& settings, Events& events);

/** What the library brought, beside what is in the record. */
struct LibraryResult {
    Sol solution;      ///< of the searched model, with what the library tells of it and of the run
    double load_time;  ///< seconds until the search began
    double search_time;
    std::vector<Sol> pool;  ///< of the searched model: the pools' best distinct solutions
};

/**
 * Searches, and takes what is found into the record.
 *
 * @param start of the searched model; null for none
 * @param solutions of the pools that are wanted
 * @param companion is started with the search and stopped with it; null for none
 * @throws EnergyMismatch, and what leaves an event of the caller's
 */
LibraryResult run_library(const Problem& searched, const RunSettings& settings, const Sol* start,
                          int solutions, Record& record, Companion* companion, Trace& trace);

}  // namespace orvex::toolkit
