// Events and requests of the caller's callback, one event at a time: which events are delivered,
// and what becomes of each request that an event leaves.
#include "engine/support/callback_events.hpp"

#include "engine/support/death.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;

constexpr std::int64_t SECOND = 1000000000;

// ---- which events are delivered

TEST_F(CallbackEvents, WithoutACallbackNothingHappens) {
    run->callback = nullptr;
    event("init");
    expectEvents({});
}

TEST_F(CallbackEvents, InitIsAlwaysDelivered) {
    event("init");
    expectEvents({"init"});
}

TEST_F(CallbackEvents, NewIsDeliveredWhileAskedFor) {
    event("new");
    expectEvents({});
    callback.set("new");
    event("new");
    expectEvents({"new"});
    callback.set("new", "0");
    event("new");
    expectEvents({"new"});
    callback.set("new", "yes");
    event("new");
    expectEvents({"new", "new"});
}

TEST_F(CallbackEvents, AnAlarmIsDeliveredOnceAndThenArmedAnew) {
    event("alarm");
    expectEvents({});
    callback.set("alarm", "0");
    event("alarm");
    event("alarm");
    expectEvents({"alarm"});
}

TEST_F(CallbackEvents, AnAlarmIsDisarmedBeforeItsEvent) {
    callback.set("alarm", "0");
    event("alarm", [](ON_EVENT& self) { EXPECT_EQ(self.impl().alarm_armed, 0); });
    expectEvents({"alarm"});
}

TEST_F(CallbackEvents, AnAlarmWaitsForItsTime) {
    callback.set("alarm", "0");
    run->restart_clock->alarm = engine::now() + 3600 * SECOND;
    event("alarm");
    expectEvents({});
    EXPECT_EQ(callback.impl().alarm_armed, 1) << "still wanted";
    run->restart_clock->alarm = engine::now();
    event("alarm");
    expectEvents({"alarm"});
}

TEST_F(CallbackEvents, OnceTheRunStopsNoneIsDelivered) {
    callback.set("new");
    callback.set("alarm", "0");
    for (const int code : {1, -1}) {
        run->stop_code = code;
        event("init");
        event("new");
        event("alarm");
    }
    expectEvents({});
}

// ---- what is shown

TEST_F(CallbackEvents, NewAndAlarmShowTheRunsBest) {
    callback.set("new");
    callback.set("alarm", "0");
    allbest() = result_of(-33);
    allbest().bits[0] = 6;
    for (const char* name : {"new", "alarm"}) {
        callback.impl().solution = Sol(100);
        event(name);
        EXPECT_EQ(callback.get().get("energy"), "-33");
        EXPECT_EQ(callback.get().get("total_flips"), "0");
        EXPECT_EQ(callback.get().get("kernel_time"), "");
        EXPECT_TRUE(callback.get().get(2));
    }
}

TEST_F(CallbackEvents, InitShowsAsManyBitsAsTheModelHasAndAllAre0) {
    allbest().bits[0] = 6;
    event("init");
    EXPECT_EQ(callback.get().get("solver"), "");
    const Sol::Impl& shown = callback.get().impl();
    EXPECT_EQ(shown.bits, 100);
    for (int w = 0; w < shown.words; ++w)
        EXPECT_EQ(shown.data[static_cast<std::size_t>(w)], 0u);
}

TEST_F(CallbackEvents, FlipsOfAllIslandsAreAddedUp) {
    island(0).flips = 5000000000;
    island(1).flips = 7;
    event("init", [](ON_EVENT& self) { EXPECT_EQ(self.flips(), 5000000007); });
}

// ---- ending the run

TEST_F(CallbackEvents, AnAbortStopsTheRun) {
    event("init", [](ON_EVENT& self) { self.set("abort"); });
    EXPECT_EQ(run->stop_code, 1);
    EXPECT_FALSE(run->killed);
    EXPECT_EQ(callback.impl().abort_request, 0);
}

TEST_F(CallbackEvents, AKillStopsThreadsAndBlocks) {
    event("init", [](ON_EVENT& self) { self.set("kill"); });
    EXPECT_TRUE(run->killed);
    EXPECT_EQ(devices->threads[0].device_state->kill, 1);
    EXPECT_EQ(run->stop_code, 0);
    EXPECT_EQ(callback.impl().kill_request, 0);
}

TEST_F(CallbackEvents, AKillGoesBeforeAnAbortWhichStays) {
    event("init", [](ON_EVENT& self) {
        self.set("abort");
        self.set("kill");
    });
    EXPECT_TRUE(run->killed);
    EXPECT_EQ(run->stop_code, 0);
    EXPECT_EQ(callback.impl().abort_request, 1);
}

TEST_F(CallbackEvents, AKillOrAnAbortPutsOffAllOtherRequests) {
    for (const char* end : {"kill", "abort"}) {
        const int cycles = run->batch_cycles;
        event("init", [&](ON_EVENT& self) {
            self.set(end);
            self.set("batch_factor", "100");
            self.set("alarm", "3600");
            self.set(Sol(128));
        });
        EXPECT_EQ(run->batch_cycles, cycles);
        EXPECT_EQ(callback.impl().batch_factor, 100.0f);
        EXPECT_EQ(run->restart_clock->alarm, 0);
        EXPECT_EQ(callback.impl().hint_pending, 1);
        EXPECT_EQ(island(1).sent, 0);
    }
}

// ---- cycles

TEST_F(CallbackEvents, FactorsScaleTheBandsSize) {
    event("init", [](ON_EVENT& self) {
        self.set("annealing_factor", "0.5");
        self.set("batch_factor", "10");
    });
    EXPECT_EQ(run->annealing_cycles, 64);
    EXPECT_EQ(run->batch_cycles, 1280);
    EXPECT_EQ(run->annealing_factor, 0.5f);
    EXPECT_EQ(run->batch_factor, 10.0f);
}

TEST_F(CallbackEvents, FactorsAreTakenOnce) {
    event("init", [](ON_EVENT& self) {
        self.set("annealing_factor", "0.5");
        self.set("batch_factor", "10");
    });
    EXPECT_EQ(callback.impl().annealing_factor, 0.0f);
    EXPECT_EQ(callback.impl().batch_factor, 0.0f);
    run->batch_cycles = 777;
    event("init");
    EXPECT_EQ(run->batch_cycles, 777);
}

TEST_F(CallbackEvents, CyclesFromFactorsHaveFloors) {
    event("init", [](ON_EVENT& self) {
        self.set("annealing_factor", "0.001");
        self.set("batch_factor", "-4");
    });
    EXPECT_EQ(run->annealing_cycles, 20);
    EXPECT_EQ(run->batch_cycles, 100);
}

TEST_F(CallbackEvents, AFactorOf0AsksForNothing) {
    run->annealing_cycles = 55;
    event("init", [](ON_EVENT& self) { self.set("annealing_factor", "0"); });
    EXPECT_EQ(run->annealing_cycles, 55);
    EXPECT_EQ(run->annealing_factor, 0.2f);
}

TEST_F(CallbackEvents, TheCyclesTextSetsTheFactorsAndNotTheCycles) {
    run->batch_cycles = 555;
    run->annealing_cycles = 55;
    event("init", [](ON_EVENT& self) { self.set("search_cycles", "0.75 0.25 more"); });
    EXPECT_EQ(run->batch_factor, 0.75f);
    EXPECT_EQ(run->annealing_factor, 0.25f);
    EXPECT_EQ(run->batch_cycles, 555);
    EXPECT_EQ(run->annealing_cycles, 55);
}

TEST_F(CallbackEvents, TheCyclesTextIsTakenAgainAtEveryLaterEvent) {
    event("init", [](ON_EVENT& self) { self.set("search_cycles", "0.75 0.25"); });
    EXPECT_EQ(callback.impl().search_cycles, "0.75 0.25");
    event("init", [](ON_EVENT& self) { self.set("batch_factor", "10"); });
    EXPECT_EQ(run->batch_cycles, 1280);
    EXPECT_EQ(run->batch_factor, 0.75f) << "the text goes before the factor";
}

TEST_F(CallbackEvents, ACyclesTextThatDoesNotConvertIsFatal) {
    for (const char* text : {"0.75", "x", "0.75 x", " ", "1,2"})
        EXPECT_ERROR(event("init", [&](ON_EVENT& self) { self.set("search_cycles", text); }),
                     "wrong callback with search_cycles.");
}

// ---- alarms

TEST_F(CallbackEvents, AnArmedAlarmIsDueItsDelayAfterTheEvent) {
    const std::int64_t before = engine::now();
    event("init", [](ON_EVENT& self) { self.set("alarm", "2.5"); });
    EXPECT_GE(run->restart_clock->alarm, before + 2500000000);
    EXPECT_LE(run->restart_clock->alarm, engine::now() + 2500000000);
}

TEST_F(CallbackEvents, EveryEventPushesAnArmedAlarmBack) {
    callback.set("new");
    event("init", [](ON_EVENT& self) { self.set("alarm", "100"); });
    run->restart_clock->alarm -= 90 * SECOND;
    event("new");
    EXPECT_GE(run->restart_clock->alarm, engine::now() + 99 * SECOND);
}

TEST_F(CallbackEvents, AnAlarmOf0OrLessIsDueAtOnce) {
    for (const char* delay : {"0", "-5"}) {
        callback.events.clear();
        event("init", [&](ON_EVENT& self) { self.set("alarm", delay); });
        event("alarm");
        expectEvents({"init", "alarm"});
    }
}

TEST_F(CallbackEvents, WithoutAnArmedAlarmItsTimeStays) {
    run->restart_clock->alarm = 12345;
    event("init");
    EXPECT_EQ(run->restart_clock->alarm, 12345);
}

}  // namespace
