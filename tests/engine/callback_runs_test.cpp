// A callback through whole runs: which events come, in which order, on which thread, and what the
// caller sees in them.
#include <algorithm>
#include <numeric>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "orvex/parameters.hpp"

#include "engine/names.hpp"
#include "engine/support/band_128_32_32.hpp"
#include "engine/support/death.hpp"
#include "engine/support/runs.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;
namespace band = qb128_32_32;

class CallbackRuns : public testing::Test {
  protected:
    /** A run of at most 500 instances with a callback that acts as told. */
    Sol runWith(ON_EVENT::ACTION action, SETTINGS more = {}, const char* trial_limit = "500") {
        callback.emplace(std::move(action));
        Param param = settings(more);
        param.set("trial_limit", trial_limit);
        param.set(*callback);
        return solve(band::band_solve, model, param);
    }

    Model model = random_model(100, 16, 1000, 1);
    std::optional<ON_EVENT> callback;
};

TEST_F(CallbackRuns, WithoutRequestsOnlyInitComes) {
    std::thread::id thread;
    runWith([&](ON_EVENT&, const std::string&) { thread = std::this_thread::get_id(); });
    EXPECT_EQ(callback->events, std::vector<std::string>{"init"});
    EXPECT_EQ(thread, std::this_thread::get_id()) << "the caller's own";
}

TEST_F(CallbackRuns, EveryNewBestIsShownOnce) {
    std::vector<long> energies;
    const Sol sol = runWith([&](ON_EVENT& self, const std::string& event) {
        self.set("new");
        if (event != "new") return;
        expect_true_energy(model, self.get());
        EXPECT_EQ(self.get().get("total_flips"), "0");
        EXPECT_EQ(self.get().impl().attrs.count("kernel_time"), 0u);
        energies.push_back(std::stol(self.get().get("energy")));
    });
    ASSERT_FALSE(energies.empty());
    EXPECT_TRUE(std::is_sorted(energies.rbegin(), energies.rend()));
    EXPECT_EQ(std::to_string(energies.back()), sol.get("energy"));
    EXPECT_EQ(callback->events.front(), "init");
    EXPECT_EQ(callback->count("init"), 1);
}

TEST_F(CallbackRuns, AnAlarmComesOnceForEachArming) {
    runWith([](ON_EVENT& self, const std::string&) {
        if (self.count("alarm") < 3) self.set("alarm", "0");
    });
    EXPECT_EQ(callback->count("alarm"), 3);
}

TEST_F(CallbackRuns, AnAlarmOfALongDelayDoesNotCome) {
    runWith([](ON_EVENT& self, const std::string&) { self.set("alarm", "3600"); });
    EXPECT_EQ(callback->count("alarm"), 0);
}

TEST_F(CallbackRuns, AnAlarmComesAfterItsDelay) {
    std::int64_t armed = 0;
    std::int64_t fired = 0;
    runWith(
        [&](ON_EVENT& self, const std::string& event) {
            if (event == "init") self.set("alarm", "0.05");
            (event == "init" ? armed : fired) = engine::now();
            if (event == "alarm") self.set("abort");
        },
        {}, "0");
    EXPECT_GE(fired - armed, 50000000);
}

TEST_F(CallbackRuns, IslandsTellWhatTheyHaveDone) {
    long results = 0;
    const Sol sol = runWith([&](ON_EVENT& self, const std::string& event) {
        self.set("new");
        self.set("alarm", "0");
        if (event == "init") {
            EXPECT_TRUE(self.islands().empty());
            return;
        }
        long seen = 0;
        for (const IslandState& island : self.islands())
            seen += island.results;
        EXPECT_GE(seen, results) << "counts rise";
        EXPECT_GE(seen, 1);
        results = seen;
    });
    const std::vector<IslandState>& islands = callback->islands();
    ASSERT_FALSE(islands.empty());
    long best = IslandState::NO_ENERGY, flips = 0;
    results = 0;
    for (const IslandState& island : islands) {
        best = std::min(best, island.best);
        flips += island.flips;
        results += island.results;
        const auto sum = [](const auto& counts) {
            return std::accumulate(counts.begin(), counts.end(), 0L);
        };
        EXPECT_EQ(sum(island.rules), island.results);
        EXPECT_EQ(sum(island.generators), island.results);
        EXPECT_GE(island.current, island.best);
    }
    EXPECT_EQ(results, 500) << "of the whole run, as it has ended";
    EXPECT_EQ(std::to_string(best), sol.get("energy"));
    EXPECT_EQ(std::to_string(flips), sol.get("total_flips"));
}

TEST_F(CallbackRuns, PoolsHandOverTheirBestAtTheEnd) {
    const Sol sol = runWith([](ON_EVENT& self, const std::string& event) {
        EXPECT_TRUE(self.solutions().empty()) << "not before the end";
        if (event == "init") self.want_solutions(20);
    });
    const std::vector<Sol>& solutions = callback->solutions();
    ASSERT_EQ(solutions.size(), 20u);
    std::vector<long> energies;
    std::set<std::vector<std::uint64_t>> different;
    for (const Sol& solution : solutions) {
        const Sol::Impl& is = solution.impl();
        EXPECT_EQ(is.bits, 100);
        energies.push_back(energy_of(model, solution));
        different.emplace(is.data.get(), is.data.get() + is.words);
    }
    EXPECT_EQ(different.size(), solutions.size());
    EXPECT_TRUE(std::is_sorted(energies.begin(), energies.end()));
    EXPECT_EQ(std::to_string(energies.front()), sol.get("energy"));

    runWith([](ON_EVENT& self, const std::string&) { self.want_solutions(1000000); }, {}, "3");
    EXPECT_LE(callback->solutions().size(), 3u) << "no more than results came in";
    EXPECT_FALSE(callback->solutions().empty());
    runWith([](ON_EVENT& self, const std::string&) { self.want_solutions(0); });
    EXPECT_TRUE(callback->solutions().empty());
}

TEST_F(CallbackRuns, AFixedRuleHasAllResults) {
    runWith([](ON_EVENT&, const std::string&) {}, {{"fix_algorithm", "CyclicMin"}});
    const auto rule = std::find(flip_rules().begin(), flip_rules().end(), "CyclicMin");
    const auto place = static_cast<std::size_t>(rule - flip_rules().begin());
    for (const IslandState& island : callback->islands())
        EXPECT_EQ(island.rules.at(place), island.results);
}

TEST_F(CallbackRuns, FlipsOfTheRunRise) {
    std::vector<long> flips;
    const Sol sol = runWith([&](ON_EVENT& self, const std::string&) {
        self.set("alarm", "0");
        flips.push_back(self.flips());
    });
    EXPECT_EQ(flips.front(), 0);
    EXPECT_GT(flips.back(), 0);
    EXPECT_TRUE(std::is_sorted(flips.begin(), flips.end()));
    EXPECT_LE(flips.back(), std::stol(sol.get("total_flips")));
}

TEST_F(CallbackRuns, ChangedCyclesAreReported) {
    const Sol sol = runWith([](ON_EVENT& self, const std::string&) {
        self.set("annealing_factor", "0.5");
        self.set("batch_factor", "10");
    });
    EXPECT_EQ(sol.get("search_cycles"), "1280 64") << "factors of the band's size, 128";
}

TEST_F(CallbackRuns, FactorsCountOnTheBandOf10240BitsAndHaveFloors) {
    Solver solver(false);
    if (("," + solver.get("sizes") + ",").find(",10240,") == std::string::npos)
        GTEST_SKIP() << "this build has no band of 10240 bits";
    const Model large(8193, 8);
    ON_EVENT watcher([](ON_EVENT& self, const std::string&) {
        self.set("annealing_factor", "0.001");  // 10 cycles, fewer than the least
        self.set("batch_factor", "0.5");
    });
    Param param =
        settings({{"trial_limit", "1"}, {"islands_per_gpu", "1"}, {"blocks_per_island", "1"}});
    param.set(watcher);
    const Sol sol = solver(large, param);
    solver.release();
    EXPECT_EQ(sol.get("solver_size"), "10240");
    EXPECT_EQ(sol.get("search_cycles"), "5120 20");
}

TEST_F(CallbackRuns, AHintInInitIsFollowedByTheSearch) {
    const Sol best = solve(band::band_solve, model, settings({{"trial_limit", "2000"}}));
    const Sol sol = runWith(
        [&](ON_EVENT& self, const std::string& event) {
            if (event == "init") self.set(best);
        },
        {{"islands_per_gpu", "1"}, {"blocks_per_island", "1"}}, "5");
    EXPECT_LE(std::stol(sol.get("energy")), std::stol(best.get("energy")));
}

TEST_F(CallbackRuns, HintsOfOtherLengthsAreTaken) {
    for (const int length : {0, 1, 64, 65, 128, 1000})
        runWith(
            [&](ON_EVENT& self, const std::string&) {
                self.set("new");
                Sol hint(length);
                for (int i = 0; i < length; ++i)
                    hint.set(i, true);
                self.set(hint);
            },
            {{"best_priority", "10"}});
}

TEST_F(CallbackRuns, TheHintGeneratorMayBeBarredAndAdmittedDuringTheRun) {
    runWith(
        [&](ON_EVENT& self, const std::string&) {
            self.set("alarm", "0");
            self.set("hint", self.events.size() % 2 == 0 ? "0" : "1");
            if (self.events.size() % 10 == 1) self.set(Sol(100));
        },
        {{"best_priority", "-3"}}, "3000");
    EXPECT_GT(callback->events.size(), 10u);
}

TEST_F(CallbackRuns, RequestsLeftSetCountForTheNextRun) {
    runWith([](ON_EVENT& self, const std::string&) { self.set("new"); });
    Param param = settings({{"trial_limit", "100"}});
    param.set(*callback);
    callback->events.clear();
    callback->set("new");
    solve(band::band_solve, model, param);
    EXPECT_GE(callback->count("new"), 1);
}

TEST_F(CallbackRuns, OneCallbackServesModelsOfDifferentSizes) {
    ON_EVENT watcher([](ON_EVENT& self, const std::string&) { self.set("new"); });
    for (const int n : {20, 100, 50}) {
        const Model other = random_model(n, 16, 1000, 5);
        Param param = settings({{"trial_limit", "50"}});
        param.set(watcher);
        solve(band::band_solve, other, param);
        EXPECT_EQ(watcher.get().impl().bits, n);
        expect_true_energy(other, watcher.get());
    }
}

TEST_F(CallbackRuns, InitShowsZerosAtFirstAndLaterTheLastBestOfTheRunBefore) {
    std::vector<std::vector<bool>> shown;
    ON_EVENT watcher([&](ON_EVENT& self, const std::string& event) {
        self.set("new");
        if (event != "init") return;
        shown.emplace_back();
        for (int i = 0; i < self.get().impl().bits; ++i)
            shown.back().push_back(self.get().get(i));
    });
    Param param = settings({{"trial_limit", "100"}});
    param.set(watcher);
    const Sol first = solve(band::band_solve, model, param);
    solve(band::band_solve, model, param);
    std::vector<bool> best;
    for (int i = 0; i < 100; ++i)
        best.push_back(first.get(i));
    EXPECT_EQ(shown, (std::vector{std::vector<bool>(100, false), best}));
}

TEST_F(CallbackRuns, ACyclesTextThatDoesNotConvertEndsTheProcessDuringTheRun) {
    const auto solve_with = [&](const std::string& when) {
        runWith(
            [&](ON_EVENT& self, const std::string& event) {
                self.set("new");
                if (event != when) return;
                // The workers run out of instances and sleep: the process ends all the same.
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
                self.set("search_cycles", "many");
            },
            {}, "0");
    };
    EXPECT_ERROR(solve_with("init"), "wrong callback with search_cycles.");
    EXPECT_ERROR(solve_with("new"), "wrong callback with search_cycles.");
}

TEST_F(CallbackRuns, AnUnknownRequestEndsTheProcessDuringTheRun) {
    const auto solve_with = [&](const char* word) {
        runWith(
            [&](ON_EVENT& self, const std::string& event) {
                self.set("new");
                if (event == "new") self.set(word);
            },
            {}, "0");
    };
    EXPECT_ERROR(solve_with("stop"), "Wrong operation stop.");
}

TEST_F(CallbackRuns, AnExceptionInAnEngineThreadEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(runWith(
                    [&](ON_EVENT& self, const std::string& event) {
                        self.set("new");
                        if (event == "new") self.set("alarm", "soon");
                    },
                    {}, "0"),
                testing::KilledBySignal(SIGABRT), testing::HasSubstr("stod"));
}

}  // namespace
