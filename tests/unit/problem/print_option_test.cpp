#include "problem/print_option.hpp"

#include <gtest/gtest.h>

namespace orvex {
namespace {

TEST(PrintOption, EmptyWantsEverythingWithABlank) {
    const PRINT_OPTION option("");
    EXPECT_EQ(option.delimiter, ' ');
    EXPECT_TRUE(option.wants("sol"));
    EXPECT_TRUE(option.wants("env"));
}

TEST(PrintOption, WordWantsOneSection) {
    const PRINT_OPTION option("sol");
    EXPECT_EQ(option.delimiter, ' ');
    EXPECT_TRUE(option.wants("sol"));
    EXPECT_FALSE(option.wants("env"));
}

TEST(PrintOption, LastCharacterThatIsNoLetterIsTheDelimiter) {
    EXPECT_EQ(PRINT_OPTION("sol,").section, "sol");
    EXPECT_EQ(PRINT_OPTION("sol,").delimiter, ',');
    EXPECT_EQ(PRINT_OPTION("sol7").delimiter, '7');
    EXPECT_EQ(PRINT_OPTION("sol\xff").delimiter, '\xff');
}

TEST(PrintOption, DelimiterAloneWantsEverything) {
    EXPECT_EQ(PRINT_OPTION(",").delimiter, ',');
    EXPECT_TRUE(PRINT_OPTION(",").wants("log"));
}

TEST(PrintOption, OnlyOneCharacterIsTheDelimiter) {
    EXPECT_EQ(PRINT_OPTION("sol, ").section, "sol,");
    EXPECT_EQ(PRINT_OPTION("sol, ").delimiter, ' ');
}

}  // namespace
}  // namespace orvex
