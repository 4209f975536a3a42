#include "orvex/callback.hpp"

#include <stdexcept>

#include "support/refusal.hpp"

namespace orvex {
namespace {

class CallbackTest : public testing::Test {
  protected:
    class IGNORES_EVENTS : public Callback {
        void callback(const std::string&) override {}
    };

    IGNORES_EVENTS callback;
    const Callback::Impl& impl = callback.impl();
};

TEST_F(CallbackTest, StartsWithoutRequestsOrSolutions) {
    EXPECT_EQ(impl.notify_new, 0);
    EXPECT_EQ(impl.alarm_armed, 0);
    EXPECT_EQ(impl.abort_request, 0);
    EXPECT_EQ(impl.kill_request, 0);
    EXPECT_EQ(impl.restart_request, 0);
    EXPECT_EQ(impl.alarm_seconds, 0);
    EXPECT_EQ(impl.batch_factor, 0);
    EXPECT_EQ(impl.annealing_factor, 0);
    EXPECT_EQ(impl.search_cycles, "");
    EXPECT_EQ(impl.solution.impl().bits, 0);
    EXPECT_EQ(impl.hint_pending, 0);
    EXPECT_EQ(impl.hint_ready, 0);
    EXPECT_EQ(impl.hint.impl().bits, 0);
    EXPECT_EQ(callback.flips(), 0);
}

TEST_F(CallbackTest, ShowsWhatTheEngineFilledIn) {
    callback.impl().solution = Sol(7);
    callback.impl().run_flips = 12345678901L;
    EXPECT_EQ(&callback.get(), &impl.solution);
    EXPECT_EQ(callback.get().impl().bits, 7);
    EXPECT_EQ(callback.flips(), 12345678901L);
}

TEST_F(CallbackTest, RequestsWithoutAValueSetTheirFlag) {
    callback.set("abort");
    EXPECT_EQ(impl.abort_request, 1);
    EXPECT_EQ(impl.kill_request, 0);
    callback.set("kill");
    EXPECT_EQ(impl.kill_request, 1);
    EXPECT_EQ(impl.abort_request, 1);
    callback.set("new");
    EXPECT_EQ(impl.notify_new, 1);
    callback.set("restart");
    EXPECT_EQ(impl.restart_request, 1);
}

TEST_F(CallbackTest, NewIsStoppedByTheText0Alone) {
    callback.set("new");
    callback.set("new", "0");
    EXPECT_EQ(impl.notify_new, 0);
    callback.set("new");
    EXPECT_EQ(impl.notify_new, 1);
    for (const char* value : {"1", "", "00", "no", " 0"}) {
        callback.set("new", "0");
        callback.set("new", value);
        EXPECT_EQ(impl.notify_new, 1) << value;
    }
}

TEST_F(CallbackTest, HintIsBarredByTheText0Alone) {
    callback.set("hint", "1");
    EXPECT_EQ(impl.hint_ready, 1);
    callback.set("hint", "0");
    EXPECT_EQ(impl.hint_ready, 0);
    callback.set("hint", "");
    EXPECT_EQ(impl.hint_ready, 1);
    EXPECT_EQ(impl.hint_pending, 0);
}

TEST_F(CallbackTest, AlarmIsArmedWithItsDelay) {
    callback.set("alarm", "1.5");
    EXPECT_EQ(impl.alarm_armed, 1);
    EXPECT_EQ(impl.alarm_seconds, 1.5);
}

TEST_F(CallbackTest, AlarmMayBeDueAtOnce) {
    callback.set("alarm", "0");
    EXPECT_EQ(impl.alarm_armed, 1);
    EXPECT_EQ(impl.alarm_seconds, 0);
    callback.set("alarm", "-2");
    EXPECT_EQ(impl.alarm_armed, 1);
    EXPECT_EQ(impl.alarm_seconds, -2);
}

TEST_F(CallbackTest, FactorsAndCyclesAreKept) {
    callback.set("annealing_factor", "0.25");
    callback.set("batch_factor", "3");
    callback.set("search_cycles", "any text");
    EXPECT_EQ(impl.annealing_factor, 0.25f);
    EXPECT_EQ(impl.batch_factor, 3.0f);
    EXPECT_EQ(impl.search_cycles, "any text");
}

TEST_F(CallbackTest, AnnealingFactorOf0LooksLikeNoRequest) {
    callback.set("annealing_factor", "0.5");
    callback.set("annealing_factor", "0");
    EXPECT_EQ(impl.annealing_factor, 0);
}

TEST_F(CallbackTest, HintIsCopiedAndPending) {
    Sol sol(70);
    sol.set(69, true);
    callback.set(sol);
    sol.set(69, false);
    EXPECT_EQ(impl.hint_pending, 1);
    EXPECT_EQ(impl.hint_ready, 0);
    EXPECT_EQ(impl.hint.impl().bits, 70);
    EXPECT_TRUE(impl.hint.get(69));
}

TEST_F(CallbackTest, ValueThatIsNoNumberThrowsAndAsksForNothing) {
    EXPECT_THROW(callback.set("alarm", "soon"), std::invalid_argument);
    EXPECT_THROW(callback.set("alarm", "1e999"), std::out_of_range);
    EXPECT_THROW(callback.set("annealing_factor", ""), std::invalid_argument);
    EXPECT_THROW(callback.set("batch_factor", "1e99"), std::out_of_range);
    EXPECT_EQ(impl.alarm_armed, 0);
}

TEST_F(CallbackTest, UnknownOperationIsRefused) {
    EXPECT_REFUSAL(callback.set("stop"), "Wrong operation stop.");
}

TEST_F(CallbackTest, OperationWithAValueIsRefusedWithoutOne) {
    EXPECT_REFUSAL(callback.set("alarm"), "Wrong operation alarm.");
}

TEST_F(CallbackTest, OperationWithoutAValueIsRefusedWithOne) {
    EXPECT_REFUSAL(callback.set("abort", "1"), "Wrong callback set operation [abort].");
}

}  // namespace
}  // namespace orvex
