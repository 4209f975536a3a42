#include "problem/exit_with_message.hpp"

#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include "support/refusal.hpp"

namespace orvex {
namespace {

using tests::exactly;

void say_goodbye() {
    std::fputs("goodbye\n", stderr);
}

void fail_again() {
    exit_with_message("late.");
}

void fail_in_many_threads() {
    std::vector<std::thread> threads;
    for (int k = 0; k < 16; ++k)
        threads.emplace_back([] { end_process(7, "failed\n"); });
    for (std::thread& thread : threads)
        thread.join();
}

TEST(ExitWithMessage, WritesErrorAndTextAndExitsWithStatus1) {
    EXPECT_REFUSAL(exit_with_message("out of luck."), "out of luck.");
}

TEST(EndProcess, WritesTheTextUnchangedAndExitsWithTheStatus) {
    EXPECT_EXIT(end_process(3, "as it stands"), testing::ExitedWithCode(3),
                exactly("as it stands"));
}

TEST(EndProcess, RunsExitHandlers) {
    EXPECT_EXIT((std::atexit(say_goodbye), end_process(1, "failed\n")), testing::ExitedWithCode(1),
                exactly("failed\ngoodbye\n"));
}

TEST(EndProcess, OfManyThreadsAtOnceOneWritesAndExits) {
    EXPECT_EXIT((std::atexit(say_goodbye), fail_in_many_threads()), testing::ExitedWithCode(7),
                exactly("failed\ngoodbye\n"));
}

TEST(EndProcess, AgainFromAnExitHandlerEndsTheProcessAtOnce) {
    EXPECT_EXIT((std::atexit(say_goodbye), std::atexit(fail_again), end_process(5, "early\n")),
                testing::ExitedWithCode(1), exactly("early\nError: late.\n"));
}

}  // namespace
}  // namespace orvex
