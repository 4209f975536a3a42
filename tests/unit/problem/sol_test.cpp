#include "orvex/sol.hpp"

#include <utility>

#include <gtest/gtest.h>

namespace orvex {
namespace {

TEST(Sol, HasAWordForEach64Bits) {
    EXPECT_EQ(Sol(0).impl().words, 0);
    EXPECT_EQ(Sol(1).impl().words, 1);
    EXPECT_EQ(Sol(64).impl().words, 1);
    EXPECT_EQ(Sol(65).impl().words, 2);
}

TEST(Sol, StartsWithZerosAndEnergy0AndNothingElse) {
    const Sol sol(70);
    EXPECT_EQ(sol.impl().bits, 70);
    for (int i = 0; i < 70; ++i)
        EXPECT_FALSE(sol.get(i));
    EXPECT_EQ(sol.get("energy"), "0");
    EXPECT_EQ(sol.impl().attrs.size(), 1u);
    EXPECT_TRUE(sol.impl().env.empty());
    EXPECT_EQ(sol.impl().log.str(), "");
}

TEST(Sol, WithoutLengthHasNoBits) {
    EXPECT_EQ(Sol().impl().bits, 0);
    EXPECT_EQ(Sol().get("energy"), "0");
}

TEST(Sol, Bit69IsBit5OfTheSecondWord) {
    Sol sol(70);
    sol.set(69, true);
    EXPECT_EQ(sol.impl().data[0], 0u);
    EXPECT_EQ(sol.impl().data[1], 1u << 5);
    EXPECT_TRUE(sol.get(69));
    EXPECT_FALSE(sol.get(5));
}

TEST(Sol, ClearingABitLeavesTheOthers) {
    Sol sol(64);
    sol.set(62, true);
    sol.set(63, true);
    sol.set(62, false);
    EXPECT_EQ(sol.impl().data[0], std::uint64_t{1} << 63);
}

TEST(Sol, SetWritesAttributesOfTheSolutionOnly) {
    Sol sol(1);
    sol.impl().env["solver"] = "run's";
    sol.set("solver", "mine");
    EXPECT_EQ(sol.impl().attrs.at("solver"), "mine");
    EXPECT_EQ(sol.impl().env.at("solver"), "run's");
}

TEST(Sol, GetFindsAttributesOfTheRunAfterThoseOfTheSolution) {
    Sol sol(1);
    sol.impl().env["version"] = "run's";
    EXPECT_EQ(sol.get("version"), "run's");
    sol.set("version", "mine");
    EXPECT_EQ(sol.get("version"), "mine");
}

TEST(Sol, AbsentAttributeReadsEmptyAndIsNotAdded) {
    const Sol sol(1);
    EXPECT_EQ(sol.get("tts"), "");
    EXPECT_EQ(sol.impl().attrs.size(), 1u);
    EXPECT_TRUE(sol.impl().env.empty());
}

/** A solution of n bits with something in every field. */
Sol example(int n) {
    Sol sol(n);
    sol.set(n - 1, true);
    sol.set("energy", "-5");
    sol.impl().env["gpu"] = "none";
    sol.impl().log << "line\n";
    return sol;
}

void expect_example(const Sol& sol, int n) {
    EXPECT_EQ(sol.impl().bits, n);
    EXPECT_EQ(sol.impl().words, (n + 63) / 64);
    EXPECT_TRUE(sol.get(n - 1));
    EXPECT_EQ(sol.get("energy"), "-5");
    EXPECT_EQ(sol.get("gpu"), "none");
    EXPECT_EQ(sol.impl().log.str(), "line\n");
}

TEST(Sol, CopyHasEverything) {
    const Sol sol = example(70);
    expect_example(Sol(sol), 70);
    expect_example(sol, 70);
}

TEST(Sol, AssignmentTakesOverTheLength) {
    const Sol sol = example(70);
    Sol shorter(3), longer(200), as_long(70);
    shorter = sol;
    longer = sol;
    as_long = sol;
    expect_example(shorter, 70);
    expect_example(longer, 70);
    expect_example(as_long, 70);
}

TEST(Sol, AssignmentTakesOverALengthOfAsManyWords) {
    const Sol five = example(5);
    Sol sol(3);
    sol = five;
    EXPECT_EQ(sol.impl().bits, 5);
}

TEST(Sol, AssignmentReplacesAttributes) {
    Sol sol(3);
    sol.set("tts", "1.0");
    sol.impl().env["version"] = "old";
    const Sol from = example(3);
    sol = from;
    EXPECT_EQ(sol.get("tts"), "");
    EXPECT_EQ(sol.get("version"), "");
}

TEST(Sol, CopiedTwiceIntoOneDoublesItsLog) {
    const Sol from = example(3);
    Sol sol(3);
    sol = from;
    sol = from;
    EXPECT_EQ(sol.impl().log.str(), "line\nline\n");
    EXPECT_EQ(from.impl().log.str(), "line\n");
}

TEST(Sol, CopyMovesTheReadPositionOfTheSourcesLogToItsEnd) {
    Sol from = example(3);
    const Sol copy(from);
    EXPECT_EQ(from.impl().log.get(), std::stringstream::traits_type::eof());
}

TEST(Sol, LogMayBeWrittenAfterACopyOfAnEmptyOne) {
    const Sol empty(3);
    Sol sol(empty);
    sol.impl().log << "line\n";
    EXPECT_EQ(sol.impl().log.str(), "line\n");
}

TEST(Sol, CopiedOntoItselfDoublesItsLogAndKeepsTheRest) {
    Sol sol = example(70);
    const Sol& same = sol;
    sol = same;
    EXPECT_TRUE(sol.get(69));
    EXPECT_EQ(sol.get("energy"), "-5");
    EXPECT_EQ(sol.get("gpu"), "none");
    EXPECT_EQ(sol.impl().log.str(), "line\nline\n");
}

TEST(Sol, MoveTakesEverything) {
    Sol sol = example(70);
    const Sol moved(std::move(sol));
    expect_example(moved, 70);
}

TEST(Sol, MovedFromMayBeDestroyedOrAssignedTo) {
    Sol first = example(70), second = example(70);
    { const Sol destroyed_first(std::move(first)); }
    { const Sol destroyed_first(std::move(second)); }
    first = example(3);
    expect_example(first, 3);
    const Sol other = example(5);
    second = other;
    expect_example(second, 5);
}

TEST(Sol, MoveAssignmentExchanges) {
    Sol left = example(70), right(3);
    left = std::move(right);
    EXPECT_EQ(left.impl().bits, 3);
    expect_example(right, 70);
}

TEST(Sol, MovedOntoItselfStaysAsItIs) {
    Sol sol = example(70);
    Sol& same = sol;
    sol = std::move(same);
    expect_example(sol, 70);
}

TEST(SolImpl, HasNoAttributesAtFirst) {
    EXPECT_TRUE(Sol::Impl(3).attrs.empty());
}

TEST(SolImpl, CopyHasEverything) {
    const Sol sol = example(70);
    const Sol::Impl copy(sol.impl());
    EXPECT_EQ(copy.bits, 70);
    EXPECT_EQ(copy.data[1], 1u << 5);
    EXPECT_EQ(copy.attrs, sol.impl().attrs);
    EXPECT_EQ(copy.env, sol.impl().env);
    EXPECT_EQ(copy.log.str(), "line\n");
}

TEST(SolImpl, AssignmentTakesOverALengthOfMoreWords) {
    Sol::Impl impl(3);
    impl = example(70).impl();
    EXPECT_EQ(impl.bits, 70);
    EXPECT_EQ(impl.words, 2);
    EXPECT_EQ(impl.data[1], 1u << 5);
}

TEST(SolImpl, AssignmentBetweenEquallyManyWordsKeepsTheNumberOfBits) {
    Sol::Impl impl(3);
    impl = example(5).impl();
    EXPECT_EQ(impl.bits, 3);
    EXPECT_EQ(impl.data[0], 1u << 4);
}

}  // namespace
}  // namespace orvex
