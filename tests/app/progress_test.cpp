// What a run shows while it runs.
#include "app/progress.hpp"

#include <sstream>
#include <thread>

#include <gtest/gtest.h>

namespace orvex::cli::test {
namespace {

using namespace std::chrono_literals;
using Style = Progress::Style;

Moment moment(double elapsed, long best, double best_time) {
    return {.elapsed = elapsed,
            .limit = 10,
            .has_best = true,
            .best = best,
            .best_time = best_time,
            .flips = 3'000'000};
}

/** The best has just been found. */
Moment moment(double elapsed, long best) {
    return moment(elapsed, best, elapsed);
}

TEST(Rate, HasThreeDigits) {
    EXPECT_EQ(rate_text(0), "0.00 ");
    EXPECT_EQ(rate_text(9.994), "9.99 ");
    EXPECT_EQ(rate_text(9.996), "10.0 ");
    EXPECT_EQ(rate_text(99.96), "100 ");
    EXPECT_EQ(rate_text(999.6), "1.00 k");
    EXPECT_EQ(rate_text(1'234'567), "1.23 M");
    EXPECT_EQ(rate_text(12'345'678), "12.3 M");
    EXPECT_EQ(rate_text(5e9), "5 G");
}

TEST(Duration, IsReadAtAGlance) {
    EXPECT_EQ(duration_text(0.04), "0.0 s");
    EXPECT_EQ(duration_text(99.94), "99.9 s");
    EXPECT_EQ(duration_text(99.96), "1 min 40 s");
    EXPECT_EQ(duration_text(725), "12 min 05 s");
    EXPECT_EQ(duration_text(3599.6), "1 h 00 min");
    EXPECT_EQ(duration_text(4294967295), "1193046 h 28 min");
}

TEST(LiveLine, TellsTimesBestAndRate) {
    EXPECT_EQ(live_line({.elapsed = 2, .limit = 10, .flips = 3'000'000}, 200),
              "2.0 s, 8.0 s left | no result yet | 1.50 Mflips/s");
    Moment later = moment(4, -77, 1.25);
    EXPECT_EQ(live_line(later, 200), "4.0 s, 6.0 s left | best -77 found at 1.2 s | 750 kflips/s");
    later.limit = 0;
    EXPECT_EQ(live_line(later, 200),
              "4.0 s, no time limit (Ctrl-C ends) | best -77 found at 1.2 s | 750 kflips/s");
    later.limit = 3;
    EXPECT_EQ(live_line(later, 200).substr(0, 17), "4.0 s, 0.0 s left");
}

TEST(LiveLine, IsNarrowerThanTheTerminal) {
    EXPECT_EQ(live_line(moment(4, -77), 20).size(), 19u);
    EXPECT_EQ(live_line(moment(4, -77), 20), "4.0 s, 6.0 s left |");
}

TEST(Progress, ALogGetsTheFirstImprovementAtOnceAndTheLastAtTheEnd) {
    std::ostringstream out;
    Progress progress(Style::LOG, out);
    progress.begin({});
    progress.update(moment(0.5, -1), true);
    progress.update(moment(0.6, -2), true);
    progress.update(moment(0.7, -3), true);
    progress.update(moment(0.8, -3, 0.7), false);
    EXPECT_EQ(out.str(), "    0.500 s  best -1  6.00 Mflips/s\n");
    progress.end();
    EXPECT_NE(out.str().find("\n    0.700 s  best -3"), std::string::npos);
    EXPECT_EQ(out.str().find("best -2"), std::string::npos);
}

TEST(Progress, ALogGetsWhatItHasMissedWhenItsTimeHasCome) {
    std::ostringstream out;
    Progress progress(Style::LOG, out);
    progress.update(moment(0.1, -1), true);
    progress.update(moment(0.2, -2), true);
    std::this_thread::sleep_for(550ms);
    progress.update(moment(0.75, -2, 0.2), false);
    EXPECT_NE(out.str().find("    0.200 s  best -2"), std::string::npos);
    const std::string shown = out.str();
    progress.end();
    EXPECT_EQ(out.str(), shown) << "nothing is shown twice";
}

TEST(Progress, ATerminalsLineIsRedrawnAndGoesAtTheEnd) {
    std::ostringstream out;
    Progress progress(Style::LIVE, out);
    progress.begin({.limit = 10});
    progress.update(moment(0.01, -1), true);  // too soon
    std::this_thread::sleep_for(110ms);
    progress.update(moment(0.12, -2), false);
    progress.end();
    const std::string text = out.str();
    EXPECT_EQ(text.rfind("\r\033[K0.0 s", 0), 0u) << text;
    EXPECT_EQ(text.find("best -1"), std::string::npos) << text;
    EXPECT_NE(text.find("\r\033[K0.1 s, 9.9 s left | best -2"), std::string::npos) << text;
    EXPECT_TRUE(text.ends_with("\r\033[K")) << text;
    EXPECT_EQ(text.find('\n'), std::string::npos) << text;
}

TEST(Progress, QuietIsSilent) {
    std::ostringstream out;
    Progress progress(Style::QUIET, out);
    progress.begin({});
    progress.update(moment(1, -1), true);
    progress.end();
    EXPECT_EQ(out.str(), "");
}

}  // namespace
}  // namespace orvex::cli::test
