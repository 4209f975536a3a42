// The ways in which a run ends.
#include <chrono>

#include "engine/globals.hpp"
#include "engine/support/band_128_32_32.hpp"
#include "engine/support/band_64_32_32.hpp"
#include "engine/support/runs.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;
namespace band = qb64_32_32;

class StopConditions : public testing::Test {
  protected:
    Sol run(const Model& of, const Param& with) { return solve(band::band_solve, of, with); }

    /** A run with a callback that asks for "new" events and then acts as told. */
    Sol runWith(ON_EVENT::ACTION action, SETTINGS pairs) {
        callback.emplace([action](ON_EVENT& self, const std::string& event) {
            self.set("new");
            action(self, event);
        });
        Param param = settings(pairs);
        param.set(*callback);
        return run(model, param);
    }

    Model model = random_model(60, 16, 1000, 1);
    std::optional<ON_EVENT> callback;
};

TEST_F(StopConditions, ATrialLimitEndsTheRun) {
    for (const char* limit : {"1", "3", "69", "70", "71", "500"}) {
        std::int64_t instances = -1;
        const Sol sol =
            runWith([&](ON_EVENT&, const std::string&) { instances = band::gv->trial_limit; },
                    {{"trial_limit", limit}});
        EXPECT_LT(std::stol(sol.get("energy")), 0);
        EXPECT_EQ(std::to_string(instances), limit);
    }
}

TEST_F(StopConditions, NoMoreInstancesAreSentThanTheTrialLimit) {
    for (const char* limit : {"1", "20", "333"}) {
        const std::string text = stderr_of([&] {
            run(model, settings({{"trial_limit", limit}, {"verbose", "1"}}));
        });
        const std::size_t row = text.rfind(" | ");
        EXPECT_EQ(text.substr(row + 3, text.find(' ', row + 3) - row - 3), limit)
            << "the results in the row of all islands";
    }
}

TEST_F(StopConditions, WithoutAnyInstanceThereIsNoResult) {
    Sol start(60);
    start.set(5, true);
    const Param param = settings({{"trial_limit", "-1"}});
    const Sol sol = run(model, param);
    EXPECT_EQ(sol.get("energy"), NO_ENERGY_TEXT);
    EXPECT_EQ(sol.impl().attrs.at("tts"), "");
    EXPECT_EQ(sol.impl().data[0], 0u);
    EXPECT_EQ(solve(band::band_solve, model, param, &start).impl().data[0], 32u);
}

TEST_F(StopConditions, ATimeLimitEndsTheRun) {
    const auto begin = std::chrono::steady_clock::now();
    const Sol sol = run(model, settings({{"time_limit", "1"}}));
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(took.count(), 1.0);
    EXPECT_LT(took.count(), 10.0) << "it ends at the next result after the limit";
    EXPECT_GE(std::stod(sol.get("runtime")), 1.0);
    EXPECT_GT(std::stod(sol.get("kernel_time")), 0.9);
    EXPECT_LE(std::stod(sol.get("tts")), std::stod(sol.get("runtime")));
}

TEST_F(StopConditions, ATimeLimitEndsSearchesThatWouldTakeForEver) {
    const auto begin = std::chrono::steady_clock::now();
    for (const char* rule : {"MaxMin", "CyclicMin"})
        run(model, settings({{"time_limit", "1"},
                             {"search_cycles", "2147483647 2147483647"},
                             {"fix_algorithm", rule}}));
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(took.count(), 2.0);
    EXPECT_LT(took.count(), 10.0);
}

TEST_F(StopConditions, AnAbortEndsSearchesThatWouldTakeForEver) {
    const Sol sol = runWith([](ON_EVENT& self, const std::string&) { self.set("abort"); },
                            {{"search_cycles", "2147483647 2147483647"}});
    EXPECT_NE(sol.get("energy"), NO_ENERGY_TEXT);
}

TEST_F(StopConditions, AnAbortBeforeTheSearchStillLooksAtTheStartSolution) {
    Model needle(60, 16);
    for (int i = 0; i < 60; ++i) {
        needle.set(i, i, 1000);
        for (int j = i + 1; j < 60; ++j)
            needle.set(i, j, -40);
    }
    Sol start(60);
    for (int i = 0; i < 60; ++i)
        start.set(i, true);
    ON_EVENT aborting([](ON_EVENT& self, const std::string&) { self.set("abort"); });
    Param param;
    param.set(aborting);
    EXPECT_LE(std::stol(solve(band::band_solve, needle, param, &start).get("energy")),
              60 * 1000 - 40 * 60 * 59 / 2);
}

TEST_F(StopConditions, ATargetEndsTheRun) {
    const Sol sol = run(all_ones_model(20), settings({{"target_energy", "-20"}}));
    EXPECT_EQ(sol.get("energy"), "-20");
}

TEST_F(StopConditions, ATargetThatIsEasierThanTheFirstResultEndsTheRun) {
    const Sol sol = run(all_ones_model(20), settings({{"target_energy", "-1"}}));
    EXPECT_LE(std::stol(sol.get("energy")), -1);
}

TEST_F(StopConditions, ABoundOfTheStartSolutionIsATarget) {
    Sol start(64);
    start.set("bound", "-20");
    const Sol sol = solve(band::band_solve, all_ones_model(20), Param(), &start);
    EXPECT_EQ(sol.get("energy"), "-20");
}

TEST_F(StopConditions, ATargetOf0IsNone) {
    const Sol sol =
        run(all_ones_model(20), settings({{"target_energy", "0"}, {"trial_limit", "300"}}));
    EXPECT_EQ(sol.get("energy"), "-20");
}

TEST_F(StopConditions, AnAbortInAnyEventEndsTheRun) {
    for (const char* when : {"init", "new"}) {
        const Sol sol = runWith(
            [&](ON_EVENT& self, const std::string& event) {
                if (event == when) self.set("abort");
            },
            {});
        EXPECT_EQ(callback->events.back(), when) << "no event after the abort";
        EXPECT_NE(sol.get("energy"), NO_ENERGY_TEXT) << "the results owed were still taken";
    }
}

TEST_F(StopConditions, AKillInInitEndsTheRunBeforeAnyResult) {
    const Sol sol = runWith([](ON_EVENT& self, const std::string&) { self.set("kill"); }, {});
    EXPECT_EQ(sol.get("energy"), NO_ENERGY_TEXT);
    EXPECT_EQ(sol.impl().attrs.at("tts"), "");
    EXPECT_EQ(callback->events, std::vector<std::string>{"init"});
}

TEST_F(StopConditions, AKillDuringTheRunEndsItAtOnce) {
    for (const std::size_t n : {2, 3, 10, 100, 300}) {
        const Sol sol = runWith(
            [n](ON_EVENT& self, const std::string&) {
                self.set("alarm", "0");  // an event for every result
                if (self.events.size() == n) self.set("kill");
            },
            {});
        EXPECT_GE(callback->events.size(), n);
        EXPECT_LT(std::stol(sol.get("energy")), 0);
    }
}

TEST_F(StopConditions, AKillEndsRunsOnSeveralDevices) {
    const PRESENTED_DEVICES three(3);
    runWith(
        [](ON_EVENT& self, const std::string& event) {
            if (event == "new") self.set("kill");
        },
        {});
    EXPECT_GE(callback->count("new"), 1);
}

TEST_F(StopConditions, AKillEndsARunThatHasNothingToDo) {
    // The grid serves one island only; the others wait for results that never come.
    const Sol sol = runWith(
        [](ON_EVENT& self, const std::string& event) {
            if (event == "new") self.set("kill");
        },
        {{"islands_per_gpu", "257"}, {"blocks_per_island", "1"}});
    EXPECT_NE(sol.get("energy"), NO_ENERGY_TEXT);
}

TEST_F(StopConditions, HintsAtEveryEventDoNotKeepATargetFromEndingTheRun) {
    for (int round = 0; round < 20; ++round) {
        const Model ones = all_ones_model(60);
        ON_EVENT hints([](ON_EVENT& self, const std::string&) {
            self.set("new");
            self.set(Sol(60));
        });
        Param param = settings({{"target_energy", "-60"}});
        param.set(hints);
        EXPECT_EQ(run(ones, param).get("energy"), "-60");
    }
}

TEST_F(StopConditions, ManyHintsDoNotHoldUpTheRun) {
    runWith(
        [](ON_EVENT& self, const std::string& event) {
            self.set(event == "init" ? Sol(60) : self.get());
            self.set("alarm", "0");
        },
        {{"trial_limit", "3000"}});
    EXPECT_GT(callback->count("alarm"), 0);
}

TEST_F(StopConditions, ManyHintsWithRestartsDoNotHoldUpTheRun) {
    runWith(
        [](ON_EVENT& self, const std::string&) {
            self.set(Sol(60));
            self.set("alarm", "0");
            self.set("restart");
        },
        {{"trial_limit", "3000"}, {"islands_per_gpu", "2"}, {"blocks_per_island", "1"}});
    EXPECT_GT(callback->count("alarm"), 0);
}

}  // namespace
