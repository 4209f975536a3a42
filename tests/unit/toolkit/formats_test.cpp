// The readers of lists and matrices: what each makes of a small file, what it refuses and in which
// line, and for what a file without a named format is taken.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "unit/toolkit/reading.hpp"

namespace orvex::toolkit::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(Formats, OwnIsKnownByItsHeaderOrByTheCountOfItsNumbers) {
    EXPECT_THAT(weights(read("2 2 -3 4\n0 0 -3\n0 1 4\n")), ElementsAre(-3, 4, 0));
    EXPECT_THAT(weights(read("2\n2 -1 4 0\n0 4 0 1\n\n -1 \n\n")), ElementsAre(4, -1, 0));
    EXPECT_EQ(read("2 2 -3 4\n0 0 -3\n0 1 4\n").convention.format, "orvex");
}

TEST(Formats, QbsolvIsMinimisedUnlessTheCallerSaysElse) {
    const std::string text = "c comment\r\np qubo 0 3 1 2\r\n0 0 -5.0\r\nc\r\n0 2 3e0\r\n1 2 7";
    const Problem problem = read(text);
    EXPECT_EQ(problem.convention.format, "qbsolv");
    EXPECT_THAT(weights(problem), ElementsAre(-5, 0, 3, 0, 7, 0));
    EXPECT_TRUE(problem.convention.plain());
    const Problem most = read(text, {.maximised = true});
    EXPECT_THAT(weights(most), ElementsAre(5, 0, -3, 0, -7, 0));
    EXPECT_EQ(objective(most, "111"), 5);
    EXPECT_EQ(most.convention.equation(), "value = -energy");
}

TEST(Formats, QbsolvIsRefusedWhereItsLinesAreNotWhatTheyPromise) {
    EXPECT_EQ(refusal_as("qbsolv", "0 0 1\n"),
              "line 1: the first line that is no comment should begin with \"p qubo\"");
    EXPECT_THAT(refusal("p qubo 0 3 1\n"), HasSubstr("line 1: expected six words"));
    EXPECT_THAT(refusal("p qubo chimera128 3 1 1\n"), HasSubstr("the topology is \"chimera128\""));
    EXPECT_EQ(refusal("p qubo 0 3 1 1\n0 0 1\n0 3 1\n"),
              "line 3: the second node is 3, not from 0 to 2");
    EXPECT_EQ(refusal("p qubo 0 3 1 1\n0 0 1\n0 1 1\n1 0 1\n"),
              "line 4: the pair 1, 0 has an entry already");
    EXPECT_EQ(
        refusal("p qubo 0 3 1 2\n0 0 1\n0 1 1\n"),
        "line 4: the file ends with 1 nodes and 1 couplers; its line \"p qubo\" promises 1 and "
        "2");
    EXPECT_EQ(refusal("p qubo 0 70000000 0 0\n"),
              "line 1: maxNodes is 70000000, not from 1 to 16777216");
}

TEST(Formats, MaxCutCountsFromOneAndIsMaximised) {
    // A triangle with weights 1, 2 and -3; the second edge is given in two parts.
    const Problem problem = read_as("maxcut", "# a triangle\n3 4\n1 2\n2 3 1\n3 2 1\n1 3 -3\n");
    EXPECT_THAT(weights(problem), ElementsAre(2, 2, -6, -3, 4, 1));
    EXPECT_EQ(objective(problem, "010"), 1 + 2);
    EXPECT_EQ(objective(problem, "100"), 1 - 3);
    EXPECT_EQ(objective(problem, "111"), 0);
    EXPECT_EQ(problem.convention.equation(), "cut = -energy");
    EXPECT_EQ(problem.convention.index_base, 1);
    EXPECT_EQ(problem.convention.factor, 2);
}

TEST(Formats, MaxCutIsRefusedWithALine) {
    EXPECT_EQ(refusal_as("maxcut", "2 1\n0 1 1\n"),
              "line 2: the first vertex is 0, not from 1 to 2");
    EXPECT_EQ(refusal_as("maxcut", "2 2\n1 2 1\n"),
              "line 3: the file ends before edge 2 of the 2 that the header promises");
    EXPECT_EQ(refusal_as("maxcut", "2 1\n1 2 1\n1 2 1\n"),
              "line 3: unexpected text after the last edge that the header promises");
    EXPECT_EQ(exact_refusal("2 1\n1 2 0.5\n", "maxcut"),
              "line 2: the weight is \"0.5\", but only whole numbers are read");
    EXPECT_EQ(refusal_as("maxcut", "2 1\n1 2 1 1\n"),
              "line 2: expected two vertices and a weight, or two vertices, found 4 "
              "words");
    EXPECT_THAT(refusal_as("maxcut", "2 1\n2 2 1\n"),
                HasSubstr("line 2: an edge joins vertex 2 with itself"));
    EXPECT_EQ(refusal_as("maxcut", "2 1\n1 2 9223372036854775807\n"),
              "line 2: the weight 18446744073709551614 does not fit into 64 bits");
    EXPECT_EQ(refusal_as("maxcut", "16777217 0\n"),
              "line 1: the number of vertices is 16777217, not from 1 to 16777216");
    EXPECT_EQ(refusal_as("maxcut", ""),
              "line 1: the file ends before the numbers of vertices and of edges");
}

TEST(Formats, BiqMacCountsEntriesOffTheDiagonalTwice) {
    const Problem problem = read("3 3\n1 1 -4\n1 3 5\n2 3 0.5\n");
    EXPECT_EQ(problem.convention.format, "biqmac");
    EXPECT_THAT(weights(problem), ElementsAre(-4, 0, 10, 0, 1, 0));
    EXPECT_EQ(exact_refusal("2 2\n1 1 4\n2 2 0.5\n"),
              "line 3: the value is \"0.5\", but only whole numbers are read");
    EXPECT_EQ(exact_refusal("2 2\n1 1 4\n2 1 0.25\n"),
              "line 3: the value is \"0.25\", but only whole numbers are read (here halves as "
              "well)");
    EXPECT_EQ(refusal("2 2\n1 1 4\n1 1 4\n"), "line 3: the pair 1, 1 has an entry already");
    EXPECT_EQ(refusal("2 2\n1 1 4\n1 2 4611686018427387904\n"),
              "line 3: the value is \"4611686018427387904\", which does not fit into 64 bits when "
              "multiplied by 2");
}

TEST(Formats, GraphsAndMatricesWithoutDiagonalAreNotToldApart) {
    EXPECT_EQ(
        refusal("3 2\n1 2 5\n2 3 1\n"),
        "the file could be in more than one format. Add --from maxcut (in Python, "
        "format=\"maxcut\") for Max-Cut graph (rudy, G-set, .mc) or --from biqmac (in Python, "
        "format=\"biqmac\") for Biq Mac sparse matrix");
    EXPECT_EQ(read_as("biqmac", "3 2\n1 2 1\n2 3 1\n").convention.format, "biqmac");
}

/** Unit weights or signs, or no weights at all, and nothing on the diagonal: the files of the
 * G-set. */
TEST(Formats, GraphsOfTheGSetAreRecognised) {
    for (const char* text : {"3 2\n1 2\n2 3\n", "3 2\n1 2 1\n2 3 1\n", "3 2\n1 2 1\n2 3 -1\n",
                             "3 2 \r\n1 2 -1\r\n2 3 -1\r\n"}) {
        EXPECT_EQ(read(text).convention.format, "maxcut") << text;
        EXPECT_EQ(read(compressed(text)).convention.format, "maxcut") << text;
    }
    EXPECT_EQ(read("3 2\n1 1 1\n2 3 1\n").convention.format, "biqmac");
    std::string large = "60000 60000\n";
    for (int i = 1; i <= 60000; ++i)
        large += std::to_string(i) + " " + std::to_string(i % 60000 + 1) + " -1\n";
    const TemporaryFile file(large, ".txt");
    EXPECT_EQ(InputFile(file.path(), {}).size(), 60000);
}

TEST(Formats, OrLibraryHasInstances) {
    const std::string text = "2\n2 2\n1 1 3\n1 2 -4\n3 1\n2 3 5\n";
    EXPECT_THAT(weights(read(text, {.instance = 1})), ElementsAre(-3, 8, 0));
    const Problem second = read(text, {.instance = 2});
    EXPECT_THAT(weights(second), ElementsAre(0, 0, 0, 0, -10, 0));
    EXPECT_EQ(second.convention.format, "orlib");
    EXPECT_EQ(second.convention.note, "instance 2 of 2");
    EXPECT_EQ(objective(second, "011"), 10);
    EXPECT_THAT(weights(read("1\n1 1\n1 1 3\n")), ElementsAre(-3));
    EXPECT_THAT(refusal(text), HasSubstr("line 1: there are 2 instances; which one is meant"));
    EXPECT_EQ(refusal(text, {.instance = 3}),
              "line 1: there is no instance 3: they are from 1 to 2");
    // What follows the instance is read as well.
    EXPECT_EQ(refusal("2\n1 1\n1 1 3\n1 1\n1 2 3\n", {.instance = 1}),
              "line 5: the second index is 2, not from 1 to 1");
    EXPECT_EQ(refusal("2\n1 1\n1 1 3\n", {.format = "orlib", .instance = 1}),
              "line 4: the file ends before instance 2 of 2");
}

TEST(Formats, CooSumsBitsAndTurnsSpinsIntoThem) {
    const Problem bits = read("# vartype=BINARY\n0 0 -1.000000\n0 2 4\n2 0 1\n");
    EXPECT_EQ(bits.convention.format, "coo");
    EXPECT_THAT(weights(bits), ElementsAre(-1, 0, 5, 0, 0, 0));
    EXPECT_THAT(bits.warnings, IsEmpty());
    // h = (1, -2), J = 3, s = 2 x - 1.
    const Problem spins = read("# vartype=SPIN\n0 0 1\n1 1 -2\n0 1 3\n");
    EXPECT_EQ(objective(spins, "00"), -1 + 2 + 3);
    EXPECT_EQ(objective(spins, "10"), 1 + 2 - 3);
    EXPECT_EQ(objective(spins, "01"), -1 - 2 - 3);
    EXPECT_EQ(objective(spins, "11"), 1 - 2 + 3);
    EXPECT_EQ(spins.convention.equation(), "objective = energy + 4");
    const Problem most = read("# vartype=SPIN\n0 0 1\n1 1 -2\n0 1 3\n", {.maximised = true});
    EXPECT_EQ(objective(most, "01"), -6);
    EXPECT_THAT(read("0 0 1\n").warnings, ElementsAre(EndsWith("they are taken for bits")));
}

TEST(Formats, CooIsRefusedWithALine) {
    EXPECT_EQ(refusal("# vartype=BINARY\n"), "line 1: the file is empty");
    EXPECT_EQ(refusal_as("coo", "# vartype=BINARY\n"), "line 2: the file ends before a bias");
    EXPECT_EQ(refusal("# vartype=REAL\n0 0 1\n"),
              "line 1: the vartype is \"REAL\", neither SPIN nor BINARY");
    EXPECT_EQ(refusal("0 0 1\n# vartype=SPIN\n"),
              "line 2: the vartype must come before the first bias");
    EXPECT_EQ(refusal("0 0 1\n0 70000000 1\n"),
              "line 2: the second variable is 70000000, not from 0 to 16777215");
    EXPECT_EQ(exact_refusal("0 0 1\n0 1 4.5\n"),
              "line 2: the bias is \"4.5\", but only whole numbers are read");
    EXPECT_EQ(refusal("0 0 1\n0 1 one\n"), "line 2: the bias is \"one\", which is not a number");
    EXPECT_EQ(
        refusal("0 1 9223372036854775807\n0 1 1\n"),
        "the entries of the variables 0 and 1 (counted from 0) add up to 9223372036854775808, "
        "which does not fit into 64 bits");
}

TEST(Formats, MatrixMarketIsTheSameHoweverItIsStored) {
    const auto expected = ElementsAre(-4, 10, 3);
    EXPECT_THAT(weights(read("%%MatrixMarket matrix coordinate integer symmetric\n% c\n2 2 3\n"
                             "1 1 -4\n2 1 5\n2 2 3\n")),
                expected);
    EXPECT_THAT(weights(read("%%MatrixMarket matrix coordinate real general\n2 2 5\n1 1 -4.0\n"
                             "2 1 5e+00\n1 2 4\n1 2 1\n2 2 3\n")),
                expected);
    EXPECT_THAT(weights(read("%%MatrixMarket MATRIX Array integer symmetric\n2 2\n-4\n5\n3\n")),
                expected);
    EXPECT_THAT(weights(read("%%MatrixMarket matrix array integer general\n2 2\n-4\n5\n5\n3\n")),
                expected);
}

TEST(Formats, MatrixMarketIsRefusedWithALine) {
    const std::string banner = "%%MatrixMarket matrix coordinate integer symmetric\n";
    EXPECT_EQ(refusal(banner + "2 3 1\n1 1 1\n"), "line 2: the matrix is not square");
    EXPECT_THAT(refusal(banner + "2 2 1\n1 2 1\n"), HasSubstr("line 3: the entry is above"));
    EXPECT_EQ(refusal(banner + "2 2 1\n0 0 1\n"), "line 3: the row is 0, not from 1 to 2");
    EXPECT_THAT(refusal(banner + "2 2 2\n1 1 1\n"), HasSubstr("before entry 2 of the 2 that"));
    EXPECT_EQ(refusal(banner + "2 2 0\n1 1 1\n"), "line 3: unexpected text after the last entry");
    EXPECT_THAT(refusal("%%MatrixMarket matrix coordinate pattern symmetric\n"),
                HasSubstr("line 1: the matrix is \"pattern\""));
    EXPECT_THAT(refusal("%%MatrixMarket matrix coordinate complex symmetric\n"),
                HasSubstr("line 1: the matrix is \"complex\""));
    EXPECT_THAT(refusal("%%MatrixMarket matrix coordinate integer skew-symmetric\n"),
                HasSubstr("line 1: the matrix is \"skew-symmetric\""));
}

TEST(Formats, QobLibHasAnOffset) {
    const Problem problem = read("# comment\n# ObjectiveOffset -12.0\n2 3\n1 1 7\n1 2 -3\n2 2 1\n");
    EXPECT_EQ(problem.convention.format, "qs");
    EXPECT_THAT(weights(problem), ElementsAre(7, -6, 1));
    EXPECT_EQ(objective(problem, "11"), -12 + 7 - 6 + 1);
    EXPECT_EQ(problem.convention.equation(), "objective = energy - 12");
    EXPECT_EQ(refusal("# ObjectiveOffset\n1 0\n"),
              "line 1: \"ObjectiveOffset\" must be followed by one number");
    EXPECT_EQ(exact_refusal("# ObjectiveOffset 0.5\n1 0\n"),
              "line 1: the offset is \"0.5\", but only whole numbers are read");
    EXPECT_EQ(refusal("# ObjectiveOffset 1\n# ObjectiveOffset 2\n1 0\n"),
              "line 2: the offset is given twice");
}

TEST(Formats, OptionsBelongToFormats) {
    EXPECT_EQ(refusal("1 0 0 0\n", {.instance = 1}),
              "files of the format orvex have no instances to choose from");
    EXPECT_EQ(refusal("1 0 0 0\n", {.penalty = 1}), "files of the format orvex need no penalty");
    EXPECT_EQ(refusal("1 0\n", {.format = "maxcut", .maximised = false}),
              "the format maxcut determines what is minimised or maximised");
    EXPECT_THAT(refusal("1 0\n", {.format = "lp"}),
                HasSubstr("There is no format \"lp\"; there are "
                          "orvex, qbsolv, maxcut"));
}

TEST(Formats, WhatNoFormatIsIsRefused) {
    EXPECT_EQ(refusal(""), "line 1: the file is empty");
    EXPECT_EQ(refusal(" \n\n"), "line 1: the file is empty");
    EXPECT_THAT(refusal("hello\n"), HasSubstr("its format is not recognised"));
    EXPECT_THAT(refusal("1 9223372036854775807\n"), HasSubstr("its format is not recognised"));
    EXPECT_THAT(refusal("PK\x03\x04"), HasSubstr(".npz files are read by the Python package"));
    EXPECT_THAT(refusal("\xFD"
                        "7zXZ"),
                HasSubstr("compressed with xz"));
}

TEST(Formats, CompressedFilesAreReadAndMisleadingNamesToldOf) {
    const Problem problem = read(compressed("1\n1 1\n1 1 3\n"));
    EXPECT_THAT(weights(problem), ElementsAre(-3));
    EXPECT_THAT(problem.warnings, ElementsAre(HasSubstr("is compressed, but its name")));
}

/** The end of the 256 KiB that decide on the format must not cut a line into another. */
TEST(Formats, LargeFilesAreKnownByTheirBeginning) {
    std::string text = "60000 60000\n";
    for (int i = 1; i <= 60000; ++i)
        text += "1 " + std::to_string(i) + " 10\n";
    const ReadOptions options;
    const TemporaryFile file(text, ".txt");
    EXPECT_EQ(InputFile(file.path(), options).size(), 60000);
}

TEST(Formats, LargeFilesOfTheSystemMayHaveOneLine) {
    std::string text = "50000 50000 1 1";
    for (int i = 0; i < 50000; ++i)
        text += " 0 " + std::to_string(i) + " 1";
    const TemporaryFile file(text, ".txt");
    EXPECT_EQ(InputFile(file.path(), {}).size(), 50000);
}

TEST(Formats, FigureAndWidthAreThoseOfTheModel) {
    const Problem problem = read_as("coo", "0 0 -2147483648\n0 1 5\n1 1 7\n1 1 -7\n");
    EXPECT_EQ(problem.width, 64);
    EXPECT_EQ(problem.entries, 4);
    EXPECT_EQ(problem.nonzero, 2);
    EXPECT_EQ(problem.smallest_weight, -2147483648);
    EXPECT_EQ(problem.largest_weight, 5);
    EXPECT_EQ(problem.couplings.count, 1);
    EXPECT_EQ(problem.bound.largest_delta, 2147483648);
}

}  // namespace
}  // namespace orvex::toolkit::test
