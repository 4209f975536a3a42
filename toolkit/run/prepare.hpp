// From the caller's problem to what is searched and who searches it: presolve, one-hot groups, the
// crew. The command "check" shows the same without a search.
#pragma once

#include "toolkit/run/crew.hpp"
#include "toolkit/run/events.hpp"
#include "toolkit/run/view.hpp"
#include "toolkit/settings/solve_options.hpp"

namespace orvex::toolkit {

/** A problem as it will be searched. The problem outlives it. */
struct Prepared {
    View view;
    Groups groups;  ///< of the searched model
    Crew crew;
    Preparation told;  ///< what callers hear of it
};

/** @throws InputError when an option is wrong, or nobody could search what is left */
Prepared prepare(const Problem& problem, const SolveOptions& options);

}  // namespace orvex::toolkit
