// The clock of a run: its end, and the periods between restarts.
#include "engine/restart_clock.hpp"

#include <cmath>
#include <limits>
#include <thread>

#include <gtest/gtest.h>

namespace {

using namespace orvex::engine;

constexpr std::int64_t SECOND = 1000000000;
constexpr std::int64_t YEAR = SECOND * 86400 * 365;

TEST(RestartClock, SecondsBecomeNanosecondsByCutting) {
    EXPECT_EQ(nanoseconds(1.5), 1500000000);
    EXPECT_EQ(nanoseconds(0.0000000019), 1);
    EXPECT_EQ(nanoseconds(-0.0000000019), -1);
    EXPECT_EQ(nanoseconds(0), 0);
}

TEST(RestartClock, SpansThatNoClockHoldsAreCutShort) {
    EXPECT_EQ(nanoseconds(std::nan("")), 0);
    EXPECT_GT(nanoseconds(1e300), 100 * YEAR);
    EXPECT_LT(nanoseconds(-1e300), -100 * YEAR);
    EXPECT_GT(now() + nanoseconds(1e300), now()) << "the sum holds, too";
}

TEST(RestartClock, NowIsNanosecondsSince1970) {
    const std::int64_t before = now();
    EXPECT_GT(before, 1700000000 * SECOND);
    EXPECT_GE(time4random(), static_cast<unsigned long>(before));
}

TEST(RestartClock, ARunWithoutALimitEndsNever) {
    const RESTART_CLOCK clock(0, 1, 2, 0.25);
    EXPECT_EQ(clock.end, std::numeric_limits<std::int64_t>::max());
}

TEST(RestartClock, ARunEndsItsLimitAfterItsStart) {
    const RESTART_CLOCK clock(5, 1, 2, 0.25);
    EXPECT_EQ(clock.end - clock.start, 5 * SECOND);
}

TEST(RestartClock, TheLongestLimitIsKeptWhole) {
    const RESTART_CLOCK clock(4294967295.0, 1, 2, 0.25);
    EXPECT_EQ(clock.end - clock.start, 4294967295 * SECOND);
}

TEST(RestartClock, StartsWithItsFirstPeriodAndNoAlarm) {
    const std::int64_t before = now();
    const RESTART_CLOCK clock(0, 1, 2, 0.25);
    const std::int64_t after = now();
    EXPECT_EQ(clock.count, 1);
    EXPECT_EQ(clock.alarm, 0);
    EXPECT_GE(clock.start, before);
    EXPECT_LE(clock.start, after);
    EXPECT_GE(clock.next_restart, before + SECOND);
    EXPECT_LE(clock.next_restart, after + SECOND);
    EXPECT_EQ(clock.next_restart - clock.nobest_until, SECOND - SECOND / 4);
}

/** Length of the period that the clock has just begun, from the two times that it has set. */
double period_of(const RESTART_CLOCK& clock) {
    return static_cast<double>(clock.next_restart - clock.nobest_until) /
           (1e9 * (1 - clock.nobest));
}

TEST(RestartClock, PeriodsGrowByTheirBase) {
    RESTART_CLOCK clock(0, 1, 2, 0.25);
    for (const double seconds : {1.0, 2.0, 4.0, 8.0, 16.0}) {
        EXPECT_NEAR(period_of(clock), seconds, 1e-6);
        clock.nextPeriod();
    }
    EXPECT_EQ(clock.count, 6);

    RESTART_CLOCK steady(0, 0.5, 1, 0.5);
    steady.nextPeriod();
    EXPECT_NEAR(period_of(steady), 0.5, 1e-6);
}

TEST(RestartClock, APeriodOfMoreThanHalfTheRestIsStretchedToTheEnd) {
    RESTART_CLOCK clock(5, 1, 2, 0.25);
    EXPECT_NEAR(period_of(clock), 1.0, 1e-6) << "1 is not more than half of 5";
    clock.nextPeriod();
    EXPECT_NEAR(period_of(clock), 2.0, 1e-6) << "2 is not more than half of 5";
    clock.nextPeriod();
    EXPECT_NEAR(static_cast<double>(clock.next_restart), static_cast<double>(clock.end), 2000.0)
        << "4 is more than half of 5";
}

TEST(RestartClock, AFirstPeriodOfMoreThanHalfTheLimitLastsForTheRun) {
    for (const double t0 : {0.6, 1.0, 100.0}) {
        const RESTART_CLOCK clock(1, t0, 2, 0.25);
        EXPECT_NEAR(static_cast<double>(clock.next_restart), static_cast<double>(clock.end),
                    2000.0);
    }
}

TEST(RestartClock, TheRestIsCountedFromThePresent) {
    RESTART_CLOCK clock(100, 10, 1, 0.25);
    EXPECT_NEAR(period_of(clock), 10, 1e-6);
    clock.start -= 85 * SECOND;  // 85 seconds have gone by
    clock.end -= 85 * SECOND;
    clock.nextPeriod();
    EXPECT_NEAR(static_cast<double>(clock.next_restart), static_cast<double>(clock.end), 2000.0);
}

TEST(RestartClock, WithoutAPeriodAllBestIsFreeAtOnce) {
    for (const double t0 : {0.0, -1.0}) {
        const RESTART_CLOCK clock(0, t0, 2, 0.25);
        std::this_thread::sleep_for(std::chrono::microseconds(1));
        EXPECT_LT(clock.nobest_until, now());
    }
}

TEST(RestartClock, TimeGoesByFromTheStart) {
    RESTART_CLOCK clock(0, 1, 2, 0.25);
    clock.start -= 3 * SECOND;
    EXPECT_GE(clock.elapsed(), 3.0);
    EXPECT_LT(clock.elapsed(), 60.0);
}

}  // namespace
