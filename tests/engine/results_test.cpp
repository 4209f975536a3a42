// What a result achieves when it is handed in: the best of its island's generation, of the island,
// and of the run.
#include "engine/names.hpp"
#include "engine/support/run_by_hand.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;
using band::INST_t;

class Results : public RunByHand {
  protected:
    /** Hands in a result of this energy on the island; its bits and time tell it apart. */
    void at(int i, long energy, int mark = 0, int generation = 0) {
        INST_t handed_in = result_of(energy);
        handed_in.bits[0] = static_cast<std::uint64_t>(mark);
        handed_in.found_time = mark * 1000000000L;
        handed_in.generation = static_cast<std::uint16_t>(generation);
        deliver(island(i), handed_in);
    }
};

TEST_F(Results, TheFirstResultIsTheBestOfAll) {
    prepare(2, 1);
    at(1, -5, 1);
    EXPECT_EQ(island(1).current.energy, -5);
    EXPECT_EQ(island(1).best.energy, -5);
    EXPECT_EQ(allbest().energy, -5);
    EXPECT_EQ(allbest().bits[0], 1u);
    EXPECT_EQ(allbest().island, 1) << "the finder";
    EXPECT_EQ(island(1).last_generation, 0);
    EXPECT_EQ(island(0).current.energy, 0) << "another island's business";
}

TEST_F(Results, TiesNeverReplace) {
    prepare(2, 1);
    at(0, -5, 1);
    at(0, -5, 2);
    at(1, -5, 3);
    EXPECT_EQ(island(0).current.bits[0], 1u);
    EXPECT_EQ(island(0).best.bits[0], 1u);
    EXPECT_EQ(allbest().bits[0], 1u);
    EXPECT_EQ(allbest().found_time, 1000000000);
    EXPECT_EQ(allbest().island, 0);
    EXPECT_EQ(island(1).current.bits[0], 3u) << "the other island has its own best";
}

TEST_F(Results, AWorseResultChangesNothing) {
    prepare(1, 1);
    at(0, -5, 1);
    at(0, -4, 2);
    EXPECT_EQ(island(0).current.bits[0], 1u);
    EXPECT_EQ(allbest().bits[0], 1u);
}

TEST_F(Results, AResultAbove0IsABestOfTheGenerationAndTheRunButNotOfTheIsland) {
    prepare(1, 1);
    at(0, 7, 1);
    EXPECT_EQ(island(0).current.energy, 7);
    EXPECT_EQ(allbest().energy, 7);
    EXPECT_EQ(island(0).best.energy, 0);
    EXPECT_EQ(island(0).best.bits[0], 0u);
}

TEST_F(Results, TheFirstResultOfAGenerationIsKeptWhateverItsEnergy) {
    prepare(1, 1);
    at(0, -9, 1);
    island(0).generation = 1;
    at(0, -5, 2, 1);
    EXPECT_EQ(island(0).current.energy, -5);
    EXPECT_EQ(island(0).best.energy, -9);
    EXPECT_EQ(allbest().energy, -9);
    EXPECT_EQ(island(0).last_generation, 1);
}

TEST_F(Results, AResultOfAPastGenerationCompetesForTheRunsBestAlone) {
    prepare(1, 1);
    at(0, -5, 1);
    island(0).generation = 1;
    at(0, -4, 2, 1);
    at(0, -9, 3, 0);
    EXPECT_EQ(island(0).current.energy, -4);
    EXPECT_EQ(island(0).best.energy, -5);
    EXPECT_EQ(allbest().energy, -9);
    EXPECT_EQ(allbest().bits[0], 3u);
    EXPECT_EQ(island(0).last_generation, 0);
}

TEST_F(Results, AfterAResultOfAPastGenerationThePresentOneStartsAfresh) {
    prepare(1, 1);
    island(0).generation = 1;
    at(0, -7, 1, 1);
    at(0, -5, 2, 0);
    at(0, -6, 3, 1);
    EXPECT_EQ(island(0).current.energy, -6) << "the generation has risen again";
    EXPECT_EQ(island(0).best.energy, -7);
}

TEST_F(Results, GenerationsAreComparedWith16Bits) {
    prepare(1, 1);
    island(0).generation = 65536;
    at(0, -7, 1, 0);
    EXPECT_EQ(island(0).current.energy, device::NO_ENERGY) << "65536 is not 0";
    EXPECT_EQ(allbest().energy, -7);
}

TEST_F(Results, AResultAfterTheEndStopsTheRun) {
    param.set("time_limit", "10");
    prepare(1, 1);
    at(0, -5);
    EXPECT_EQ(run->stop_code, 0);
    run->restart_clock->end = engine::now() - 1;
    at(0, -6);
    EXPECT_EQ(run->stop_code, 1);
    EXPECT_EQ(allbest().energy, -6) << "it still counts";
}

TEST_F(Results, WithoutATimeLimitTheClockDoesNotStopTheRun) {
    prepare(1, 1);
    run->restart_clock->end = engine::now() - 1;
    at(0, -5);
    EXPECT_EQ(run->stop_code, 0);
}

TEST_F(Results, ABestOfTheRunIsLogged) {
    param.set("log", "1");
    prepare(2, 1);
    at(0, -5, 1);
    at(1, -5, 2);
    at(1, -12345, 3);
    EXPECT_EQ(result.impl().log.str(), "1.000000,-5\n3.000000,-12345\n");
}

TEST_F(Results, NothingIsLoggedUnlessAskedFor) {
    prepare(1, 1);
    at(0, -5, 1);
    EXPECT_EQ(result.impl().log.str(), "");
}

/** Which events are delivered for the results. */
class ResultEvents : public Results {
  protected:
    ResultEvents() {
        param.set(callback);
        callback.set("new");
        callback.set("alarm", "0");
        prepare(2, 1);
    }

    ON_EVENT callback{[](ON_EVENT& self, const std::string&) { self.set("alarm", "0"); }};
};

TEST_F(ResultEvents, ANewBestIsNewAndEverythingElseAChanceForTheAlarm) {
    at(0, -5);
    at(0, -4);
    at(1, -5);
    at(1, -6);
    EXPECT_EQ(callback.events, (std::vector<std::string>{"new", "alarm", "alarm", "new"}));
}

TEST_F(ResultEvents, ANewBestOfAPastGenerationIsNew) {
    at(0, -5);
    island(0).generation = 1;
    at(0, -6, 0, 0);
    EXPECT_EQ(callback.events, (std::vector<std::string>{"new", "new"}));
}

TEST_F(ResultEvents, TheSolutionShownIsTheNewBest) {
    at(0, -5, 0b101);
    EXPECT_EQ(callback.get().get("energy"), "-5");
    EXPECT_TRUE(callback.get().get(0));
    EXPECT_FALSE(callback.get().get(1));
    EXPECT_TRUE(callback.get().get(2));
}

/** When a progress line is written. */
class ResultLines : public Results {
  protected:
    int linesOf(long energy, int generation = 0) {
        const std::string text = stderr_of([&] { at(0, energy, 0, generation); });
        return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
    }
};

TEST_F(ResultLines, AreWrittenForBestsOfTheIslandAndOfTheRun) {
    param.set("verbose", "1");
    prepare(2, 1);
    EXPECT_EQ(stderr_of([&] { at(1, -50); }).empty(), false);
    EXPECT_EQ(linesOf(-5), 1) << "the island's best";
    EXPECT_EQ(linesOf(-5), 0);
    EXPECT_EQ(linesOf(-4), 0);
    EXPECT_EQ(linesOf(-60), 1) << "the run's best";
    island(0).generation = 1;
    EXPECT_EQ(linesOf(-70, 0), 1) << "the run's best, of a past generation";
}

TEST_F(ResultLines, AreNotWrittenUnlessAskedFor) {
    prepare(2, 1);
    EXPECT_EQ(linesOf(-5), 0);
}

}  // namespace
