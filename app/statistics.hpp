// What several runs with one target say about the time to it. Runs are taken for independent, and
// for alike but for chance.
#pragma once

#include <optional>
#include <vector>

namespace orvex::cli {

/** The ends of an interval that holds the true value with 95 % confidence. */
struct Interval {
    double low, high;
};

/**
 * The interval of a share by Wilson's score (Wilson, "Probable inference, the law of succession,
 * and statistical inference", J. Amer. Statist. Assoc. 22, 1927), which keeps what it promises for
 * few trials too.
 *
 * @param trials at least 1
 */
Interval interval_of_share(int successes, int trials);

/** The times of the runs that came to the target, and how many runs there were. */
struct TimesToTarget {
    std::vector<double> reached;  ///< seconds, in ascending order
    int runs = 0;                 ///< at least 1
};

/**
 * A quantile of the time to the target over all runs, interpolated linearly between neighbours.
 * Runs that did not come there count as later than all others.
 *
 * @param share from 0 to 1
 * @return none if it lies among these
 */
std::optional<double> quantile(const TimesToTarget& times, double share);

/** The time in which repeated runs come to the target with a probability of 99 %. */
struct RepeatedRuns {
    double seconds;
    double cutoff;  ///< seconds after which each run is given up
};

/**
 * With p(t) as the share of the runs that had come to the target after t seconds,
 * R(t) = ln(1 - 0.99) / ln(1 - p(t)) runs of t seconds, but at least one, come there with a
 * probability of 99 %. The least t R(t) over all t is the time (Rønnow et al., "Defining and
 * detecting quantum speedup", Science 345, 2014).
 *
 * @return none if no run came there
 */
std::optional<RepeatedRuns> tts99(const TimesToTarget& times);

/**
 * The interval of that time: the middle 95 % of what it is for runs drawn from these anew (the
 * bootstrap of that article), always with the same draws. Samples without a success count as
 * longer than all others.
 *
 * @return none where fewer than five runs came to the target, or where the upper end is not known
 */
std::optional<Interval> interval_of_tts99(const TimesToTarget& times);

}  // namespace orvex::cli
