// The program's side of a run, driven by events as an engine delivers them.
#include "app/watcher.hpp"

#include <sstream>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace orvex::cli::test {
namespace {

using Stop = Watcher::Stop;

class WatcherTest : public testing::Test {
  protected:
    /** An event with a best energy; whether the run is asked to end. */
    bool event(Watcher& watcher, const std::string& name, long energy = 0) {
        Callback::Impl& requests = watcher.impl();
        requests.solution.set("energy", std::to_string(energy));
        requests.run_flips = 1000;
        if (name == "alarm") requests.alarm_armed = 0;
        watcher.callback(name);
        return requests.abort_request != 0;
    }

    std::ostringstream out_;
    Progress progress_{Progress::Style::LOG, out_};
};

TEST_F(WatcherTest, AsksForAllEvents) {
    Watcher watcher({}, progress_);
    EXPECT_FALSE(event(watcher, "init"));
    EXPECT_TRUE(watcher.impl().notify_new);
    EXPECT_TRUE(watcher.impl().alarm_armed);
    EXPECT_DOUBLE_EQ(watcher.impl().alarm_seconds, 0.1);
    EXPECT_FALSE(event(watcher, "alarm"));
    EXPECT_TRUE(watcher.impl().alarm_armed) << "each alarm arms the next";
}

TEST_F(WatcherTest, EndsTheRunAtItsDeadline) {
    Watcher watcher({.shown = 0.05, .abort = 0.05}, progress_);
    EXPECT_FALSE(event(watcher, "init"));
    EXPECT_LE(watcher.impl().alarm_seconds, 0.05) << "the deadline is not slept through";
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    EXPECT_TRUE(event(watcher, "alarm"));
    EXPECT_EQ(watcher.stop(), Stop::DEADLINE);
}

TEST_F(WatcherTest, EndsTheRunAtATargetOfZeroToo) {
    Watcher watcher({.shown = 0, .abort = {}, .target = 0}, progress_);
    EXPECT_FALSE(event(watcher, "init")) << "the energy before the first result says nothing";
    EXPECT_FALSE(event(watcher, "alarm"));
    EXPECT_FALSE(event(watcher, "new", 1));
    EXPECT_TRUE(event(watcher, "new", 0));
    EXPECT_EQ(watcher.stop(), Stop::TARGET);
}

TEST_F(WatcherTest, ShowsWhatTheEventsTell) {
    Watcher watcher({}, progress_);
    event(watcher, "init");
    EXPECT_EQ(out_.str(), "");
    event(watcher, "new", -42);
    EXPECT_NE(out_.str().find("best -42"), std::string::npos) << out_.str();
}

class BrokenBuffer : public std::streambuf {
  protected:
    int overflow(int) override { throw std::runtime_error("broken"); }
};

TEST_F(WatcherTest, NoExceptionLeavesAnEvent) {
    BrokenBuffer buffer;
    std::ostream out(&buffer);
    out.exceptions(std::ios::badbit);
    Progress broken(Progress::Style::LIVE, out);
    Watcher watcher({.shown = 0, .abort = {}, .target = -1}, broken);
    EXPECT_NO_THROW(event(watcher, "init"));
    EXPECT_TRUE(watcher.impl().notify_new && watcher.impl().alarm_armed);
    EXPECT_NO_THROW(EXPECT_TRUE(event(watcher, "new", -1))) << "the request is left all the same";
}

}  // namespace
}  // namespace orvex::cli::test
