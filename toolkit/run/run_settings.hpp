// From what a caller wants and the problem to the parameters of a run, and from a run's end to the
// reason for it. What the caller says goes before everything that would be chosen.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "toolkit/model/problem.hpp"
#include "toolkit/run/events.hpp"
#include "toolkit/settings/solve_options.hpp"

namespace orvex::toolkit {

struct RunSettings {
    Settings params;              ///< for the library
    double time_limit = 0;        ///< seconds, as the run obeys it; 0: none
    std::optional<double> abort;  ///< seconds after which the run has to be ended from outside
    std::optional<long> target;   ///< at which the run ends
    long trials = 0;              ///< 0: no limit
    int arithmetic_bits = 0;      ///< asked for
};

/**
 * @throws InputError when a limit is out of its range, or energies are not proven to fit into the
 *     width that the caller asks for, or into 64 bits
 */
RunSettings settings_for(const SolveOptions& options, const Problem& problem);

/** What a plan must know of them. */
PlanRequest plan_request_of(const RunSettings& settings);

/**
 * What ended a run that nobody ended from outside.
 *
 * @param energy the result
 * @param runtime seconds, as the library tells them
 */
Ending ending_of(const RunSettings& settings, long energy, double runtime);

}  // namespace orvex::toolkit
