// Who works on a run: the library's blocks, the companion's threads, or both side by side.
#pragma once

#include "toolkit/companion/groups.hpp"
#include "toolkit/model/problem.hpp"
#include "toolkit/settings/solve_options.hpp"

namespace orvex::toolkit {

struct Crew {
    int companion_threads = 0;
    bool has_library = true;
    int processors = 1;              ///< of this host
    bool shares_processors = false;  ///< whether the library's blocks run on them too
};

/**
 * The share of the processors that the companion gets where the caller says nothing.
 *
 * - One-hot groups: single flips must climb over a penalty at each move, which the companion's
 *   moves do not.
 * - Few couplings for each variable: the model falls into parts that the companion judges each by
 *   itself.
 * - Several components, none of which has most of the variables: the library judges solutions as a
 *   whole, and a companion beside it takes the best of each component from what it finds.
 * - Else the library alone: on dense models its blocks are ahead, and a merge has no parts.
 */
double choose_companion_share(const Problem& searched, const Groups& groups);

/**
 * @param searched what is left of the problem
 * @throws InputError when the share is out of its range, or leaves nobody who can search
 */
Crew crew_for(const SolveOptions& options, const Problem& searched, const Groups& groups);

/** Leaves the companion's processors to it, where blocks run on processors. */
void make_room(const Crew& crew, Settings& parameters);

}  // namespace orvex::toolkit
