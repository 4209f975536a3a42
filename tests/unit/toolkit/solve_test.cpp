// The call above all rooms, as its callers use it.
#include "toolkit/solve.hpp"

#include <limits>
#include <memory>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "toolkit/model/energy.hpp"
#include "toolkit/model/memory.hpp"
#include "unit/toolkit/random_problem.hpp"

namespace orvex::toolkit::test {
namespace {

using testing::HasSubstr;

/** The lowest energy of all bit vectors. */
long lowest_energy(const Problem& problem) {
    long lowest = 0;
    for (unsigned bits = 0; bits < 1u << problem.size; ++bits) {
        Sol solution(problem.size);
        for (int i = 0; i < problem.size; ++i)
            solution.set(i, (bits >> i & 1) != 0);
        lowest = std::min(lowest,
                          static_cast<long>(exact_energy(*problem.model, solution, problem.size)));
    }
    return lowest;
}

std::string refusal(const Problem& problem, const SolveOptions& options) {
    try {
        solve(problem, options);
        return "";
    } catch (const InputError& error) {
        return error.what();
    }
}

/** A pool that the machine could hold, were the rest of it not in use. */
TEST(Solve, SettingsWhoseMemoryCannotBeHadAreRefused) {
    const Problem problem = random_problem(10, 9);
    const auto bytes = [&](int pool_size) {
        return static_cast<long>(
            problem.plan(32, PlanRequest{.pool_size = pool_size})->search_bytes);
    };
    const long each = (bytes(1'000'100) - bytes(100)) / 1'000'000;
    const long wanted = free_memory() + (machine_memory() - free_memory()) / 2;
    if (each == 0 || wanted - free_memory() < 200'000'000) GTEST_SKIP() << "all memory is free";
    const std::string pool_size = std::to_string((wanted - bytes(100)) / each);
    EXPECT_THAT(refusal(problem, {.trials = 1, .settings = {{"pool_size", pool_size}}}),
                HasSubstr("pools and blocks of these settings need"));
}

TEST(Solve, FindsTheLowestEnergy) {
    const Problem problem = random_problem(12, 50);
    const long lowest = lowest_energy(problem);
    const Result result = solve(problem, {.time_limit = 5, .target = lowest});
    EXPECT_EQ(result.energy, lowest);
    EXPECT_EQ(result.ending, Ending::TARGET);
    EXPECT_EQ(exact_energy(*problem.model, result.solution, 12), lowest);
    EXPECT_EQ(result.plan.band(), "qb64_32_32");
    EXPECT_EQ(result.solution.get("energy"), std::to_string(lowest));
}

TEST(Solve, KeepsAHistoryThatOnlyGetsBetter) {
    const Problem problem = random_problem(200, 100);
    const Result result = solve(problem, {.time_limit = 0.3});
    ASSERT_FALSE(result.history.empty());
    EXPECT_EQ(result.history.back().energy, result.energy);
    for (std::size_t k = 0; k < result.history.size(); ++k) {
        const Found& found = result.history[k];
        EXPECT_EQ(found.energy, exact_energy(*problem.model, found.solution, 200));
        EXPECT_LE(found.time, result.search_time);
        if (k == 0) continue;
        EXPECT_LT(found.energy, result.history[k - 1].energy);
    }
    EXPECT_EQ(result.ending, Ending::TIME_LIMIT);
    EXPECT_GE(result.search_time, 0.29);
    EXPECT_LT(result.search_time, 5);  // the instances under way come to their end
}

TEST(Solve, EndsAfterSoManyTrials) {
    const Result result = solve(random_problem(50, 100), {.trials = 3});
    EXPECT_EQ(result.ending, Ending::TRIAL_LIMIT);
}

TEST(Solve, IsNotWorseThanItsStarts) {
    const Problem problem = random_problem(200, 100);
    const Sol good = solve(problem, {.time_limit = 0.3}).solution;
    const long energy = static_cast<long>(exact_energy(*problem.model, good, 200));
    const Result result = solve(problem, {.trials = 1, .starts = {Sol(200), good}});
    EXPECT_LE(result.energy, energy);
    EXPECT_EQ(result.history.front().energy, energy);
    EXPECT_EQ(result.history.front().time, 0);
    EXPECT_EQ(exact_energy(*problem.model, result.solution, 200), result.energy);
}

/** What the library would end the process for is found out before. */
TEST(Solve, RefusesWhatTheLibraryWould) {
    const Problem problem = random_problem(10, 100);
    EXPECT_THAT(refusal(problem, {.time_limit = -1}), HasSubstr("time limit"));
    EXPECT_THAT(refusal(problem, {.trials = 0}), HasSubstr("trials"));
    EXPECT_THAT(refusal(problem, {.starts = {Sol(9)}}), HasSubstr("start 0 has 9 bits"));
    EXPECT_THAT(refusal(problem, {.hints = {Sol(10), Sol(11)}}), HasSubstr("hint 1 has 11 bits"));
    EXPECT_THAT(refusal(problem, {.settings = {{"blocks_per_island", "-1"}}}),
                HasSubstr("blocks_per_island must"));
    EXPECT_THAT(refusal(problem, {.settings = {{"islands_per_gpu", "200"},
                                               {"blocks_per_island", "100000000"}}}),
                HasSubstr("shape"));
    EXPECT_THAT(refusal(problem, {.settings = {{"no_such_key", "1"}}}), HasSubstr("no_such_key"));
    EXPECT_THAT(refusal(problem, {.settings = {{"pool_size", "2000000000"}}}),
                HasSubstr("of memory"));
    const auto empty = std::make_unique<Problem>();
    EXPECT_THAT(refusal(*empty, {}), HasSubstr("no model"));
    EXPECT_THAT(refusal(random_problem(10, std::numeric_limits<long>::max()), {}),
                HasSubstr("does not fit into 64 bits"));
}

/** Tells what it saw, and stops at the first improvement. */
struct Stops : Events {
    void planned(const Plan& plan, const Settings& parameters) override {
        band = plan.band();
        bits = parameters.at("arithmetic_bits");
    }
    void began(const Moment& moment, Steering&) override { limit = moment.limit; }
    void improved(const Moment&, const Sol&, Steering& steering) override {
        steering.stop(Ending::INTERRUPTED);
    }
    std::string band, bits;
    double limit = -1;
};

TEST(Solve, TellsEventsAndObeysThem) {
    Stops stops;
    const Result result = solve(random_problem(60, 100), {.time_limit = 60}, stops);
    EXPECT_EQ(stops.band, "qb64_32_32");
    EXPECT_EQ(stops.bits, "32");
    EXPECT_EQ(stops.limit, 60);
    EXPECT_EQ(result.ending, Ending::INTERRUPTED);
    EXPECT_LT(result.search_time, 10);
}

struct Nested : Events {
    explicit Nested(const Problem& searched) : problem(searched) {}
    void improved(const Moment&, const Sol&, Steering&) override { solve(problem); }
    const Problem& problem;
};

TEST(Solve, InsideAnEventIsRefused) {
    const Problem problem = random_problem(100, 100);
    Nested nested(problem);
    EXPECT_THROW(solve(problem, {.time_limit = 60}, nested), std::logic_error);
}

/** Lets go of a problem while the library is held by this very thread. */
struct LetsGo : Events {
    void began(const Moment&, Steering&) override { problem.reset(); }
    std::unique_ptr<Problem> problem;
};

TEST(Solve, AProblemMayEndInsideAnEventOfAnother) {
    LetsGo events;
    events.problem = std::make_unique<Problem>(random_problem(20, 100, 1));
    solve(*events.problem, {.trials = 1});
    const Problem other = random_problem(20, 100, 2);
    EXPECT_EQ(solve(other, {.trials = 1}, events).ending, Ending::TRIAL_LIMIT);
    EXPECT_EQ(events.problem, nullptr);
}

TEST(Solve, OnSeveralThreadsTakesTurns) {
    const Problem one = random_problem(60, 100, 1), other = random_problem(60, 100, 2);
    long energy = 0;
    std::thread thread([&] { energy = solve(one, {.time_limit = 0.3}).energy; });
    const Result result = solve(other, {.time_limit = 0.3});
    thread.join();
    EXPECT_EQ(result.energy, exact_energy(*other.model, result.solution, 60));
    EXPECT_LT(energy, 0);
}

/**
 * The library takes a new model at the address of one that is gone for the old one, if it was
 * changed as often. With weights so different, a search on the wrong ones would be found out.
 */
TEST(Solve, ThousandsOfProblemsInARowAreToldApart) {
    for (int k = 0; k < 2000; ++k) {
        Model model(3, 16);
        const int lone = k % 3;
        for (int i = 0; i < 3; ++i)
            model.set(i, i, i == lone ? -(k + 1) : k + 1);
        const Result result = solve(problem_of(std::move(model)), {.trials = 1});
        ASSERT_EQ(result.energy, -(k + 1));
    }
}

}  // namespace
}  // namespace orvex::toolkit::test
