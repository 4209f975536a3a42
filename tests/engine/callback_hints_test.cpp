// Hints that an event leaves: what becomes of them on the host, when they go to the device, and the
// restarts that they may bring.
#include "engine/support/callback_events.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;
using band::INST_t;

class Hints : public CallbackEvents {
  protected:
    Hints() {
        solution.impl().data[0] = 0xABCD;
        solution.impl().data[1] = 0x1234;
    }

    void giveHint() {
        event("init", [this](ON_EVENT& self) { self.set(solution); });
    }

    Sol solution{128};
};

TEST_F(Hints, GoToTheIslandsAndToTheDeviceOfTheEvent) {
    INST_t& buffer = *island(1).send_buf;
    buffer.cycles = 4321;
    buffer.annealing = 321;
    buffer.generation = 3;
    giveHint();
    EXPECT_EQ(run->allisland->hint.bits[0], 0xABCDu);
    EXPECT_EQ(run->allisland->hint.bits[1], 0x1234u);
    EXPECT_EQ(island(0).sent, 0);
    ASSERT_EQ(island(1).sent, 1);
    const INST_t sent = BLOCKS(island(1)).take();
    EXPECT_EQ(sent.bits[0], 0xABCDu);
    EXPECT_EQ(sent.bits[1], 0x1234u);
    EXPECT_EQ(sent.inst, 9);
    EXPECT_EQ(sent.algorithm, 0);
    EXPECT_EQ(sent.cycles, 4321u) << "the rest is what the buffer held";
    EXPECT_EQ(sent.annealing, 321u);
    EXPECT_EQ(sent.generation, 3);
}

TEST_F(Hints, AreTakenOnceAndMakeTheGeneratorReady) {
    EXPECT_FALSE(run->hint_ready);
    giveHint();
    EXPECT_EQ(callback.impl().hint_pending, 0);
    EXPECT_EQ(callback.impl().hint_ready, 1);
    EXPECT_TRUE(run->hint_ready);
    event("init");
    EXPECT_EQ(island(1).sent, 1);
}

TEST_F(Hints, MayBeBarredAndAdmittedByTheCaller) {
    giveHint();
    event("init", [](ON_EVENT& self) { self.set("hint", "0"); });
    EXPECT_FALSE(run->hint_ready);
    event("init", [](ON_EVENT& self) { self.set("hint", "1"); });
    EXPECT_TRUE(run->hint_ready);
}

TEST_F(Hints, BeyondTheTrialLimitAreKeptButNotSent) {
    run->trial_limit = 1;
    EXPECT_TRUE(run->trans_count->request(1));
    giveHint();
    EXPECT_EQ(island(1).sent, 0);
    EXPECT_EQ(run->allisland->hint.bits[0], 0xABCDu);
    EXPECT_TRUE(run->hint_ready);
}

TEST_F(Hints, ShorterThanTheBandLeaveTheWordsAfterThem) {
    island(1).send_buf->bits[1] = 99;
    Sol shorter(64);
    shorter.impl().data[0] = 5;
    event("init", [&](ON_EVENT& self) { self.set(shorter); });
    EXPECT_EQ(run->allisland->hint.bits[0], 5u);
    EXPECT_EQ(run->allisland->hint.bits[1], 0u);
    EXPECT_EQ(BLOCKS(island(1)).take().bits[1], 99u);
}

TEST_F(Hints, LongerThanTheBandAreCutOff) {
    Sol longer(1000);
    for (int i = 0; i < 1000; ++i)
        longer.set(i, true);
    event("init", [&](ON_EVENT& self) { self.set(longer); });
    EXPECT_EQ(run->allisland->hint.bits[1], ~std::uint64_t{0});
    EXPECT_EQ(run->allisland->hint.island, 0);
    EXPECT_EQ(BLOCKS(island(1)).take().generation, 0);
}

TEST_F(Hints, ThatFindNoRoomInTheRingWaitForTheNextAnswer) {
    ASSERT_EQ(run->ring_size, 8);
    island(1).sendRandom(4);
    for (int i = 0; i < 2; ++i)
        giveHint();
    EXPECT_EQ(island(1).sent, 6) << "the stop marks of two blocks still find a slot";
    EXPECT_FALSE(island(1).answer_is_hint);
    for (int i = 0; i < 10; ++i)
        giveHint();
    EXPECT_EQ(island(1).sent, 6);
    EXPECT_TRUE(island(1).answer_is_hint);
    EXPECT_EQ(record(*island(1).send_buf).bits[0], 0xABCDu);
}

TEST_F(Hints, AreNotSentAfterStopMarks) {
    island(1).sendStopMarks();
    giveHint();
    EXPECT_EQ(island(1).sent, 0);
    EXPECT_EQ(run->allisland->hint.bits[0], 0xABCDu);
}

TEST_F(Hints, WithARestartRestartAllIslands) {
    event("init", [this](ON_EVENT& self) {
        self.set("restart");
        self.set(solution);
    });
    EXPECT_EQ(island(0).restart, 1);
    EXPECT_EQ(island(1).restart, 1);
    EXPECT_EQ(callback.impl().restart_request, 1) << "it stays in force";
}

TEST_F(Hints, RestartAllIslandsAgainAtEveryLaterHint) {
    callback.set("restart");
    giveHint();
    island(0).restart = island(1).restart = 0;
    giveHint();
    EXPECT_EQ(island(0).restart, 1);
    EXPECT_EQ(island(1).restart, 1);
}

TEST_F(Hints, WithoutOneARestartChangesNothing) {
    event("init", [](ON_EVENT& self) { self.set("restart"); });
    EXPECT_EQ(island(0).restart, 0);
    EXPECT_EQ(island(1).restart, 0);
}

TEST_F(Hints, WithoutARestartLeaveTheIslandsAlone) {
    giveHint();
    EXPECT_EQ(island(0).restart, 0);
}

}  // namespace
