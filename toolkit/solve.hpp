// The call above all rooms of the toolkit: a problem goes in, its best solution comes out, with the
// energy that its bits have. Invariant: nothing here ends the process. What the library would end
// it for is found out before, and thrown.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <orvex/orvex.hpp>
#include <orvex/plan.hpp>

#include "toolkit/model/errors.hpp"
#include "toolkit/model/problem.hpp"
#include "toolkit/run/events.hpp"
#include "toolkit/settings/solve_options.hpp"

namespace orvex::toolkit {

/** What a search brought. */
struct Result {
    Sol solution;     ///< the best; with what the library tells of it and of the run, by get(key)
    long energy = 0;  ///< its energy, added up from the bits
    Ending ending = Ending::ENDED;   ///< why the search ended
    std::vector<Found> history;      ///< every new best, the last of them the solution
    std::vector<Ranked> solutions;   ///< distinct, as many as are wanted and known, the best first
    std::optional<Wide> bound;       ///< no energy of the problem is below, where that is known
    Preparation preparation;         ///< what was searched, and by whom
    std::optional<Plan> plan;        ///< what the library's run was, if it searched
    Settings parameters;             ///< what the library was given
    long companion_flips = 0;        ///< flips that the companion tried
    double load_time = 0;            ///< seconds until the search began
    double search_time = 0;          ///< seconds from then until its end
    std::string checkpoint_failure;  ///< why the checkpoint is not up to date; empty: it is
};

/**
 * Searches for the solution of lowest energy.
 *
 * One search at a time runs in a process: another thread's waits until it is over.
 *
 * @throws InputError when an option is wrong, no band of this build holds the problem, energies
 *     are not proven to fit, or a checkpoint cannot be read or is of another problem
 * @throws MemoryShortage when this machine or a device has not the memory
 * @throws NoDevice when the build is for GPUs and there is none
 * @throws EnergyMismatch when the result is not what it claims to be
 * @throws std::logic_error when called inside an event
 * @throws std::bad_alloc
 * @throws std::system_error when a thread of the toolkit cannot be started
 */
Result solve(const Problem& problem, const SolveOptions& options, Events& events);

/** The same without events. */
Result solve(const Problem& problem, const SolveOptions& options = {});

}  // namespace orvex::toolkit
