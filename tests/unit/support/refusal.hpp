// Tests that the process is ended with status 1 and exactly one message on standard error.
#pragma once

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvex::tests {

/** Matches a standard error that holds this text and nothing else. */
inline testing::Matcher<const std::string&> exactly(const std::string& text) {
    return testing::Eq(text);
}

}  // namespace orvex::tests

/** Passes if `statement` ends the process with "Error: ", `text` and a newline. */
#define EXPECT_REFUSAL(statement, text)                \
    EXPECT_EXIT(statement, testing::ExitedWithCode(1), \
                orvex::tests::exactly("Error: " + std::string(text) + "\n"))
