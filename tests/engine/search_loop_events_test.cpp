// The search loop of an island with a callback, and through restarts.
#include "engine/names.hpp"
#include "engine/support/search_loop.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;
using band::INST_t;

TEST_F(SearchLoopEvents, AnAbortStopsTheBlocksAndDrains) {
    onNew(2, [](ON_EVENT& self) { self.set("abort"); });
    prepareLoop(100);
    handIn({-1, -2, -3, -4, -5, -6});
    search();
    EXPECT_EQ(ticketsAfterFirstWave(4), (std::vector<std::int64_t>{5, 6, -1, -1}));
    EXPECT_EQ(island(0).received, 6);
    EXPECT_EQ(callback->count("new"), 2) << "no events after the abort";
    EXPECT_EQ(allbest().energy, -6) << "but the results count";
}

TEST_F(SearchLoopEvents, AKillLeavesAtOnce) {
    onNew(2, [](ON_EVENT& self) { self.set("kill"); });
    prepareLoop(100);
    handIn({-1, -2, -3, -4, -5, -6});
    search();
    EXPECT_EQ(ticketsAfterFirstWave(3), (std::vector<std::int64_t>{5, 0, 0}));
    EXPECT_EQ(island(0).received, 2);
    EXPECT_EQ(island(0).sent, 5);
}

TEST_F(SearchLoopEvents, AKillInTheDrainEndsTheDrain) {
    onNew(3, [](ON_EVENT& self) { self.set("kill"); });
    prepareLoop(1);
    handIn({-1, -2, -3, -4, -5});
    search();
    EXPECT_EQ(ticketsAfterFirstWave(3), (std::vector<std::int64_t>{5, -1, -1}));
    EXPECT_EQ(island(0).received, 3);
}

TEST_F(SearchLoopEvents, HintsInTheDrainAreNotSent) {
    onNew(4, [](ON_EVENT& self) { self.set(Sol(128)); });
    prepareLoop(1);
    run->trial_limit = 100;
    param.set("trial_limit", "100");
    run->stop_code = 0;
    run->target_energy = -1;
    handIn({-1, -2, -3, -4});
    search();
    EXPECT_EQ(island(0).sent, 4);
    EXPECT_EQ(callback->count("new"), 4);
}

TEST_F(SearchLoopEvents, AHintGoesOutBeforeTheAnswer) {
    onNew(1, [](ON_EVENT& self) {
        Sol hint(128);
        hint.impl().data[0] = 0xABCD;
        self.set(hint);
    });
    param.set("fix_instance", "Random");
    prepareLoop(3);  // for the loop's request, the hint's, and one that is refused an answer
    handIn({-1, -2, -3, -4, -5, -6, -7});
    search();
    const INST_t& hint = island(0).send_ring[FIRST_WAVE];
    EXPECT_EQ(hint.bits[0], 0xABCDu);
    EXPECT_EQ(hint.inst, engine::ALL_BEST);
    EXPECT_EQ(island(0).send_ring[FIRST_WAVE + 1].inst, engine::RANDOM);
    EXPECT_EQ(island(0).sent, island(0).received);
}

/** Loops with a callback that gives a hint, another one each time, at every event. */
class SearchLoopHints : public SearchLoopEvents {
  protected:
    static constexpr std::uint64_t MARK = std::uint64_t{0xABCD} << 48;

    SearchLoopHints() {
        callback.emplace([this](ON_EVENT& self, const std::string&) {
            takeAll();
            if (on_event) on_event(self);
            Sol hint(128);
            hint.impl().data[0] = MARK + static_cast<std::uint64_t>(++given);
            self.set(hint);
        });
        callback->set("new");
        param.set(*callback);
        param.set("fix_instance", "Random");
    }

    /** The blocks take what has been sent and note which hints came. */
    void takeAll() {
        for (; taken < island(0).sent; ++taken) {
            const INST_t sent = blocks->take();
            if (sent.inst == engine::ALL_BEST) seen.push_back(sent.bits[0] - MARK);
        }
    }

    std::function<void(ON_EVENT&)> on_event;
    int given = 0;
    std::int64_t taken = 0;
    std::vector<std::uint64_t> seen;
};

TEST_F(SearchLoopHints, AllReachTheBlocksHoweverMany) {
    constexpr int HINTS = 10 * RING;
    int handed_in = FIRST_WAVE;
    on_event = [&](ON_EVENT& self) {
        EXPECT_LE(island(0).sent - island(0).received + 1 + BLOCKS_OF_ISLAND, RING)
            << "the answer and the stop marks find slots";
        if (given == HINTS) self.set("abort");
        const std::int64_t wanted = given == HINTS ? island(0).sent + 1 : handed_in + 1;
        for (; handed_in < wanted; ++handed_in)
            handIn({-5 - handed_in});
    };
    prepareLoop(3 * HINTS);
    handIn({-1, -2, -3, -4});
    search();
    takeAll();
    ASSERT_EQ(seen.size(), static_cast<std::size_t>(HINTS));
    for (std::size_t i = 0; i < seen.size(); ++i)
        EXPECT_EQ(seen[i], i + 1);
    EXPECT_EQ(island(0).received, island(0).sent);
}

TEST_F(SearchLoopHints, ThatTheTrialLimitRefusesTakeTheAnswersPlace) {
    prepareLoop(1);
    handIn({-1, -2, -3, -4, -5});
    search();
    takeAll();
    EXPECT_EQ(island(0).sent, FIRST_WAVE + 1);
    EXPECT_EQ(seen, std::vector<std::uint64_t>{1});
}

/** Loops through a restart. */
class SearchLoopRestarts : public SearchLoopEvents {
  protected:
    void endPeriod() { run->restart_clock->next_restart = engine::now() - 1; }
};

TEST_F(SearchLoopRestarts, TheFirstResultAfterAPeriodRestartsAllIslands) {
    prepareLoop(2);
    endPeriod();
    handIn({-1, -2, -3, -4, -5, -6});
    search();
    EXPECT_EQ(run->restart_clock->count, 2) << "one period further";
    EXPECT_GT(run->restart_clock->next_restart, engine::now());
    EXPECT_EQ(island(0).generation, 1);
    EXPECT_EQ(island(0).restart, 0);
    EXPECT_EQ(island(1).restart, 1) << "for its own thread to see";
    EXPECT_EQ(island(1).generation, 0);
}

TEST_F(SearchLoopRestarts, TheAnswerToThatResultBelongsToTheNewGeneration) {
    prepareLoop(2);
    endPeriod();
    handIn({-1, -2, -3, -4, -5, -6});
    search();
    EXPECT_EQ(island(0).send_ring[3].generation, 0);
    EXPECT_EQ(island(0).send_ring[4].generation, 1);
    EXPECT_EQ(island(0).send_ring[5].generation, 1);
}

TEST_F(SearchLoopRestarts, XCrossPausesForFourRingsOfResults) {
    prepareLoop(2);
    endPeriod();
    handIn({-1, -2, -3, -4, -5, -6});
    search();
    EXPECT_EQ(island(0).cross_pause, 4 * RING - 5) << "five results came after the restart";
}

TEST_F(SearchLoopRestarts, ResultsOfAPastGenerationDoNotEnterThePool) {
    onNew(3, [](ON_EVENT& self) { self.set("kill"); });  // leaves before the drain
    prepareLoop(100);
    endPeriod();
    handIn({-1, -2, -3});
    search();
    EXPECT_FALSE(poolHolds(-1)) << "it was there, and the restart emptied the pool";
    EXPECT_FALSE(poolHolds(-2));
    EXPECT_FALSE(poolHolds(-3));
    EXPECT_EQ(allbest().energy, -3) << "they still compete for the best of the run";
}

TEST_F(SearchLoopRestarts, ResultsOfTheNewGenerationDo) {
    onNew(3, [](ON_EVENT& self) { self.set("kill"); });
    prepareLoop(100);
    endPeriod();
    handIn({-1});
    INST_t next = result_of(-2);
    next.generation = 1;
    blocks->handIn(next);
    handIn({-3});
    search();
    EXPECT_TRUE(poolHolds(-2));
}

TEST_F(SearchLoopRestarts, InTheDrainResultsOfEveryGenerationEnterThePool) {
    prepareLoop(1);
    endPeriod();
    handIn({-9, -5, -4, -3, -2});
    search();
    EXPECT_EQ(island(0).generation, 1);
    EXPECT_FALSE(poolHolds(-9)) << "it came before the restart";
    for (long energy = -5; energy <= -2; ++energy)
        EXPECT_TRUE(poolHolds(energy)) << energy;
}

TEST_F(SearchLoopRestarts, WithoutAPeriodThereAreNone) {
    param.set("restart_t0", "0");
    prepareLoop(2);
    endPeriod();
    handIn({-1, -2, -3, -4, -5, -6});
    search();
    EXPECT_EQ(island(0).generation, 0);
    EXPECT_EQ(island(0).cross_pause, 0);
    EXPECT_EQ(run->restart_clock->count, 1);
}

TEST_F(SearchLoopRestarts, ARestartThatAHintAskedForNeedsNoPeriod) {
    onNew(1, [](ON_EVENT& self) {
        self.set("restart");
        self.set(Sol(128));
    });
    param.set("restart_t0", "0");
    prepareLoop(3);
    handIn({-1, -2, -3, -4, -5, -6, -7});
    search();
    EXPECT_EQ(island(0).generation, 1);
    EXPECT_EQ(island(1).restart, 1);
}

}  // namespace
