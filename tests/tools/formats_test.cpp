// The readers of all formats: what each makes of a small file, what it refuses and in which line,
// and for what a file without a named format is taken.
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "exit_status.hpp"
#include "formats/input_file.hpp"
#include "solution.hpp"
#include "temporary_file.hpp"

namespace orvex::cli::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

Problem read(const std::string& contents, ReadOptions options = {}) {
    return InputFile(TemporaryFile(contents, ".txt").path(), options).read();
}

Problem read_as(const std::string& format, const std::string& contents) {
    return read(contents, {.format = format});
}

/** The message behind the name of the file; empty if it is read. */
std::string refusal(const std::string& contents, ReadOptions options = {}) {
    const TemporaryFile file(contents, ".txt");
    try {
        InputFile(file.path(), options).read();
        return "";
    } catch (const InputError& error) {
        const std::string text = error.what();
        return text.rfind(file.path(), 0) == 0 ? text.substr(file.path().size() + 2) : text;
    }
}

std::string refusal_as(const std::string& format, const std::string& contents) {
    return refusal(contents, {.format = format});
}

/** The upper triangle of the weights, row after row. */
std::vector<long> weights(const Problem& problem) {
    std::vector<long> list;
    for (int i = 0; i < problem.size; ++i)
        for (int j = i; j < problem.size; ++j)
            list.push_back(problem.model->get(i, j));
    return list;
}

/** The objective of a bit vector, in the words of the file. */
long objective(const Problem& problem, const std::string& digits) {
    Sol solution(problem.size);
    for (int i = 0; i < problem.size; ++i)
        solution.set(i, digits[static_cast<std::size_t>(i)] == '1');
    const Wide energy = exact_energy(*problem.model, solution, problem.size);
    return static_cast<long>(problem.convention.objective_at(energy));
}

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
    EXPECT_THAT(refusal("p qubo 0 3 1\n"), HasSubstr("line 1: a line here has six words"));
    EXPECT_THAT(refusal("p qubo chimera128 3 1 1\n"), HasSubstr("the topology is \"chimera128\""));
    EXPECT_EQ(refusal("p qubo 0 3 1 1\n0 0 1\n0 3 1\n"),
              "line 3: the second node is 3, not from 0 to 2");
    EXPECT_EQ(refusal("p qubo 0 3 1 1\n0 0 1\n0 1 1\n1 0 1\n"),
              "line 4: the pair 1, 0 has an entry already");
    EXPECT_EQ(
        refusal("p qubo 0 3 1 2\n0 0 1\n0 1 1\n"),
        "line 4: the file ends with 1 nodes and 1 couplers; its line \"p qubo\" promises 1 and "
        "2");
    EXPECT_EQ(refusal("p qubo 0 70000 0 0\n"), "line 1: maxNodes is 70000, not from 1 to 65536");
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
              "line 3: the file ends where edge 2 of the 2 that the header promises should stand");
    EXPECT_EQ(refusal_as("maxcut", "2 1\n1 2 1\n1 2 1\n"),
              "line 3: something follows the last edge that the header promises");
    EXPECT_EQ(refusal_as("maxcut", "2 1\n1 2 0.5\n"),
              "line 2: the weight is \"0.5\", but only whole numbers are read");
    EXPECT_EQ(refusal_as("maxcut", "2 1\n1 2 1 1\n"),
              "line 2: a line here has two vertices and a weight, or two vertices; this one has 4 "
              "words");
    EXPECT_THAT(refusal_as("maxcut", "2 1\n2 2 1\n"),
                HasSubstr("line 2: an edge joins vertex 2 with itself"));
    EXPECT_EQ(refusal_as("maxcut", "2 1\n1 2 9223372036854775807\n"),
              "line 2: the weight 18446744073709551614 does not fit into 64 bits");
    EXPECT_EQ(refusal_as("maxcut", "65537 0\n"),
              "line 1: the number of vertices is 65537, not from 1 to 65536");
    EXPECT_EQ(refusal_as("maxcut", ""),
              "line 1: the file ends where the numbers of vertices and of edges should stand");
}

TEST(Formats, BiqMacCountsEntriesOffTheDiagonalTwice) {
    const Problem problem = read("3 3\n1 1 -4\n1 3 5\n2 3 0.5\n");
    EXPECT_EQ(problem.convention.format, "biqmac");
    EXPECT_THAT(weights(problem), ElementsAre(-4, 0, 10, 0, 1, 0));
    EXPECT_EQ(refusal("2 2\n1 1 4\n2 2 0.5\n"),
              "line 3: the value is \"0.5\", but only whole numbers are read");
    EXPECT_EQ(refusal("2 2\n1 1 4\n2 1 0.25\n"),
              "line 3: the value is \"0.25\", but only whole numbers are read (here halves as "
              "well)");
    EXPECT_EQ(refusal("2 2\n1 1 4\n1 1 4\n"), "line 3: the pair 1, 1 has an entry already");
    EXPECT_EQ(refusal("2 2\n1 1 4\n1 2 4611686018427387904\n"),
              "line 3: the value is \"4611686018427387904\", which does not fit into 64 bits when "
              "multiplied by 2");
}

TEST(Formats, GraphsAndMatricesWithoutDiagonalAreNotToldApart) {
    EXPECT_EQ(refusal("3 2\n1 2 1\n2 3 1\n"),
              "its contents do not tell whether it is maxcut (Max-Cut graph (rudy, G-set, .mc)) or "
              "biqmac (Biq Mac sparse matrix), so its format must be named (--from, in Python "
              "format=)");
    EXPECT_EQ(read("3 2\n1 2\n2 3\n").convention.format, "maxcut");
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
              "line 4: the file ends where instance 2 of 2 should stand");
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
    EXPECT_EQ(refusal_as("coo", "# vartype=BINARY\n"),
              "line 2: the file ends where a bias should stand");
    EXPECT_EQ(refusal("# vartype=REAL\n0 0 1\n"),
              "line 1: the vartype is \"REAL\", neither SPIN nor BINARY");
    EXPECT_EQ(refusal("0 0 1\n# vartype=SPIN\n"),
              "line 2: the vartype must stand before the first bias");
    EXPECT_EQ(refusal("0 0 1\n0 70000 1\n"),
              "line 2: the second variable is 70000, not from 0 to 65535");
    EXPECT_EQ(refusal("0 0 1\n0 1 4.5\n"),
              "line 2: the bias is \"4.5\", but only whole numbers are read");
    EXPECT_EQ(refusal("0 0 1\n0 1 one\n"), "line 2: the bias is \"one\", which is no number");
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
    EXPECT_THAT(refusal(banner + "2 2 2\n1 1 1\n"), HasSubstr("where entry 2 of the 2 that"));
    EXPECT_EQ(refusal(banner + "2 2 0\n1 1 1\n"), "line 3: something follows the last entry");
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
              "line 1: an offset should stand behind \"ObjectiveOffset\"");
    EXPECT_EQ(refusal("# ObjectiveOffset 0.5\n1 0\n"),
              "line 1: the offset is \"0.5\", but only whole numbers are read");
    EXPECT_EQ(refusal("# ObjectiveOffset 1\n# ObjectiveOffset 2\n1 0\n"),
              "line 2: the offset is given a second time");
}

/** The bits of an assignment, thing i to place p[i]. */
std::string assignment(const std::vector<int>& places) {
    const std::size_t n = places.size();
    std::string digits(n * n, '0');
    for (std::size_t i = 0; i < n; ++i)
        digits[i * n + static_cast<std::size_t>(places[i])] = '1';
    return digits;
}

TEST(Formats, QapLibIsAssignedWithAPenalty) {
    const std::string text = "2\n\n1 3\n4 0\n\n0 5\n7 2\n";
    const Problem problem = read(text);
    EXPECT_EQ(problem.convention.format, "qaplib");
    EXPECT_EQ(objective(problem, assignment({0, 1})), 1 * 0 + 3 * 5 + 4 * 7 + 0 * 2);
    EXPECT_EQ(objective(problem, assignment({1, 0})), 1 * 2 + 3 * 7 + 4 * 5 + 0 * 0);
    // The first thing at the second place costs most: 1 x 2, 3 x 7 and 4 x 5.
    EXPECT_EQ(problem.convention.note, "penalty 22, proven to be enough");
    EXPECT_EQ(objective(problem, "0000"), 4 * 22);
    const Problem weak = read(text, {.penalty = 3});
    EXPECT_EQ(weak.convention.note, "penalty 3, not proven to be enough as 22 is");
    EXPECT_THAT(weak.warnings, ElementsAre(HasSubstr("not proven to be enough")));
    EXPECT_EQ(objective(weak, assignment({0, 1})), 15 + 28);
    EXPECT_EQ(refusal(text, {.penalty = 0}), "the penalty is 0, not at least 1");
    EXPECT_EQ(refusal_as("qaplib", "2\n1 3\n4 0\n0 5\n7"),
              "line 5: the file ends where B[2][2] should stand");
    EXPECT_EQ(refusal_as("qaplib", "1\n1 3 4"), "line 2: something follows the two matrices");
    EXPECT_EQ(refusal_as("qaplib", "1\n-9223372036854775808\n1\n"),
              "line 2: the magnitudes in A add up to more than 64 bits hold");
    EXPECT_EQ(refusal_as("qaplib", "1\n4294967296\n4294967296\n"),
              "line 4: the weight 18446744073709551616 does not fit into 64 bits");
    EXPECT_EQ(refusal_as("qaplib", "300\n"), "line 1: n is 300, not from 1 to 256");
}

TEST(Formats, TspLibKnowsCoordinatesAndMatrices) {
    // A rectangle of 3 by 4; its diagonals are 5.
    const Problem places = read(
        "NAME : r\nTYPE: TSP\nDIMENSION: 4\nEDGE_WEIGHT_TYPE: EUC_2D\n"
        "NODE_COORD_SECTION\n1 0 0\n2 3.0 0\n3 3 4\n4 0 4.0e0\nEOF\n");
    EXPECT_EQ(places.convention.format, "tsplib");
    EXPECT_EQ(objective(places, assignment({0, 1, 2, 3})), 14);
    EXPECT_EQ(objective(places, assignment({3, 1, 2, 0})), 5 + 4 + 5 + 4);
    EXPECT_EQ(places.convention.note, "penalty 6, proven to be enough");
    for (const std::string section :
         {"FULL_MATRIX\nEDGE_WEIGHT_SECTION\n0 1 2 1 0 4 2 4 0",
          "UPPER_ROW\nEDGE_WEIGHT_SECTION\n1 2\n4", "LOWER_COL\nEDGE_WEIGHT_SECTION\n1 2\n4",
          "LOWER_DIAG_ROW\nEDGE_WEIGHT_SECTION\n0\n1 0\n2 4 0",
          "UPPER_DIAG_ROW\nEDGE_WEIGHT_SECTION\n0 1 2\n0 4\n0",
          "LOWER_ROW\nEDGE_WEIGHT_SECTION\n1\n2 4"}) {
        const Problem matrix = read(
            "TYPE: TSP\nDIMENSION: 3\nEDGE_WEIGHT_TYPE: EXPLICIT\n"
            "EDGE_WEIGHT_FORMAT: " +
            section + "\n");
        EXPECT_EQ(objective(matrix, assignment({0, 1, 2})), 7) << section;
        EXPECT_EQ(matrix.model->get(0 * 3 + 0, 1 * 3 + 1), 1) << section;
        EXPECT_EQ(matrix.model->get(0 * 3 + 0, 2 * 3 + 1), 2) << section;
        EXPECT_EQ(matrix.model->get(1 * 3 + 0, 2 * 3 + 1), 4) << section;
    }
}

TEST(Formats, ToursMayHaveDirections) {
    const Problem problem = read(
        "TYPE: ATSP\nDIMENSION: 3\nEDGE_WEIGHT_TYPE: EXPLICIT\n"
        "EDGE_WEIGHT_FORMAT: FULL_MATRIX\nEDGE_WEIGHT_SECTION\n"
        "99 1 9\n9 99 2\n3 9 99\nEOF\n");
    EXPECT_EQ(objective(problem, assignment({0, 1, 2})), 6);
    EXPECT_EQ(objective(problem, assignment({0, 2, 1})), 27);
}

TEST(Formats, TspLibIsRefusedWithALine) {
    const std::string head = "TYPE: TSP\nDIMENSION: 2\nEDGE_WEIGHT_TYPE: EUC_2D\n";
    EXPECT_EQ(refusal("TYPE: CVRP\n"), "line 1: the type is \"CVRP\"; only TSP and ATSP are read");
    EXPECT_EQ(refusal("DIMENSION: 300\n"), "line 1: the dimension is 300, not from 1 to 256");
    EXPECT_EQ(refusal("EDGE_WEIGHT_TYPE: XRAY1\n"),
              "line 1: the edge weight type \"XRAY1\" is not known");
    EXPECT_EQ(refusal(head + "NODE_COORD_SECTION\n1 0 0\nEOF\n"),
              "line 6: a line here has a city and two coordinates; this one has 1 word");
    EXPECT_EQ(refusal(head + "NODE_COORD_SECTION\n1 0 0\n1 0 0\n"),
              "line 6: the city has coordinates already");
    EXPECT_EQ(refusal(head + "NODE_COORD_SECTION\n1 0 0\n2 a 0\n"),
              "line 6: the coordinate \"a\" is no number");
    EXPECT_EQ(refusal(head),
              "line 4: the file ends where NODE_COORD_SECTION or EDGE_WEIGHT_SECTION "
              "should stand");
    EXPECT_EQ(refusal(head + "FIXED_EDGES_SECTION\n"),
              "line 4: \"FIXED_EDGES_SECTION\" is not known here");
    EXPECT_EQ(refusal(head + "NODE_COORD_SECTION\n1 0 0\n2 1 0\nEOF\nmore\n"),
              "line 8: something follows \"EOF\"");
}

/** The lowest objective of all bit vectors, and whether only assignments reach it. */
void expect_assignments_to_be_best(const Problem& problem, std::size_t n) {
    long best = std::numeric_limits<long>::max(), best_broken = best;
    for (unsigned word = 0; word < 1u << (n * n); ++word) {
        std::string digits;
        for (std::size_t bit = 0; bit < n * n; ++bit)
            digits += word >> bit & 1 ? '1' : '0';
        bool kept = true;
        for (std::size_t i = 0; i < n; ++i) {
            int row = 0, column = 0;
            for (std::size_t k = 0; k < n; ++k) {
                row += digits[i * n + k] == '1';
                column += digits[k * n + i] == '1';
            }
            kept = kept && row == 1 && column == 1;
        }
        long& lowest = kept ? best : best_broken;
        lowest = std::min(lowest, objective(problem, digits));
    }
    EXPECT_LT(best, best_broken);
}

TEST(Formats, ThePenaltyThatIsChosenIsEnough) {
    const std::string matrix = "3\n1 9 2\n8 0 7\n3 6 5\n\n";
    expect_assignments_to_be_best(read(matrix + "4 1 9\n7 0 3\n9 8 2\n"), 3);
    expect_assignments_to_be_best(read(matrix + "4 1 9\n7 0 -30\n9 8 2\n"), 3);
    expect_assignments_to_be_best(read(matrix + "-1 -1 -1\n-1 -1 -1\n-1 -1 -1\n"), 3);
    for (const char* distances : {"5 60 7", "-5 60 -7", "0 0 0"})
        expect_assignments_to_be_best(
            read(std::string("TYPE: TSP\nDIMENSION: 3\nEDGE_WEIGHT_TYPE: EXPLICIT\n"
                             "EDGE_WEIGHT_FORMAT: UPPER_ROW\nEDGE_WEIGHT_SECTION\n") +
                 distances + "\n"),
            3);
}

TEST(Formats, OptionsBelongToFormats) {
    EXPECT_EQ(refusal("1 0 0 0\n", {.instance = 1}),
              "files of the format orvex have no instances to choose from");
    EXPECT_EQ(refusal("1 0 0 0\n", {.penalty = 1}), "files of the format orvex need no penalty");
    EXPECT_EQ(refusal("1 0\n", {.format = "maxcut", .maximised = false}),
              "the format maxcut says itself what is minimised or maximised");
    EXPECT_THAT(refusal("1 0\n", {.format = "lp"}),
                HasSubstr("There is no format \"lp\"; there are "
                          "orvex, qbsolv, maxcut"));
}

TEST(Formats, WhatNoFormatIsIsRefused) {
    EXPECT_EQ(refusal(""), "line 1: the file is empty");
    EXPECT_EQ(refusal(" \n\n"), "line 1: the file is empty");
    EXPECT_THAT(refusal("hello\n"), HasSubstr("is in no known format"));
    EXPECT_THAT(refusal("1 9223372036854775807\n"), HasSubstr("is in no known format"));
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
}  // namespace orvex::cli::test
