// The clock of a run: its end, the restart periods, the part of a period in which "AllBest" is
// barred, and the alarm of the callback. It fires nothing by itself: host threads look at it when a
// result arrives. Time points are nanoseconds of the system clock.
#pragma once

#include <cstdint>

namespace orvex::engine {

/** Now, in nanoseconds of the system clock. */
std::int64_t now();

/** The same number as an ingredient of random seeds. */
unsigned long time4random();

/**
 * Seconds as nanoseconds, cut towards zero. Times beyond two centuries count as two centuries, so
 * that they can be added to the present; every time limit is shorter.
 */
std::int64_t nanoseconds(double seconds);

struct RESTART_CLOCK {
    double limit;   ///< seconds of the whole run; 0 for none
    double t0;      ///< seconds of the first period; 0 or less: there are no restarts
    double b;       ///< growth of the periods
    double nobest;  ///< share of a period in which "AllBest" is not chosen
    int count = 0;  ///< periods begun
    std::int64_t start;
    std::int64_t end;
    std::int64_t next_restart = 0;  ///< read without a lock
    std::int64_t nobest_until = 0;  ///< read without a lock
    std::int64_t alarm = 0;         ///< when the "alarm" event may fire

    /** Starts the clock and its first period. */
    RESTART_CLOCK(double limit, double t0, double b, double nobest);

    /**
     * Begins the next period: t0 * b^count seconds, or all that is left of the run if that period
     * would use up more than half of it.
     */
    void nextPeriod();

    double elapsed() const;  ///< seconds since the start
};

}  // namespace orvex::engine
