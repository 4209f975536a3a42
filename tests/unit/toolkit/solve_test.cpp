// The call above all rooms, as its callers use it.
#include "toolkit/solve.hpp"

#include <limits>
#include <memory>
#include <random>
#include <set>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/sanitized.hpp"
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
        lowest = std::min(lowest, static_cast<long>(problem.weights.energy(solution)));
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
    EXPECT_THAT(refusal(problem, {.trials = 1,
                                  .presolve = PresolveEffort::OFF,
                                  .settings = {{"pool_size", pool_size}}}),
                HasSubstr("pools and blocks of these settings need"));
}

TEST(Solve, FindsTheLowestEnergy) {
    const Problem problem = random_problem(12, 50);
    const long lowest = lowest_energy(problem);
    const Result result =
        solve(problem, {.time_limit = 5, .target = lowest, .presolve = PresolveEffort::OFF});
    EXPECT_EQ(result.energy, lowest);
    EXPECT_EQ(result.ending, Ending::TARGET);
    EXPECT_EQ(problem.weights.energy(result.solution), lowest);
    EXPECT_EQ(result.plan.value().band(), "qb64_32_32");
    EXPECT_EQ(result.solution.get("energy"), std::to_string(lowest));
}

/** A ring of `size` variables in which neighbours repel each other, and chords. */
Problem ring_with_chords(int size) {
    std::vector<std::int64_t> linear(static_cast<std::size_t>(size), -3);
    std::vector<Coupling> couplings;
    for (int i = 0; i < size; ++i) {
        couplings.push_back({i, (i + 1) % size, 2});
        couplings.push_back({i, (i * 7 + size / 3) % size, 1 + i % 3});
        couplings.push_back({i, (i * 11 + size / 5) % size, 1 + i % 2});
    }
    std::erase_if(couplings, [](const Coupling& coupling) { return coupling.i == coupling.j; });
    return problem_of(sparse_qubo(std::move(linear), std::move(couplings)));
}

TEST(Solve, ProvesTheOptimumOfWhatPresolveTakesApart) {
    const Problem problem = random_problem(12, 50);
    const Result result = solve(problem, {.time_limit = 5});
    EXPECT_EQ(result.ending, Ending::OPTIMAL);
    EXPECT_EQ(result.energy, lowest_energy(problem));
    EXPECT_EQ(problem.weights.energy(result.solution), result.energy);
    EXPECT_EQ(result.bound, result.energy);
    EXPECT_EQ(result.history.back().source, Source::PRESOLVE);
    EXPECT_EQ(result.preparation.size, 0);
    EXPECT_LT(result.search_time, 1);
}

TEST(Solve, SearchesASparseModelByTheCompanionAlone) {
    const Problem problem = ring_with_chords(1500);
    const Result result = solve(problem, {.time_limit = 0.5});
    EXPECT_FALSE(result.preparation.has_library);
    EXPECT_GT(result.preparation.companion_threads, 0);
    EXPECT_GT(result.companion_flips, 0);
    EXPECT_EQ(result.ending, Ending::TIME_LIMIT);
    EXPECT_NEAR(result.search_time, 0.5, 0.3);
    EXPECT_EQ(problem.weights.energy(result.solution), result.energy);
    for (const Found& found : result.history)
        EXPECT_EQ(found.energy, problem.weights.energy(found.solution));
}

/** Cliques of 28 variables with random weights, with nothing between them. */
Problem cliques(int count, std::int64_t link) {
    std::mt19937 random(5);
    const auto weight = [&] { return static_cast<std::int64_t>(random() % 201) - 100; };
    const int size = 28 * count;
    std::vector<std::int64_t> linear(static_cast<std::size_t>(size));
    std::vector<Coupling> couplings;
    for (int i = 0; i < size; ++i) {
        linear[static_cast<std::size_t>(i)] = weight();
        for (int j = i + 1; j < 28 * (i / 28 + 1); ++j)
            couplings.push_back({i, j, weight()});
        if (i >= 28 && link != 0) couplings.push_back({i - 28, i, link});
    }
    return problem_of(sparse_qubo(std::move(linear), std::move(couplings)));
}

TEST(Solve, HasTheBestOfEachComponentMerged) {
    const Problem apart = cliques(9, 0);
    const SolveOptions options{.time_limit = 0.5, .presolve = PresolveEffort::OFF};
    const Result result = solve(apart, options);
    EXPECT_TRUE(result.preparation.has_library);
    EXPECT_GT(result.preparation.companion_threads, 0);
    EXPECT_EQ(apart.weights.energy(result.solution), result.energy);
    EXPECT_EQ(solve(cliques(9, 7), options).preparation.companion_threads, 0) << "one component";
}

/** Searched by the library, by the companion, by both, and by presolve alone. */
TEST(Solve, GivesSeveralDistinctSolutions) {
    const Problem dense = random_problem(250, 50), sparse = ring_with_chords(250),
                  large = ring_with_chords(1500);
    const auto expect_several = [](const Problem& problem, const SolveOptions& options,
                                   std::size_t least) {
        const Result result = solve(problem, options);
        ASSERT_GE(result.solutions.size(), least) << "of " << result.preparation.size;
        ASSERT_LE(std::ssize(result.solutions), options.solutions);
        EXPECT_EQ(result.solutions.front().energy, result.energy);
        std::set<std::string> different;
        long last = result.energy;
        for (const Ranked& ranked : result.solutions) {
            EXPECT_EQ(problem.weights.energy(ranked.solution), ranked.energy);
            EXPECT_GE(ranked.energy, last);
            last = ranked.energy;
            const Bits bits = bits_of(ranked.solution);
            different.emplace(bits.begin(), bits.end());
        }
        EXPECT_EQ(different.size(), result.solutions.size());
    };
    const PresolveEffort off = PresolveEffort::OFF;
    const long trials = orvex::test::SANITIZED ? 300 : 3000;
    expect_several(dense, {.trials = trials, .presolve = off, .companion = 0, .solutions = 30}, 10);
    expect_several(large, {.time_limit = 0.5, .companion = 1, .solutions = 30}, 10);
    expect_several(sparse, {.time_limit = 1, .companion = 0.5, .solutions = 30}, 10);
    expect_several(random_problem(12, 50), {.time_limit = 5, .solutions = 30}, 1);
    expect_several(dense, {.trials = 100, .presolve = off, .companion = 0}, 1);
    EXPECT_EQ(refusal(dense, {.solutions = 0}), "at least one solution must be wanted");
}

TEST(Solve, SearchesByLibraryAndCompanionSideBySide) {
    const Problem problem = ring_with_chords(250);
    const Result result = solve(problem, {.time_limit = 1, .companion = 0.5});
    EXPECT_TRUE(result.preparation.has_library);
    EXPECT_GT(result.companion_flips, 0);
    EXPECT_NE(result.solution.get("total_flips"), "0");
    EXPECT_EQ(problem.weights.energy(result.solution), result.energy);
    EXPECT_LE(result.energy, solve(problem, {.time_limit = 0.3, .companion = 0}).energy);
}

TEST(Solve, TellsTargetsStartsAndBoundsInTheProblemsOwnTerms) {
    const Problem problem = ring_with_chords(250);
    const Result first = solve(problem, {.time_limit = 0.5});
    for (const double share : {0.0, 0.5, 1.0}) {
        const Result reached =
            solve(problem, {.time_limit = 20, .target = first.energy, .companion = share});
        EXPECT_EQ(reached.ending, Ending::TARGET) << share;
        EXPECT_LE(reached.energy, first.energy);
        const Result started =
            solve(problem, {.time_limit = 0.1, .companion = share, .starts = {first.solution}});
        EXPECT_EQ(started.history.front().energy, first.energy);
        EXPECT_EQ(started.history.front().source, Source::START);
        EXPECT_LE(started.energy, first.energy);
    }
}

TEST(Solve, SearchesModelsThatNoBandHolds) {
    const Problem problem = ring_with_chords(66'000);
    const Result result =
        solve(problem, {.time_limit = 60, .target = -1, .presolve = PresolveEffort::OFF});
    EXPECT_FALSE(result.plan);
    EXPECT_EQ(result.ending, Ending::TARGET);
    EXPECT_EQ(problem.weights.energy(result.solution), result.energy);
    EXPECT_THAT(refusal(problem, {.presolve = PresolveEffort::OFF, .companion = 0}),
                HasSubstr("65536 at most"));
    EXPECT_THAT(refusal(problem, {.trials = 5, .presolve = PresolveEffort::OFF, .companion = 1}),
                HasSubstr("limit of trials"));
    EXPECT_THAT(refusal(problem, {.companion = 1.5}), HasSubstr("share"));
}

TEST(Solve, KeepsAHistoryThatOnlyGetsBetter) {
    const Problem problem = random_problem(200, 100);
    const Result result = solve(problem, {.time_limit = 0.3});
    ASSERT_FALSE(result.history.empty());
    EXPECT_EQ(result.history.back().energy, result.energy);
    for (std::size_t k = 0; k < result.history.size(); ++k) {
        const Found& found = result.history[k];
        EXPECT_EQ(found.energy, problem.weights.energy(found.solution));
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
    const long energy = static_cast<long>(problem.weights.energy(good));
    const Result result = solve(problem, {.trials = 1, .starts = {Sol(200), good}});
    EXPECT_LE(result.energy, energy);
    EXPECT_EQ(result.history.front().energy, energy);
    EXPECT_EQ(result.history.front().time, 0);
    EXPECT_EQ(problem.weights.energy(result.solution), result.energy);
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
    EXPECT_THAT(refusal(problem, {.presolve = PresolveEffort::OFF,
                                  .settings = {{"islands_per_gpu", "200"},
                                               {"blocks_per_island", "100000000"}}}),
                HasSubstr("shape"));
    EXPECT_THAT(refusal(problem, {.settings = {{"no_such_key", "1"}}}), HasSubstr("no_such_key"));
    EXPECT_THAT(refusal(problem, {.presolve = PresolveEffort::OFF,
                                  .settings = {{"pool_size", "2000000000"}}}),
                HasSubstr("of memory"));
    const auto empty = std::make_unique<Problem>();
    EXPECT_THAT(refusal(*empty, {}), HasSubstr("no weights"));
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
    solve(*events.problem, {.trials = 1, .presolve = PresolveEffort::OFF});
    const Problem other = random_problem(20, 100, 2);
    const SolveOptions options{.trials = 1, .presolve = PresolveEffort::OFF};
    EXPECT_EQ(solve(other, options, events).ending, Ending::TRIAL_LIMIT);
    EXPECT_EQ(events.problem, nullptr);
}

TEST(Solve, OnSeveralThreadsTakesTurns) {
    const Problem one = random_problem(60, 100, 1), other = random_problem(60, 100, 2);
    long energy = 0;
    std::thread thread([&] { energy = solve(one, {.time_limit = 0.3}).energy; });
    const Result result = solve(other, {.time_limit = 0.3});
    thread.join();
    EXPECT_EQ(result.energy, other.weights.energy(result.solution));
    EXPECT_LT(energy, 0);
}

/**
 * The library takes a new model at the address of one that is gone for the old one, if it was
 * changed as often. With weights so different, a search on the wrong ones would be found out.
 */
TEST(Solve, ThousandsOfProblemsInARowAreToldApart) {
    const int problems = orvex::test::SANITIZED ? 200 : 2000;
    for (int k = 0; k < problems; ++k) {
        Model model(3, 16);
        const int lone = k % 3;
        for (int i = 0; i < 3; ++i)
            model.set(i, i, i == lone ? -(k + 1) : k + 1);
        const Result result = solve(problem_of(std::move(model)),
                                    {.trials = 1, .presolve = PresolveEffort::OFF, .companion = 0});
        ASSERT_EQ(result.energy, -(k + 1));
    }
}

}  // namespace
}  // namespace orvex::toolkit::test
