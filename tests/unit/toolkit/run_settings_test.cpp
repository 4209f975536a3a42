// From options to the library's parameters, and from a run's end to its status.
#include "toolkit/run/run_settings.hpp"

#include <limits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "toolkit/model/errors.hpp"

namespace orvex::toolkit::test {
namespace {

using testing::HasSubstr;
using testing::Pair;
using testing::UnorderedElementsAre;

/** A problem of ten variables whose energies are proven to fit into that many bits. */
Problem problem_of_width(int proven_bits, int width) {
    Problem problem;
    problem.size = 10;
    problem.width = width;
    const Wide reach = proven_bits == 32 ? Wide{1000} : Wide{1} << (proven_bits - 10);
    problem.bound = {-reach, reach, reach, reach};
    return problem;
}

RunSettings settings(const SolveOptions& options, int proven_bits = 32, int width = 8) {
    return settings_for(options, problem_of_width(proven_bits, width));
}

SolveOptions with_params(Settings params) {
    SolveOptions options;
    options.settings = std::move(params);
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
    EXPECT_FALSE(run.abort);
}

TEST(RunSettings, AnyStopConditionReplacesTheDefault) {
    SolveOptions target, trials;
    target.target = -5;
    trials.trials = 7;
    for (const SolveOptions& options : {target, trials, with_params({{"target_energy", "-5"}}),
                                        with_params({{"trial_limit", "7"}}), with_time_limit(0)})
        EXPECT_EQ(settings(options).params.count("time_limit"), 0u);
    EXPECT_EQ(settings(target).params.at("target_energy"), "-5");
    EXPECT_EQ(settings(target).target, -5);
    EXPECT_EQ(settings(trials).params.at("trial_limit"), "7");
}

TEST(RunSettings, AFractionOfASecondIsSeenToFromOutside) {
    const RunSettings fraction = settings(with_time_limit(2.25));
    EXPECT_EQ(fraction.params.at("time_limit"), "3");
    EXPECT_EQ(fraction.abort, 2.25);
    EXPECT_EQ(fraction.time_limit, 2.25);
    const RunSettings whole = settings(with_time_limit(2));
    EXPECT_EQ(whole.params.at("time_limit"), "2");
    EXPECT_FALSE(whole.abort);
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
}

/** The library would end the process in the middle of the search. */
TEST(RunSettings, EnergiesThatMayNotFitAreRefused) {
    EXPECT_THROW(settings({}, 128), InputError);
    const SolveOptions narrow = with_params({{"arithmetic_bits", "32"}});
    EXPECT_THROW(settings(narrow, 64), InputError);
    EXPECT_EQ(settings(narrow, 32).params.at("arithmetic_bits"), "32");
    // Weights of 64 bits take 64-bit arithmetic whatever is asked for.
    EXPECT_NO_THROW(settings(narrow, 64, 64));
}

TEST(RunSettings, CyclesCanBeLeftToTheLibrary) {
    SolveOptions options;
    options.engine_cycles = true;
    EXPECT_EQ(settings(options).params.count("search_cycles"), 0u);
}

TEST(RunSettings, ParametersGoBeforeOptions) {
    SolveOptions options = with_params({{"time_limit", "4"},
                                        {"target_energy", "-9"},
                                        {"trial_limit", "3"},
                                        {"arithmetic_bits", "64"},
                                        {"search_cycles", "500 50"},
                                        {"pool_size", "60"}});
    options.time_limit = 2.5;
    options.target = -1;
    options.trials = 1;
    const RunSettings run = settings(options);
    EXPECT_THAT(run.params,
                UnorderedElementsAre(Pair("time_limit", "4"), Pair("target_energy", "-9"),
                                     Pair("trial_limit", "3"), Pair("search_cycles", "500 50"),
                                     Pair("arithmetic_bits", "64"), Pair("pool_size", "60")));
    EXPECT_FALSE(run.abort);
    EXPECT_EQ(run.time_limit, 4);
    EXPECT_EQ(run.target, -9);
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

TEST(RunSettings, APlanHearsOfTheShape) {
    const PlanRequest request = plan_request_of(settings(
        with_params({{"islands_per_gpu", "3"}, {"blocks_per_island", "7"}, {"pool_size", "50"}})));
    EXPECT_EQ(request.islands_per_gpu, 3);
    EXPECT_EQ(request.blocks_per_island, 7);
    EXPECT_EQ(request.pool_size, 50);
    EXPECT_EQ(request.gpus, 0);
}

TEST(EndingOf, IsWhatTheLibraryEndedTheRunFor) {
    SolveOptions options;
    options.target = -5;
    options.time_limit = 2;
    options.trials = 100;
    const RunSettings run = settings(options);
    EXPECT_EQ(ending_of(run, -5, 0.1), Ending::TARGET);
    EXPECT_EQ(ending_of(run, -6, 0.1), Ending::TARGET);
    EXPECT_EQ(ending_of(run, -4, 2.001), Ending::TIME_LIMIT);
    EXPECT_EQ(ending_of(run, -4, 1.999), Ending::TRIAL_LIMIT);
}

}  // namespace
}  // namespace orvex::toolkit::test
