// From options to the library's parameters, and from a run's end to its status.
#include "app/run_settings.hpp"

#include <limits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/exit_status.hpp"
#include "toolkit/errors.hpp"

namespace orvex::cli::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;
using Stop = Watcher::Stop;

Problem problem_of_width(int width) {
    Problem problem;
    problem.size = 10;
    problem.width = width;
    return problem;
}

RunSettings settings(const SolveOptions& options, int proven_bits = 32, int width = 8) {
    return settings_for(options, problem_of_width(width), proven_bits);
}

SolveOptions with_params(std::vector<std::pair<std::string, std::string>> params) {
    SolveOptions options;
    options.params = std::move(params);
    return options;
}

SolveOptions with_time_limit(double seconds) {
    SolveOptions options;
    options.time_limit = seconds;
    return options;
}

TEST(RunSettings, WithoutAStopConditionARunHasATimeLimit) {
    const RunSettings run = settings({});
    EXPECT_THAT(run.params,
                UnorderedElementsAre(Pair("time_limit", "10"), Pair("arithmetic_bits", "32"),
                                     Pair("search_cycles", "100 20")));
    EXPECT_EQ(run.time_limit, 10);
    EXPECT_EQ(run.limits.shown, 10);
    EXPECT_FALSE(run.limits.abort);
}

TEST(RunSettings, AnyStopConditionReplacesTheDefault) {
    SolveOptions target, trials;
    target.target = -5;
    trials.trials = 7;
    for (const SolveOptions& options : {target, trials, with_params({{"target_energy", "-5"}}),
                                        with_params({{"trial_limit", "7"}}), with_time_limit(0)})
        EXPECT_EQ(settings(options).params.count("time_limit"), 0u);
    EXPECT_EQ(settings(target).params.at("target_energy"), "-5");
    EXPECT_EQ(settings(target).limits.target, -5);
    EXPECT_EQ(settings(trials).params.at("trial_limit"), "7");
}

TEST(RunSettings, AFractionOfASecondIsSeenToByTheProgram) {
    const RunSettings fraction = settings(with_time_limit(2.25));
    EXPECT_EQ(fraction.params.at("time_limit"), "3");
    EXPECT_EQ(fraction.limits.abort, 2.25);
    EXPECT_EQ(fraction.limits.shown, 2.25);
    const RunSettings whole = settings(with_time_limit(2));
    EXPECT_EQ(whole.params.at("time_limit"), "2");
    EXPECT_FALSE(whole.limits.abort);
}

TEST(RunSettings, ImpossibleLimitsAreRefused) {
    for (const double seconds : {-1.0, 4294967296.0, std::numeric_limits<double>::infinity(),
                                 std::numeric_limits<double>::quiet_NaN()})
        EXPECT_THROW(settings(with_time_limit(seconds)), InputError) << seconds;
    for (const long trials : {0L, -1L}) {
        SolveOptions options;
        options.trials = trials;
        EXPECT_THROW(settings(options), InputError) << trials;
    }
}

TEST(RunSettings, ArithmeticIsAsWideAsProven) {
    EXPECT_EQ(settings({}, 32).params.at("arithmetic_bits"), "32");
    EXPECT_EQ(settings({}, 64).params.at("arithmetic_bits"), "64");
    EXPECT_EQ(settings({}, 128).params.at("arithmetic_bits"), "64");
    EXPECT_THAT(settings({}, 64).warnings, IsEmpty());
    EXPECT_THAT(settings({}, 128).warnings, ElementsAre(HasSubstr("not proven")));
}

TEST(RunSettings, ArithmeticThatIsTooNarrowOnRequestIsWarnedAbout) {
    const SolveOptions narrow = with_params({{"arithmetic_bits", "32"}});
    EXPECT_EQ(settings(narrow, 64).params.at("arithmetic_bits"), "32");
    EXPECT_THAT(settings(narrow, 64).warnings, ElementsAre(HasSubstr("not proven")));
    EXPECT_THAT(settings(narrow, 32).warnings, IsEmpty());
    // Weights of 64 bits take 64-bit arithmetic whatever is asked for.
    EXPECT_THAT(settings(narrow, 64, 64).warnings, IsEmpty());
}

TEST(RunSettings, ParametersGoBeforeOptions) {
    SolveOptions options = with_params({{"time_limit", "4"},
                                        {"target_energy", "-9"},
                                        {"trial_limit", "3"},
                                        {"arithmetic_bits", "64"},
                                        {"search_cycles", "500 50"},
                                        {"pool_size", "50"},
                                        {"pool_size", "60"}});
    options.time_limit = 2.5;
    options.target = -1;
    options.trials = 1;
    const RunSettings run = settings(options);
    EXPECT_THAT(run.params,
                UnorderedElementsAre(Pair("time_limit", "4"), Pair("target_energy", "-9"),
                                     Pair("trial_limit", "3"), Pair("search_cycles", "500 50"),
                                     Pair("arithmetic_bits", "64"), Pair("pool_size", "60")));
    EXPECT_FALSE(run.limits.abort);
    EXPECT_EQ(run.limits.shown, 4);
    EXPECT_EQ(run.limits.target, -9);
    EXPECT_EQ(run.trials, 3);
    EXPECT_EQ(run.arithmetic_bits, 64);
}

TEST(RunSettings, FactorsReplaceTheChoiceOfCycles) {
    for (const char* name : {"search_cycles_factor", "batch_factor", "annealing_factor"}) {
        const RunSettings run = settings(with_params({{name, "2 0.5"}}));
        EXPECT_EQ(run.params.count("search_cycles"), 0u) << name << " would be without effect";
        EXPECT_EQ(run.params.count(name), 1u);
    }
}

TEST(RunSettings, TheLibrarysDisplayReplacesTheProgramsOwn) {
    EXPECT_TRUE(settings({}).own_display);
    EXPECT_TRUE(settings(with_params({{"verbose", "0"}})).own_display);
    EXPECT_FALSE(settings(with_params({{"verbose", "1"}})).own_display);
}

TEST(Params, AreKeysAndValues) {
    EXPECT_THAT(parse_params({"a=b", "search_cycles=100 20", "empty=", "twice=x=y"}),
                ElementsAre(Pair("a", "b"), Pair("search_cycles", "100 20"), Pair("empty", ""),
                            Pair("twice", "x=y")));
    EXPECT_THROW(parse_params({"time_limit"}), InputError);
    EXPECT_THROW(parse_params({"=5"}), InputError);
}

TEST(Status, IsWhatEndedTheRun) {
    SolveOptions options;
    options.target = -5;
    options.time_limit = 2;
    options.trials = 100;
    const RunSettings run = settings(options);
    EXPECT_EQ(status_of(run, Stop::NONE, -5, 0.1), "target reached");
    EXPECT_EQ(status_of(run, Stop::NONE, -6, 0.1), "target reached");
    EXPECT_EQ(status_of(run, Stop::NONE, -4, 2.001), "time limit");
    EXPECT_EQ(status_of(run, Stop::NONE, -4, 1.999), "trial limit");
    EXPECT_EQ(status_of(run, Stop::INTERRUPT, -4, 1.0), "interrupted");
    EXPECT_EQ(status_of(run, Stop::DEADLINE, -4, 1.0), "time limit");
    EXPECT_EQ(status_of(run, Stop::TARGET, -5, 1.0), "target reached");
}

// Results that were still on their way may reach the target after an interrupt.
TEST(Status, AnInterruptStaysOneWhenTheTargetIsReachedAfterIt) {
    SolveOptions options;
    options.target = -5;
    EXPECT_EQ(status_of(settings(options), Stop::INTERRUPT, -7, 1.0), "interrupted");
}

}  // namespace
}  // namespace orvex::cli::test
