// Times to a target, from several runs.
#include "app/statistics.hpp"

#include <cmath>

#include <gtest/gtest.h>

namespace orvex::cli::test {
namespace {

TEST(SuccessRate, HasTheIntervalOfWilsonsScore) {
    // E. B. Wilson's interval for 8 of 10, as in textbooks: 0.490 to 0.943.
    const Interval most = interval_of_share(8, 10);
    EXPECT_NEAR(most.low, 0.4902, 5e-5);
    EXPECT_NEAR(most.high, 0.9433, 5e-5);
    EXPECT_EQ(interval_of_share(0, 10).low, 0);
    EXPECT_NEAR(interval_of_share(0, 10).high, 0.2775, 5e-5);
    EXPECT_EQ(interval_of_share(10, 10).high, 1);
    EXPECT_NEAR(interval_of_share(10, 10).low, 0.7225, 5e-5);
}

TEST(Quantiles, AreInterpolated) {
    const TimesToTarget times{{1, 2, 3, 4}, 4};
    EXPECT_EQ(quantile(times, 0), 1);
    EXPECT_EQ(quantile(times, 0.25), 1.75);
    EXPECT_EQ(quantile(times, 0.5), 2.5);
    EXPECT_EQ(quantile(times, 1), 4);
    EXPECT_EQ(quantile({{7}, 1}, 0.75), 7);
}

TEST(Quantiles, OfRunsThatDidNotReachTheTargetAreLaterThanAllOthers) {
    const TimesToTarget times{{1, 2, 3}, 5};
    EXPECT_EQ(quantile(times, 0.5), 3);
    EXPECT_EQ(quantile(times, 0.6), std::nullopt) << "between a time and none";
    EXPECT_EQ(quantile(times, 0.75), std::nullopt);
    EXPECT_EQ(quantile({{}, 3}, 0), std::nullopt);
}

TEST(NinetyNinePercentTime, IsThatOfOneRunWhereAllReachTheTarget) {
    const std::optional<RepeatedRuns> repeated = tts99({{1, 1.1, 1.2}, 3});
    ASSERT_TRUE(repeated);
    EXPECT_EQ(repeated->seconds, 1.2);
    EXPECT_EQ(repeated->cutoff, 1.2);
}

TEST(NinetyNinePercentTime, RepeatsRunsThatFail) {
    // Half of the runs are there after a second: ln(0.01) / ln(0.5) runs of it.
    const std::optional<RepeatedRuns> repeated = tts99({{1, 1}, 4});
    ASSERT_TRUE(repeated);
    EXPECT_NEAR(repeated->seconds, std::log(0.01) / std::log(0.5), 1e-12);
    EXPECT_NEAR(repeated->seconds, 6.6439, 5e-5);
}

TEST(NinetyNinePercentTime, GivesUpEarlyWhereThatIsBetter) {
    // Seven of ten are there at once, and one only after 100 seconds.
    const std::optional<RepeatedRuns> repeated = tts99({{1, 1, 1, 1, 1, 1, 1, 100}, 10});
    ASSERT_TRUE(repeated);
    EXPECT_EQ(repeated->cutoff, 1);
    EXPECT_NEAR(repeated->seconds, std::log(0.01) / std::log(0.3), 1e-12);
    EXPECT_FALSE(tts99({{}, 10}));
}

TEST(NinetyNinePercentTime, HasAnIntervalWhereThereAreEnoughRuns) {
    EXPECT_FALSE(interval_of_tts99({{1, 1, 1, 1}, 4})) << "too few";
    const std::optional<Interval> alike = interval_of_tts99({{2, 2, 2, 2, 2}, 5});
    ASSERT_TRUE(alike);
    EXPECT_EQ(alike->low, 2);
    EXPECT_EQ(alike->high, 2);

    TimesToTarget times{{}, 40};
    for (int k = 0; k < 30; ++k)
        times.reached.push_back(1 + 0.1 * k);
    const std::optional<Interval> interval = interval_of_tts99(times);
    ASSERT_TRUE(interval);
    const double estimate = tts99(times)->seconds;
    EXPECT_LT(interval->low, estimate);
    EXPECT_GT(interval->high, estimate);
    EXPECT_GT(interval->low, estimate / 2);
    EXPECT_LT(interval->high, estimate * 2);
}

}  // namespace

}  // namespace orvex::cli::test
