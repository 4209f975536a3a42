// How tests expect the process to end.
#pragma once

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace engine_tests {

/** The text that a fatal error leaves on the standard error stream. */
inline std::string error_text(const std::string& message) {
    return "Error: " + message + "\n";
}

}  // namespace engine_tests

/** The statement ends the process with the status and writes exactly the text. */
#define EXPECT_END(statement, status, text)                       \
    do {                                                          \
        GTEST_FLAG_SET(death_test_style, "threadsafe");           \
        EXPECT_EXIT(statement, ::testing::ExitedWithCode(status), \
                    ::testing::Eq(std::string(text)));            \
    } while (false)

/** The statement ends the process as fatal errors do. */
#define EXPECT_ERROR(statement, message) \
    EXPECT_END(statement, 1, ::engine_tests::error_text(message))
