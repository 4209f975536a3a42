// Model files: what is read, what is refused and what is only warned about.
#include "toolkit/io/model_file.hpp"

#include <random>
#include <set>
#include <sstream>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "toolkit/io/pair_set.hpp"
#include "toolkit/model/errors.hpp"
#include "unit/toolkit/temporary_file.hpp"

namespace orvex::toolkit::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

Problem read(const std::string& contents, const std::string& ending = ".qubo") {
    return ModelFile(TemporaryFile(contents, ending).path()).read();
}

/** The message after the name of the file; empty if the file is accepted. */
std::string refusal(const std::string& contents) {
    const TemporaryFile file(contents);
    try {
        ModelFile(file.path()).read();
        return "";
    } catch (const InputError& error) {
        const std::string text = error.what();
        EXPECT_EQ(text.rfind(file.path() + ", ", 0), 0u) << text;
        return text.substr(file.path().size() + 2);
    }
}

TEST(ModelFile, GivesTheModelAndItsFigures) {
    const Problem problem = read("3 4 -7 5\n0 0 5\n2 1 -7\n1 1 0\n0 2 3\n");
    EXPECT_EQ(problem.size, 3);
    EXPECT_EQ(problem.width, 8);
    EXPECT_EQ(problem.entries, 4);
    EXPECT_EQ(problem.nonzero, 3);
    EXPECT_DOUBLE_EQ(problem.density(), 0.5);
    EXPECT_EQ(problem.smallest_weight, -7);
    EXPECT_EQ(problem.largest_weight, 5);
    EXPECT_EQ(problem.weights.get(0, 0), 5);
    EXPECT_EQ(problem.weights.get(1, 2), -7);
    EXPECT_EQ(problem.weights.get(2, 1), -7);
    EXPECT_EQ(problem.weights.get(2, 0), 3);
    EXPECT_EQ(problem.bound.largest_delta, 8);
    EXPECT_THAT(problem.warnings, IsEmpty());
}

TEST(ModelFile, CompressedOrPlainIsTheSame) {
    const Problem problem = read(compressed("2 1 -1 -1\n0 1 -1\n"), ".gz");
    EXPECT_EQ(problem.weights.get(0, 1), -1);
    EXPECT_THAT(problem.warnings, IsEmpty());
}

TEST(ModelFile, ANameThatMisleadsAboutCompressionIsWarnedAbout) {
    EXPECT_THAT(read("1 0 0 0\n", ".gz").warnings,
                ElementsAre(EndsWith(" is not compressed, although its name says so")));
    EXPECT_THAT(read(compressed("1 0 0 0\n"), ".qubo").warnings,
                ElementsAre(EndsWith(" is compressed, but its name does not end in .gz")));
}

TEST(ModelFile, LinesMeanNothing) {
    const Problem problem = read("2\n2 -1 4 0\n0 4 0 1\n\n -1 \n\n");
    EXPECT_EQ(problem.weights.get(0, 0), 4);
    EXPECT_EQ(problem.weights.get(0, 1), -1);
}

TEST(ModelFile, AModelWithoutEntriesIsAModel) {
    const Problem problem = read("5 0 0 0\n");
    EXPECT_EQ(problem.nonzero, 0);
    EXPECT_EQ(problem.smallest_weight, 0);
    EXPECT_EQ(problem.largest_weight, 0);
    EXPECT_EQ(problem.bound.bits(59), 32);
}

TEST(ModelFile, HeadersAreValidated) {
    EXPECT_EQ(refusal(""), "line 1: the file ends before the number of variables");
    EXPECT_EQ(refusal("3 1\n-1"), "line 2: the file ends before the largest weight");
    EXPECT_EQ(refusal("0 0 0 0"), "line 1: the number of variables is 0, not from 1 to 16777216");
    EXPECT_EQ(refusal("16777217 0 0 0"),
              "line 1: the number of variables is 16777217, not from 1 to 16777216");
    EXPECT_EQ(refusal("-2 0 0 0"), "line 1: the number of variables is -2, not from 1 to 16777216");
    EXPECT_EQ(refusal("2 -1 0 0"), "line 1: the number of entries is -1");
    EXPECT_EQ(refusal("2 1 3 2\n0 0 3"),
              "line 1: the header's smallest weight is above its largest (3..2)");
    EXPECT_THAT(refusal("p qubo 3"), HasSubstr("the number of variables must be a whole number"));
}

TEST(ModelFile, IndicesAreValidated) {
    EXPECT_EQ(refusal("3 2 0 1\n0 0 1\n0 3 1\n"), "line 3: the second index is 3, not from 0 to 2");
    EXPECT_EQ(refusal("3 1 0 1\n-1 0 1\n"), "line 2: the first index is -1, not from 0 to 2");
    EXPECT_EQ(refusal("3 1 0 1\n4294967296 0 1\n"),
              "line 2: the first index is 4294967296, not from 0 to 2");
}

TEST(ModelFile, TruncationIsFound) {
    EXPECT_EQ(refusal("3 5 0 1\n0 0 1\n0 1 1\n"),
              "line 4: the file ends after 2 of the 5 entries that its header promises");
    EXPECT_EQ(refusal("3 2 0 1\n0 0 1\n0 1\n"), "line 4: the file ends before the weight");
}

TEST(ModelFile, WhatFollowsTheLastEntryIsFound) {
    const std::string text = "line 3: unexpected text after the 1 entries that the header promises";
    EXPECT_EQ(refusal("3 1 0 1\n0 0 1\n0 1 1\n"), text);
    EXPECT_EQ(refusal("3 1 0 1\n0 0 1\nend"), text);
    EXPECT_EQ(refusal("3 1 0 1\n0 0 1\n \n\t\n"), "");
}

TEST(ModelFile, ARepeatedPairKeepsItsLastWeightWithAWarning) {
    const Problem problem = read("3 5 0 9\n0 1 4\n1 0 9\n2 2 0\n2 2 3\n0 1 5\n");
    EXPECT_EQ(problem.weights.get(0, 1), 5);
    EXPECT_EQ(problem.weights.get(2, 2), 3);
    EXPECT_EQ(problem.nonzero, 2);
    EXPECT_EQ(problem.bound.largest_delta, 5);
    EXPECT_THAT(problem.warnings,
                ElementsAre(EndsWith(
                    ", line 3: a pair is repeated (3 in all); the last weight of a pair counts")));
}

TEST(ModelFile, AWeightThatTheHeadersWidthCutsIsRefused) {
    EXPECT_EQ(refusal("2 2 0 1\n0 0 1\n0 1 128\n"),
              "line 3: the weight 128 would be cut to 8 bits, which is what the header's range "
              "0..1 gives; the header must be corrected");
    EXPECT_THAT(refusal("2 1 -40000 0\n0 0 -2147483649\n"), HasSubstr("cut to 32 bits"));
}

TEST(ModelFile, AWeightBeyondTheHeadersRangeThatFitsIsWarnedAbout) {
    const Problem problem = read("2 3 0 1\n0 0 127\n0 1 -3\n1 1 1\n");
    EXPECT_EQ(problem.weights.get(0, 0), 127);
    EXPECT_THAT(problem.warnings,
                ElementsAre(EndsWith(", line 2: the weight 127 is outside the header's range 0..1 "
                                     "(2 in all); it fits the 8 bits of a weight")));
}

// The library's writer does not look at the first weight for the largest.
TEST(ModelFile, WhatTheLibraryWritesIsRead) {
    std::mt19937 random(1);
    for (const long range : {3L, 30000L, 2000000000L, 4000000000000000000L}) {
        for (const int size : {1, 2, 17}) {
            Model written(size, -range, range);
            std::uniform_int_distribution<long> weight(-range, range);
            for (int i = 0; i < size; ++i)
                for (int j = i; j < size; ++j)
                    written.set(i, j, weight(random));
            written.set(0, 0, -range);  // the smallest, so that the header's range is right
            std::ostringstream text;
            written.print("", text);
            const Problem problem = read(text.str());
            for (int i = 0; i < size; ++i)
                for (int j = 0; j < size; ++j)
                    EXPECT_EQ(problem.weights.get(i, j), written.get(i, j));
        }
    }
}

TEST(ModelFile, AHeaderThatTheLibraryWroteTooLowIsExplained) {
    Model written(2, 16);
    written.set(0, 0, 5);
    std::ostringstream small, large;
    written.print("", small);
    EXPECT_THAT(read(small.str()).warnings,
                ElementsAre(HasSubstr("the weight 5 is outside the header's range 0..0")));
    written.set(0, 0, 300);
    written.print("", large);
    EXPECT_THAT(refusal(large.str()),
                AllOf(HasSubstr("the weight 300 would be cut to 8 bits"), HasSubstr("range 0..0")));
}

// Its negative does not exist in 32 bits, and a flip takes a weight away as often as it adds it.
TEST(ModelFile, TheLowestWeightOf32BitsIsStoredWith64) {
    EXPECT_EQ(read("2 1 -2147483648 0\n0 1 -2147483648\n").width, 64);
    EXPECT_EQ(read("2 1 -2147483647 0\n0 1 -2147483647\n").width, 32);
}

TEST(ModelFile, SizeAndWidthAreKnownBeforeTheEntries) {
    const TemporaryFile file("40000 1 0 1\nrubbish");
    const ModelFile model_file(file.path());
    EXPECT_EQ(model_file.size(), 40000);
    EXPECT_EQ(model_file.width(), 8);
}

TEST(PairSet, KnowsEachPairInEitherOrder) {
    for (const int size : {1, 2, 11, 64}) {
        PairSet pairs;
        std::set<std::pair<int, int>> expected;
        std::mt19937 random(1);
        for (int round = 0; round < 3 * size * size; ++round) {
            const int i = static_cast<int>(random() % static_cast<unsigned>(size));
            const int j = static_cast<int>(random() % static_cast<unsigned>(size));
            EXPECT_EQ(pairs.insert(i, j), expected.insert(std::minmax({i, j})).second);
        }
    }
}

TEST(PairSet, HasAPlaceForThePairsOfTheLargestProblem) {
    PairSet pairs;
    EXPECT_TRUE(pairs.insert(MAX_VARIABLES - 1, MAX_VARIABLES - 1));
    EXPECT_TRUE(pairs.insert(0, MAX_VARIABLES - 1));
    EXPECT_TRUE(pairs.insert(1, 1));
    EXPECT_FALSE(pairs.insert(MAX_VARIABLES - 1, MAX_VARIABLES - 1));
}

}  // namespace
}  // namespace orvex::toolkit::test
