// The toolkit's side of a run, driven by events as an engine delivers them.
#include "toolkit/run/watcher.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "toolkit/model/errors.hpp"
#include "unit/toolkit/random_problem.hpp"

namespace orvex::toolkit::test {
namespace {

constexpr int SIZE = 20;

class WatcherTest : public testing::Test {
  protected:
    /** An event with a best solution; whether the run is asked to end. */
    bool event(Watcher& watcher, const std::string& name, const Sol& best = Sol(SIZE)) {
        Callback::Impl& requests = watcher.impl();
        requests.solution = best;
        requests.run_flips = 1000;
        requests.hint_pending = 0;
        if (name == "alarm") requests.alarm_armed = 0;
        watcher.callback(name);
        return requests.abort_request != 0;
    }

    /** The one that is set alone. */
    Sol only(int variable) {
        Sol solution(SIZE);
        solution.set(variable, true);
        return solution;
    }

    Problem problem_ = [] {
        Model model(SIZE, 8);
        for (int i = 0; i < SIZE; ++i)
            model.set(i, i, -i);
        return problem_of(std::move(model));
    }();
    View view_{problem_};
    Events silent_;
};

TEST_F(WatcherTest, AsksForAllEvents) {
    Record record(view_, {}, {}, {}, silent_);
    Watcher watcher(record);
    EXPECT_FALSE(event(watcher, "init"));
    EXPECT_TRUE(watcher.impl().notify_new);
    EXPECT_TRUE(watcher.impl().alarm_armed);
    EXPECT_LE(watcher.impl().alarm_seconds, 0.1);
    EXPECT_FALSE(event(watcher, "alarm"));
    EXPECT_TRUE(watcher.impl().alarm_armed) << "each alarm arms the next";
}

TEST_F(WatcherTest, EndsTheRunAtItsDeadline) {
    Record record(view_, {.shown = 0.05, .abort = 0.05}, {}, {}, silent_);
    Watcher watcher(record);
    EXPECT_FALSE(event(watcher, "init"));
    EXPECT_LE(watcher.impl().alarm_seconds, 0.05) << "the deadline is not slept through";
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    EXPECT_TRUE(event(watcher, "alarm"));
    EXPECT_EQ(record.ending(), Ending::TIME_LIMIT);
}

TEST_F(WatcherTest, EndsTheRunAtATargetOfZeroToo) {
    Record record(view_, {.target = 0}, {}, {}, silent_);
    Watcher watcher(record);
    EXPECT_FALSE(event(watcher, "init")) << "before the first result there is no energy";
    EXPECT_FALSE(event(watcher, "alarm"));
    EXPECT_TRUE(event(watcher, "new", only(0)));
    EXPECT_EQ(record.ending(), Ending::TARGET);
}

/** Notes what it is told. */
struct Notes : Events {
    void began(const Moment&, Steering&) override { text += "began "; }
    void improved(const Moment& moment, const Sol&, Steering&) override {
        text += "improved " + std::to_string(moment.best) + " ";
    }
    void pulsed(const Moment&, Steering&) override { text += "pulsed "; }
    std::string text;
};

TEST_F(WatcherTest, TellsWhatHappens) {
    Notes notes;
    Record record(view_, {}, {}, {}, notes);
    Watcher watcher(record);
    event(watcher, "init");
    event(watcher, "new", only(3));
    event(watcher, "alarm");
    event(watcher, "new", only(5));
    EXPECT_EQ(notes.text, "began improved -3 pulsed improved -5 ");
}

/** What the engine reports plays no part. */
TEST_F(WatcherTest, AddsEveryEnergyUpFromTheBits) {
    Record record(view_, {}, {}, {}, silent_);
    Watcher watcher(record);
    event(watcher, "init");
    Sol boastful = only(3);
    boastful.set("energy", "-1000");
    event(watcher, "new", boastful);
    event(watcher, "new", only(2));  // no improvement, whatever it is called
    ASSERT_EQ(record.history().size(), 1u);
    EXPECT_EQ(record.history()[0].energy, -3);
}

TEST_F(WatcherTest, CountsStartsAsFound) {
    Notes notes;
    const std::vector<Found> starts = {{0, -7, only(7), Source::START},
                                       {0, -4, only(4), Source::START}};
    Record record(view_, {}, starts, {only(1)}, notes);
    Watcher watcher(record);
    event(watcher, "init");
    EXPECT_TRUE(watcher.impl().hint_pending);
    EXPECT_TRUE(watcher.impl().hint.get(1)) << "the hint";
    event(watcher, "new", only(6));
    EXPECT_TRUE(watcher.impl().hint.get(4)) << "the second start goes in as a hint too";
    event(watcher, "new", only(9));
    EXPECT_EQ(notes.text, "began pulsed improved -9 ");
    EXPECT_EQ(record.history().size(), 2u);
}

struct Steers : Events {
    void improved(const Moment& moment, const Sol& solution, Steering& steering) override {
        Sol hint = solution;
        hint.set(1, true);
        steering.hint(hint);
        if (moment.best <= -5) steering.stop();
    }
};

TEST_F(WatcherTest, DoesWhatItsCallerAsksFor) {
    Steers steers;
    Record record(view_, {}, {}, {}, steers);
    Watcher watcher(record);
    event(watcher, "init");
    EXPECT_FALSE(event(watcher, "new", only(3)));
    EXPECT_TRUE(watcher.impl().hint.get(3) && watcher.impl().hint.get(1));
    EXPECT_TRUE(event(watcher, "new", only(6)));
    EXPECT_EQ(record.ending(), Ending::STOPPED);
}

struct Fails : Events {
    void pulsed(const Moment&, Steering&) override { throw std::runtime_error("no more"); }
};

TEST_F(WatcherTest, AFailureEndsTheRunAndIsKept) {
    Fails fails;
    Record record(view_, {}, {}, {}, fails);
    Watcher watcher(record);
    event(watcher, "init");
    EXPECT_NO_THROW(watcher.finish());
    EXPECT_TRUE(event(watcher, "alarm")) << "no exception leaves an event, but the run ends";
    EXPECT_THROW(watcher.finish(), std::runtime_error);
}

void sleep_for(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

/** Notes when, and asks for a hint, a change and, the third time, the end. */
struct Quiet : Events {
    void began(const Moment&, Steering&) override { text += "began "; }
    void improved(const Moment&, const Sol&, Steering&) override { text += "improved "; }
    void pulsed(const Moment& moment, Steering& steering) override {
        text += "pulsed ";
        times.push_back(moment.elapsed);
        steering.hint(Sol(SIZE));
        steering.change("batch_factor", "2.5");
        if (times.size() == 3) steering.stop();
    }
    std::string text;
    std::vector<double> times;
};

TEST_F(WatcherTest, TellsPulsesWhereNoEventComesAndEndsWhatDoesNotEnd) {
    Quiet quiet;
    Record record(view_, {}, {}, {}, quiet);
    Watcher watcher(record);
    {
        const Pulse pulse(watcher);
        sleep_for(120);
        EXPECT_EQ(quiet.text, "") << "the search has not begun";
        event(watcher, "init");
        event(watcher, "new", only(3));
        sleep_for(600);
        EXPECT_EQ(std::atomic_ref(watcher.impl().end_at_once).load(), 0)
            << "blocks have some time to hand in";
        sleep_for(600);
    }
    EXPECT_EQ(quiet.text.substr(0, 30), "began improved pulsed pulsed p");
    ASSERT_GE(quiet.times.size(), 4u);
    std::vector<double> gaps;
    for (std::size_t k = 1; k < quiet.times.size(); ++k)
        gaps.push_back(quiet.times[k] - quiet.times[k - 1]);
    std::ranges::nth_element(gaps, gaps.begin() + static_cast<std::ptrdiff_t>(gaps.size() / 2));
    EXPECT_LT(gaps[gaps.size() / 2], 0.2) << "0.1 on a machine that is free";
    EXPECT_EQ(record.ending(), Ending::STOPPED);
    EXPECT_NE(watcher.impl().end_at_once, 0);
}

TEST_F(WatcherTest, HandsOverWithTheNextEventWhatAPulseAskedFor) {
    Quiet quiet;
    Record record(view_, {}, {}, {}, quiet);
    Watcher watcher(record);
    event(watcher, "init");
    sleep_for(100);
    watcher.tick();
    ASSERT_EQ(quiet.times.size(), 1u);
    EXPECT_FALSE(watcher.impl().hint_pending) << "no request outside of an event";
    event(watcher, "alarm");
    EXPECT_TRUE(watcher.impl().hint_pending);
    EXPECT_EQ(watcher.impl().batch_factor, 2.5f);
}

TEST_F(WatcherTest, RefusesToChangeWhatCannotBeChanged) {
    Steering steering;
    EXPECT_THROW(steering.change("tabu_cycles", "5"), InputError);
    EXPECT_THROW(steering.change("batch_factor", "much"), InputError);
}

TEST_F(WatcherTest, TakesTheTimeAtWhichASolutionWasFound) {
    Record record(view_, {}, {}, {}, silent_);
    Watcher watcher(record);
    event(watcher, "init");
    sleep_for(20);
    Sol early = only(3);
    early.set("tts", "0.005");
    event(watcher, "new", early);
    EXPECT_EQ(record.history().back().time, 0.005);
}

}  // namespace
}  // namespace orvex::toolkit::test
