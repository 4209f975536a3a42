// The one place that decides how long an instance is searched: how many flips it may take in all
// and how many of them make one search. With the few blocks of a CPU this decides the time to a
// good solution more than anything else; docs/performance.md has the measurements behind it.
#pragma once

#include <algorithm>
#include <string>

#include "bounds.hpp"

namespace orvex::cli {

/** What the choice goes by: the weights of the pairs of two different variables. */
struct Couplings {
    long count = 0;     ///< that are not 0
    Wide positive = 0;  ///< sum of the positive ones
    Wide negative = 0;  ///< sum of the negative ones
    Wide largest = 0;   ///< largest magnitude

    /** A coupling that was `before` is `after` now. */
    void change(long before, long after) {
        count += (after != 0) - (before != 0);
        (before < 0 ? negative : positive) -= before;
        (after < 0 ? negative : positive) += after;
        largest = std::max(largest, after < 0 ? -Wide{after} : Wide{after});
    }

    /** All magnitudes are the same, as in an unweighted graph. */
    bool unit() const { return count > 0 && positive - negative == largest * count; }

    /** Nearly all are penalties, as where constraints are written into the objective. */
    bool penalties() const { return -negative < positive / 10; }
};

/**
 * The value of the parameter "search_cycles" for a model of `size` variables: two numbers separated
 * by a blank.
 *
 * - Unweighted graphs have many solutions of nearly the same energy between which a long search
 *   wanders: 30 flips for each variable, in searches of a tenth of the variables.
 * - Constraints make high walls around each solution, and new start instances find more than long
 *   searches: the engine's own rule (one flip for each variable, searches of a fifth), empty.
 * - Else many short searches from one instance are best: 10 flips for each variable, in searches
 *   of 3 in 100 variables.
 *
 * An instance is cut short where its flips, at the cost of a dense row each, would keep a block
 * busy for more than about a tenth of a second: a run ends only when its blocks have handed in.
 */
inline std::string choose_search_cycles(int size, const Couplings& couplings) {
    constexpr long FLIPS_TIMES_SIZE = 500'000'000;
    const bool unit = couplings.unit();
    if (!unit && couplings.penalties()) return "";
    const long n = std::max(size, 1);
    const long flips = std::min((unit ? 30 : 10) * n, std::max(n, FLIPS_TIMES_SIZE / n));
    const long steps = (unit ? 10 : 3) * n / 100;
    return std::to_string(std::max(flips, 100L)) + " " + std::to_string(std::max(steps, 20L));
}

}  // namespace orvex::cli
