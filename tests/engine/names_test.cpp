// The names of generators and flip rules: their numbers, their letters, and how they are looked up.
#include "engine/names.hpp"

#include <gtest/gtest.h>

namespace {

using namespace orvex::engine;

TEST(Names, ThePositionInATableIsTheNumberOfAKind) {
    const char* const generators[] = {"Random", "Best",    "Mutation", "Cross",
                                      "XCross", "Zero",    "One",      "IntervalZero",
                                      "Hint",   "AllBest", "*"};
    ASSERT_EQ(INSTANCE_TABLE.size(), std::size(generators));
    for (std::size_t i = 0; i < std::size(generators); ++i)
        EXPECT_EQ(INSTANCE_TABLE[i], generators[i]);

    const char* const rules[] = {"MaxMin",    "PositiveMin", "CyclicMin",
                                 "RandomMin", "TwoNeighbor", "*"};
    ASSERT_EQ(ALGORITHM_TABLE.size(), std::size(rules));
    for (std::size_t i = 0; i < std::size(rules); ++i)
        EXPECT_EQ(ALGORITHM_TABLE[i], rules[i]);
}

TEST(Names, TheFirstLetterIsTheCodeOfAKind) {
    std::string letters;
    for (int kind = 0; kind <= NO_GENERATOR; ++kind)
        letters += letter(INSTANCE_TABLE, kind);
    for (int kind = 0; kind <= NO_ALGORITHM; ++kind)
        letters += letter(ALGORITHM_TABLE, kind);
    EXPECT_EQ(letters, "RBMCXZOIHA*MPCRT*");
}

TEST(Names, ANumberOutsideOfATableShowsAsAStar) {
    EXPECT_EQ(letter(ALGORITHM_TABLE, -1), '*');
    EXPECT_EQ(letter(ALGORITHM_TABLE, 6), '*');
    EXPECT_EQ(letter(INSTANCE_TABLE, 11), '*');
}

TEST(Names, AnyBeginningOfANameFindsIt) {
    EXPECT_EQ(find_name(ALGORITHM_TABLE, "MaxMin"), 0);
    EXPECT_EQ(find_name(ALGORITHM_TABLE, "Max"), 0);
    EXPECT_EQ(find_name(ALGORITHM_TABLE, "T"), 4);
    EXPECT_EQ(find_name(ALGORITHM_TABLE, "R"), 3);
    EXPECT_EQ(find_name(INSTANCE_TABLE, "One"), ONE);
    EXPECT_EQ(find_name(INSTANCE_TABLE, "Int"), INTERVAL_ZERO);
    EXPECT_EQ(find_name(INSTANCE_TABLE, "X"), XCROSS);
}

TEST(Names, OfSeveralNamesWithTheBeginningTheFirstIsFound) {
    EXPECT_EQ(find_name(INSTANCE_TABLE, "Cross"), CROSS);
    EXPECT_EQ(find_name(ALGORITHM_TABLE, ""), 0);
    EXPECT_EQ(find_name(INSTANCE_TABLE, ""), RANDOM);
}

TEST(Names, NothingElseIsFound) {
    EXPECT_EQ(find_name(ALGORITHM_TABLE, "MaxMinimum"), -1) << "longer than the name";
    EXPECT_EQ(find_name(ALGORITHM_TABLE, "max"), -1) << "in another case";
    EXPECT_EQ(find_name(ALGORITHM_TABLE, " Max"), -1) << "blanks count";
    EXPECT_EQ(find_name(ALGORITHM_TABLE, "*"), -1) << "the mark of no rule has no name";
    EXPECT_EQ(find_name(INSTANCE_TABLE, "*"), -1) << "the mark of no generator has no name";
}

}  // namespace
