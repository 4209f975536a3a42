// The search loop of an island on its own: the results that it will meet lie in its receive ring
// before it starts, so that it runs through without waiting, and the test sees what it sent.
#include <limits>

#include "engine/names.hpp"
#include "engine/support/draws.hpp"
#include "engine/support/run_by_hand.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;
using band::INST_t;

class SearchLoop : public RunByHand {
  protected:
    static constexpr int BLOCKS_OF_ISLAND = 2;
    static constexpr int FIRST_WAVE = 2 * BLOCKS_OF_ISLAND;
    static constexpr int RING = 4 * BLOCKS_OF_ISLAND;

    /** Two islands after their first wave; `more` instances may follow it. */
    void prepareLoop(int more) {
        param.set("trial_limit", std::to_string(FIRST_WAVE + more));
        prepare(2, BLOCKS_OF_ISLAND);
        ASSERT_EQ(run->ring_size, RING);
        thread.emplace(band::HOST_THREAD{.id = 0, .island = &island(0)});
        thread->set_func();
        ASSERT_EQ(island(0).sent, FIRST_WAVE);
        blocks.emplace(island(0));
    }

    /** Results with these energies wait for the island; their bits are far apart. */
    void handIn(const std::vector<long>& energies) {
        for (const long energy : energies) {
            INST_t handed_in = result_of(energy);
            handed_in.bits[0] = std::uint64_t{0xFFF} << (12 * (handed_++ % 5));
            handed_in.bits[1] = static_cast<std::uint64_t>(handed_);
            blocks->handIn(handed_in);
        }
    }

    int handed_ = 0;

    void search() { thread->main_func(); }

    /** Tickets in the send ring after the first wave, in the order in which they were sent. */
    std::vector<std::int64_t> ticketsBehindFirstWave(int count) {
        std::vector<std::int64_t> tickets;
        for (int i = FIRST_WAVE; i < FIRST_WAVE + count; ++i)
            tickets.push_back(island(0).send_ring[i % RING].ticket);
        return tickets;
    }

    bool poolHolds(long energy) {
        const band::SOLPOOL& pool = island(0).pool;
        for (int slot = 0; slot < pool.pool_size; ++slot)
            if (pool.pool[slot].energy == energy) return true;
        return false;
    }

    std::optional<band::HOST_THREAD> thread;
    std::optional<BLOCKS> blocks;
};

TEST_F(SearchLoop, AnswersEachResultUntilTheTrialLimitThenStopsTheBlocksAndDrains) {
    prepareLoop(3);
    handIn({-7, -6, -5, -4, -3, -2, -1});
    search();
    EXPECT_EQ(ticketsBehindFirstWave(5), (std::vector<std::int64_t>{5, 6, 7, -1, -1}));
    EXPECT_EQ(island(0).sent, 7);
    EXPECT_EQ(island(0).received, 7);
    for (long energy = -7; energy <= -1; ++energy)
        EXPECT_TRUE(poolHolds(energy)) << energy;
}

TEST_F(SearchLoop, PoolAndBestTakeResultsWithoutWhatIsSetAboveTheModel) {
    prepareLoop(1);
    INST_t handed_in = result_of(-100);
    handed_in.bits[1] = std::uint64_t{1} << 63 | 1;
    blocks->handIn(handed_in);
    handIn({-1, -2, -3, -4});
    search();
    EXPECT_TRUE(poolHolds(-355));
    EXPECT_FALSE(poolHolds(-100));
    EXPECT_EQ(allbest().energy, -355);
    EXPECT_EQ(allbest().bits[1], 1u);
}

TEST_F(SearchLoop, ResultsOfTheDrainCompeteForTheRunsBest) {
    prepareLoop(1);
    handIn({-1, -2, -3, -4, -5});
    search();
    EXPECT_EQ(allbest().energy, -5);
}

TEST_F(SearchLoop, WithoutTicketsOnlyStopsAndDrains) {
    prepareLoop(0);
    handIn({-1, -2, -3, -4});
    search();
    EXPECT_EQ(ticketsBehindFirstWave(2), (std::vector<std::int64_t>{-1, -1}));
    EXPECT_EQ(island(0).received, 4);
}

TEST_F(SearchLoop, OfARunThatHasStoppedOnlyStopsAndDrains) {
    prepareLoop(100);
    run->stop_code = 1;
    handIn({-1, -2, -3, -4});
    search();
    EXPECT_EQ(ticketsBehindFirstWave(2), (std::vector<std::int64_t>{-1, -1}));
    EXPECT_EQ(island(0).received, 4);
}

TEST_F(SearchLoop, OfAKilledRunSendsNothingAndDrainsNothing) {
    prepareLoop(100);
    run->killed = true;
    handIn({-1, -2, -3, -4});
    search();
    EXPECT_EQ(ticketsBehindFirstWave(2), (std::vector<std::int64_t>{0, 0}));
    EXPECT_EQ(island(0).received, 0);
}

TEST_F(SearchLoop, EndsAtTheTargetWithoutAnsweringThatResult) {
    param.set("target_energy", "-5");
    prepareLoop(100);
    handIn({-1, -5, -2, -3, -4});
    search();
    EXPECT_EQ(ticketsBehindFirstWave(3), (std::vector<std::int64_t>{5, -1, -1}));
    EXPECT_EQ(island(0).received, 5);
    EXPECT_EQ(run->stop_code, 0);
}

TEST_F(SearchLoop, EndsBelowTheTargetToo) {
    param.set("target_energy", "-5");
    prepareLoop(100);
    handIn({-6, -1, -1, -1});
    search();
    EXPECT_EQ(ticketsBehindFirstWave(2), (std::vector<std::int64_t>{-1, -1}));
}

TEST_F(SearchLoop, EndsAtTheTargetThatAnotherIslandHasReached) {
    param.set("target_energy", "-5");
    prepareLoop(100);
    allbest().energy = -5;
    handIn({-1, -1, -1, -1});
    search();
    EXPECT_EQ(island(0).sent, FIRST_WAVE);
}

TEST_F(SearchLoop, ATargetOf0IsNoTarget) {
    param.set("target_energy", "0");
    prepareLoop(2);
    handIn({-1, -1, -1, -1, -1, -1});
    search();
    EXPECT_EQ(island(0).sent, FIRST_WAVE + 2);
}

TEST_F(SearchLoop, BehindTheTimeLimitOneMoreInstanceGoesOut) {
    param.set("time_limit", "100");
    prepareLoop(100);
    run->restart_clock->end = engine::now() - 1;
    handIn({-1, -2, -3, -4, -5});
    search();
    EXPECT_EQ(run->stop_code, 1);
    EXPECT_EQ(ticketsBehindFirstWave(3), (std::vector<std::int64_t>{5, -1, -1}));
    EXPECT_EQ(island(0).received, 5);
}

TEST_F(SearchLoop, AnOverflowStopsTheRunBehindTheNextInstance) {
    prepareLoop(100);
    INST_t overflown = result_of(-1);
    overflown.overflow = 1;
    blocks->handIn(overflown);
    handIn({-2, -3, -4, -5});
    search();
    EXPECT_EQ(run->stop_code, -1);
    EXPECT_EQ(ticketsBehindFirstWave(3), (std::vector<std::int64_t>{5, -1, -1}));
}

/** Loops with a callback. */
class SearchLoopEvents : public SearchLoop {
  protected:
    /** Act on the n-th "new" event, from 1. */
    void onNew(int n, std::function<void(ON_EVENT&)> act) {
        callback.emplace([n, act = std::move(act)](ON_EVENT& self, const std::string&) {
            if (self.count("new") == n) act(self);
        });
        callback->set("new");
        param.set(*callback);
    }

    std::optional<ON_EVENT> callback;
};

TEST_F(SearchLoopEvents, AnAbortStopsTheBlocksAndDrains) {
    onNew(2, [](ON_EVENT& self) { self.set("abort"); });
    prepareLoop(100);
    handIn({-1, -2, -3, -4, -5, -6});
    search();
    EXPECT_EQ(ticketsBehindFirstWave(4), (std::vector<std::int64_t>{5, 6, -1, -1}));
    EXPECT_EQ(island(0).received, 6);
    EXPECT_EQ(callback->count("new"), 2) << "no events after the abort";
    EXPECT_EQ(allbest().energy, -6) << "but the results count";
}

TEST_F(SearchLoopEvents, AKillLeavesAtOnce) {
    onNew(2, [](ON_EVENT& self) { self.set("kill"); });
    prepareLoop(100);
    handIn({-1, -2, -3, -4, -5, -6});
    search();
    EXPECT_EQ(ticketsBehindFirstWave(3), (std::vector<std::int64_t>{5, 0, 0}));
    EXPECT_EQ(island(0).received, 2);
    EXPECT_EQ(island(0).sent, 5);
}

TEST_F(SearchLoopEvents, AKillInTheDrainEndsTheDrain) {
    onNew(3, [](ON_EVENT& self) { self.set("kill"); });
    prepareLoop(1);
    handIn({-1, -2, -3, -4, -5});
    search();
    EXPECT_EQ(ticketsBehindFirstWave(3), (std::vector<std::int64_t>{5, -1, -1}));
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

TEST_F(SearchLoop, GoesOnBeyondTwoThousandMillionResults) {
    prepareLoop(3);
    constexpr std::int64_t BEFORE = (std::int64_t{1} << 31) - 4;
    ASSERT_EQ(BEFORE % RING, FIRST_WAVE) << "where the first wave ends";
    island(0).sent = BEFORE;
    island(0).received = BEFORE - FIRST_WAVE;
    blocks.emplace(island(0), BEFORE - FIRST_WAVE);
    handIn({-7, -6, -5, -4, -3, -2, -1});
    search();
    EXPECT_EQ(island(0).sent, BEFORE + 3);
    EXPECT_EQ(island(0).received, island(0).sent);
    EXPECT_EQ(allbest().energy, -7);
}

TEST_F(SearchLoop, StopsWhereTheBlocksCanCountNoFurther) {
    prepareLoop(1000);
    constexpr std::int64_t LAST = std::numeric_limits<std::uint32_t>::max();
    island(0).sent = LAST - 5;
    island(0).received = island(0).sent - FIRST_WAVE;
    island(0).recv_pos = static_cast<int>(island(0).received % RING);
    island(0).send_pos = static_cast<int>(island(0).sent % RING);
    blocks.emplace(island(0), island(0).received);
    handIn({-7, -6, -5, -4, -3, -2});
    search();
    EXPECT_EQ(island(0).received, island(0).sent);
    EXPECT_LE(island(0).sent + BLOCKS_OF_ISLAND, LAST);
    EXPECT_EQ(run->stop_code, 0);
}

/** Loops through a restart. */
class SearchLoopRestarts : public SearchLoopEvents {
  protected:
    void endPeriod() { run->restart_clock->next_restart = engine::now() - 1; }
};

TEST_F(SearchLoopRestarts, TheFirstResultBehindAPeriodRestartsAllIslands) {
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

TEST_F(SearchLoop, ChoosesTheGeneratorThenBuildsThenChoosesTheRule) {
    param.set("pool_size", "2");
    prepareLoop(1);
    handIn({-1, -2, -3, -4, -5});
    band::SOLPOOL& pool = island(0).pool;
    pool.state = 424242;
    DRAWS draws(424242);
    // Both members of the pool are of generator Random and rule MaxMin after the first result,
    // or random records, which have no rule.
    const bool any_kind = draws.next() % 20 == 0;
    ASSERT_FALSE(any_kind) << "choose another seed";
    draws.next();
    const std::uint64_t kind = draws.next() & 7;
    search();
    EXPECT_EQ(island(0).send_ring[FIRST_WAVE].inst, static_cast<int>(kind));
}

}  // namespace
