// Ctrl-C and requests to terminate, as the program hears of them. That the first ends a run is in
// interrupt_test.py; here is what the second does, which no run can be relied on to wait for.
#include "app/interrupt.hpp"

#include <csignal>

#include <gtest/gtest.h>

namespace orvex::cli::test {
namespace {

TEST(Interrupts, TheFirstIsNotedAndTheSecondEndsTheProcess) {
    for (const int number : {SIGINT, SIGTERM}) {
        const auto interrupt_twice = [&] {
            catch_interrupts();
            std::raise(number);
            if (!interrupted()) return;
            std::raise(number);
        };
        EXPECT_EXIT(interrupt_twice(), testing::ExitedWithCode(128 + number), "");
    }
}

TEST(Interrupts, OfBothKindsCountTogether) {
    const auto interrupt_twice = [] {
        catch_interrupts();
        std::raise(SIGTERM);
        std::raise(SIGINT);
    };
    EXPECT_EXIT(interrupt_twice(), testing::ExitedWithCode(130), "");
}

}  // namespace
}  // namespace orvex::cli::test
