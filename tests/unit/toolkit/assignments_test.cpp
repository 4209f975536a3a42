// The readers of assignments and tours: their costs, and the penalty that keeps them what they are.
#include <algorithm>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "toolkit/io/formats/one_hot.hpp"
#include "unit/toolkit/reading.hpp"

namespace orvex::toolkit::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/** The bits of an assignment, thing i to place p[i]. */
std::string assignment(const std::vector<int>& places) {
    const std::size_t n = places.size();
    std::string digits(n * n, '0');
    for (std::size_t i = 0; i < n; ++i)
        digits[i * n + static_cast<std::size_t>(places[i])] = '1';
    return digits;
}

TEST(Assignments, QapLibIsAssignedWithAPenalty) {
    const std::string text = "2\n\n1 3\n4 0\n\n0 5\n7 2\n";
    const Problem problem = read(text);
    EXPECT_EQ(problem.convention.format, "qaplib");
    EXPECT_EQ(objective(problem, assignment({0, 1})), 1 * 0 + 3 * 5 + 4 * 7 + 0 * 2);
    EXPECT_EQ(objective(problem, assignment({1, 0})), 1 * 2 + 3 * 7 + 4 * 5 + 0 * 0);
    // The first thing at the second place costs most: 1 x 2, 3 x 7 and 4 x 5.
    EXPECT_EQ(problem.convention.note, "penalty 22, proven to be enough");
    EXPECT_EQ(objective(problem, "0000"), 4 * 22);
    const Problem weak = read(text, {.penalty = 3});
    EXPECT_EQ(weak.convention.note, "penalty 3, not proven to be enough (22 is)");
    EXPECT_THAT(weak.warnings, ElementsAre(HasSubstr("not proven to be enough")));
    EXPECT_EQ(objective(weak, assignment({0, 1})), 15 + 28);
    EXPECT_EQ(refusal(text, {.penalty = 0}), "the penalty is 0, not at least 1");
    EXPECT_EQ(refusal_as("qaplib", "2\n1 3\n4 0\n0 5\n7"), "line 5: the file ends before B[2][2]");
    EXPECT_EQ(refusal_as("qaplib", "1\n1 3 4"), "line 2: unexpected text after the two matrices");
    EXPECT_EQ(refusal_as("qaplib", "1\n-9223372036854775808\n1\n"),
              "line 2: the magnitudes in A add up to more than 64 bits hold");
    EXPECT_EQ(refusal_as("qaplib", "1\n4294967296\n4294967296\n"),
              "line 4: the weight 18446744073709551616 does not fit into 64 bits");
    EXPECT_EQ(refusal_as("qaplib", "300\n"), "line 1: n is 300, not from 1 to 256");
}

TEST(Assignments, TspLibKnowsCoordinatesAndMatrices) {
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
        EXPECT_EQ(matrix.weights.get(0 * 3 + 0, 1 * 3 + 1), 1) << section;
        EXPECT_EQ(matrix.weights.get(0 * 3 + 0, 2 * 3 + 1), 2) << section;
        EXPECT_EQ(matrix.weights.get(1 * 3 + 0, 2 * 3 + 1), 4) << section;
    }
}

TEST(Assignments, ToursMayHaveDirections) {
    const Problem problem = read(
        "TYPE: ATSP\nDIMENSION: 3\nEDGE_WEIGHT_TYPE: EXPLICIT\n"
        "EDGE_WEIGHT_FORMAT: FULL_MATRIX\nEDGE_WEIGHT_SECTION\n"
        "99 1 9\n9 99 2\n3 9 99\nEOF\n");
    EXPECT_EQ(objective(problem, assignment({0, 1, 2})), 6);
    EXPECT_EQ(objective(problem, assignment({0, 2, 1})), 27);
}

TEST(Assignments, TspLibIsRefusedWithALine) {
    const std::string head = "TYPE: TSP\nDIMENSION: 2\nEDGE_WEIGHT_TYPE: EUC_2D\n";
    EXPECT_EQ(refusal("TYPE: CVRP\n"), "line 1: the type is \"CVRP\"; only TSP and ATSP are read");
    EXPECT_EQ(refusal("DIMENSION: 300\n"), "line 1: the dimension is 300, not from 1 to 256");
    EXPECT_EQ(refusal("EDGE_WEIGHT_TYPE: XRAY1\n"),
              "line 1: the edge weight type \"XRAY1\" is not known");
    EXPECT_EQ(refusal(head + "NODE_COORD_SECTION\n1 0 0\nEOF\n"),
              "line 6: expected a city and two coordinates, found 1 word");
    EXPECT_EQ(refusal(head + "NODE_COORD_SECTION\n1 0 0\n1 0 0\n"),
              "line 6: the city already has coordinates");
    EXPECT_EQ(refusal(head + "NODE_COORD_SECTION\n1 0 0\n2 a 0\n"),
              "line 6: the coordinate \"a\" is not a number");
    EXPECT_EQ(refusal(head),
              "line 4: the file has neither NODE_COORD_SECTION nor EDGE_WEIGHT_SECTION");
    EXPECT_EQ(refusal(head + "FIXED_EDGES_SECTION\n"),
              "line 4: \"FIXED_EDGES_SECTION\" is not known here");
    EXPECT_EQ(refusal("DIMENSION: 2\nEDGE_WEIGHT_TYPE: EUC_2D\nNODE_COORD_SECTION\n1 0 0\n2 1 0\n"),
              "line 3: there is no line \"TYPE: ...\" before NODE_COORD_SECTION");
    EXPECT_EQ(refusal("TYPE: TSP\nDIMENSION: 2\nNODE_COORD_SECTION\n"),
              "line 3: there is no line \"EDGE_WEIGHT_TYPE: ...\" before NODE_COORD_SECTION");
    EXPECT_EQ(refusal(head + "NODE_COORD_SECTION\n1 0 0\n2 1 0\nDIMENSION: 5\n"),
              "line 7: DIMENSION is given twice");
    EXPECT_EQ(refusal(head + "NODE_COORD_SECTION\n1 0 0\n2 1 0\nEDGE_WEIGHT_TYPE: EXPLICIT\n"),
              "line 7: EDGE_WEIGHT_TYPE is given twice");
    EXPECT_EQ(refusal(head + "NODE_COORD_SECTION\n1 0 0\n2 1 0\nEOF\nmore\n"),
              "line 8: unexpected text after \"EOF\"");
}

TEST(Assignments, DistancesStayWithinWhatIsExact) {
    for (const std::string type : {"EUC_2D", "CEIL_2D", "MAN_2D", "MAX_2D", "ATT"})
        for (const std::string far : {"1e300", "1e18", "-1e17"})
            EXPECT_EQ(refusal("TYPE: TSP\nDIMENSION: 2\nEDGE_WEIGHT_TYPE: " + type +
                              "\nNODE_COORD_SECTION\n1 0 0\n2 " + far + " 0\nEOF\n"),
                      "line 8: the coordinates are too far apart: a distance is beyond 2^53")
                << type << far;
    EXPECT_THAT(refusal("TYPE: TSP\nDIMENSION: 2\nEDGE_WEIGHT_TYPE: GEO\n"
                        "NODE_COORD_SECTION\n1 0 0\n2 1e308 1e308\nEOF\n"),
                HasSubstr("too far apart"));
}

/** A file of some hundred bytes, compressed, may state 2^31 couplings. */
TEST(Assignments, WhatTakesTooMuchIsRefusedAndWhatTakesLongIsAnnounced) {
    const TemporaryFile file("", ".txt");
    NumberReader reader(file.path());
    const Lines lines(reader);
    std::string told;
    const ReadOptions options{.note = [&](const std::string& text) { told = text; }};
    expect_couplings(1000, options, lines);
    EXPECT_EQ(told, "");
    EXPECT_THROW(expect_couplings(Wide{1} << 50, options, lines), MemoryShortage);
    EXPECT_EQ(told, "");
    expect_couplings(100'000'001, options, lines);
    EXPECT_THAT(told, HasSubstr("100000001 couplings take 2.98 GiB of memory and some time"));
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

TEST(Assignments, ThePenaltyThatIsChosenIsEnough) {
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

TEST(Assignments, DistancesAreRoundedByTheirType) {
    const auto distance = [](const std::string& type, const std::string& place) {
        const Problem problem = read("TYPE: TSP\nDIMENSION: 2\nEDGE_WEIGHT_TYPE: " + type +
                                     "\nNODE_COORD_SECTION\n1 0 0\n2 " + place + "\nEOF\n");
        return problem.weights.get(0, 3) / 2;  // there and back
    };
    EXPECT_EQ(distance("EUC_2D", "1 1"), 1);
    EXPECT_EQ(distance("EUC_2D", "1.5 0"), 2);
    EXPECT_EQ(distance("CEIL_2D", "1 1"), 2);
    EXPECT_EQ(distance("CEIL_2D", "3 4"), 5);
    EXPECT_EQ(distance("MAN_2D", "1.3 -1.3"), 3);
    EXPECT_EQ(distance("MAX_2D", "1.3 2.6"), 3);
    EXPECT_EQ(distance("ATT", "10 0"), 4);      // 3.16 is rounded to 3, which is less
    EXPECT_EQ(distance("ATT", "3 4"), 2);       // 1.58
    EXPECT_EQ(distance("GEO", "0 90"), 10020);  // a quarter of a circle is 10019.1, and 1 is added
}

}  // namespace
}  // namespace orvex::toolkit::test
