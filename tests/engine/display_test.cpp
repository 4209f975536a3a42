// The texts of the progress display, byte for byte with their escape sequences.
#include "engine/display.hpp"

#include <gtest/gtest.h>

#include "engine/support/models.hpp"

namespace {

using namespace orvex;
using namespace orvex::engine;

constexpr std::int64_t MILLISECOND = 1000000;
constexpr std::int64_t SECOND = 1000 * MILLISECOND;

const std::string END_OF_CELL = "\033[49m\033[39m ";

class Display : public testing::Test {
  protected:
    Display() {
        run.restart_islands = 20;
        run.energy_width = 4;
    }

    /** The line, written within the same fraction of a millisecond in which its times were set. */
    std::string line() {
        for (;;) {
            const std::int64_t begin = now();
            clock.start = begin - 1500 * MILLISECOND;
            clock.next_restart = begin + 2000 * MILLISECOND + 200000;
            clock.nobest_until = begin + (allbest_free ? -SECOND : SECOND);
            const std::string text = progress_line(progress, run, clock);
            if (now() - begin < 200000) return text;
        }
    }

    Model model{1, 8};
    Sol sol{1};
    Param param;
    RUN_STATE run{.sol = &sol.impl(),
                  .model = &model.impl(),
                  .param = &param.impl(),
                  .start = nullptr,
                  .size = 1};
    RESTART_CLOCK clock{0, 1, 2, 0.25};
    PROGRESS progress{{{-7, CROSS, 0}}, 0, false, {-9, RANDOM, 3}, 12, 0, false};
    bool allbest_free = false;
};

TEST_F(Display, ALineShowsTheIslandTheRunsBestTheResultAndTheTimes) {
    EXPECT_EQ(line(),
              "\033[44m\033[32m[0]CM  -7" + END_OF_CELL + "[A]RR-9\033[39m 12 1.500s 2.000s\n");
}

TEST_F(Display, ALineOfANewBestShowsItInRed) {
    progress.new_best = true;
    progress.allbest.energy = -7;
    EXPECT_EQ(line(), "\033[44m\033[32m\033[31m[0]CM  -7" + END_OF_CELL +
                          "\033[31m[A]RR-7\033[39m 12 1.500s 2.000s\n");
}

TEST_F(Display, EachIslandHasItsCellAndItsColours) {
    progress.islands = {{-5, MUTATION, 1}, {-9, XCROSS, 2}, {-3, HINT, 4}, {-9, NO_GENERATOR, 5}};
    progress.reporter = 2;
    EXPECT_EQ(line(), "[0]MP  -5" + END_OF_CELL + "\033[44m\033[31m[1]XC  -9" + END_OF_CELL +
                          "\033[32m[2]HT  -3" + END_OF_CELL + "\033[44m\033[31m[3]**  -9" +
                          END_OF_CELL + "[A]RR-9\033[39m 12 1.500s 2.000s\n");
}

TEST_F(Display, AnIslandWithoutANegativeEnergyHasABlankCell) {
    progress.islands = {{0, NO_GENERATOR, 5}, {device::NO_ENERGY, RANDOM, 0}, {5, RANDOM, 0}};
    progress.allbest = {5, BEST, 0};
    const std::string blank = "    |    " + END_OF_CELL;
    EXPECT_EQ(line(), blank + blank + blank + "[A]BM5\033[39m 12 1.500s 2.000s\n");
}

TEST_F(Display, ABlankCellIsAsWideAsTheEnergyAnd5AndItsBarInTheMiddle) {
    progress.islands = {{0, RANDOM, 0}};
    const std::string rest = END_OF_CELL + "[A]RR-9\033[39m 12 1.500s 2.000s\n";
    run.energy_width = 0;
    EXPECT_EQ(line(), "  |  " + rest);
    run.energy_width = 1;
    EXPECT_EQ(line(), "   |  " + rest);
    run.energy_width = 6;
    EXPECT_EQ(line(), "     |     " + rest);
}

TEST_F(Display, BlankCellsOfIslandsAbove9AreOneColumnWider) {
    progress.islands.assign(11, {0, RANDOM, 0});
    run.energy_width = 1;
    std::string expected;
    for (int i = 0; i < 10; ++i)
        expected += "   |  " + END_OF_CELL;
    expected += "   |   " + END_OF_CELL;
    EXPECT_EQ(line(), expected + "[A]RR-9\033[39m 12 1.500s 2.000s\n");
}

TEST_F(Display, AnEnergyWiderThanItsColumnIsShownWhole) {
    run.energy_width = 2;
    progress.islands = {{-1234567890123456, ONE, 0}};
    EXPECT_EQ(line(), "\033[44m\033[32m[0]OM-1234567890123456" + END_OF_CELL +
                          "[A]RR-9\033[39m 12 1.500s 2.000s\n");
}

TEST_F(Display, IslandsThatAreKeptStandInRoundBrackets) {
    run.restart_islands = 1;
    progress.islands = {{-7, CROSS, 0}, {-5, ALL_BEST, 0}};
    EXPECT_EQ(line(), "\033[44m\033[32m[0]CM  -7" + END_OF_CELL + "(1)AM  -5" + END_OF_CELL +
                          "[A]RR-9\033[39m 12 1.500s 2.000s\n");
}

TEST_F(Display, ATargetComesAfterTheRunsBest) {
    run.target_energy = -100;
    EXPECT_NE(line().find("[A]RR-9/-100\033[39m 12 "), std::string::npos);
    run.target_energy = 0;
    EXPECT_NE(line().find("[A]RR-9/0\033[39m 12 "), std::string::npos);
}

TEST_F(Display, TheNextRestartIsRedOnceAllBestIsFree) {
    allbest_free = true;
    EXPECT_NE(line().find(" 12 1.500s \033[31m2.000s\033[0m\n"), std::string::npos);
}

TEST_F(Display, WithoutRestartsTheirTimeIsNotShown) {
    for (const float t0 : {0.0f, -1.0f}) {
        run.restart_t0 = t0;
        EXPECT_NE(line().find("\033[39m 12 1.500s \n"), std::string::npos);
    }
}

TEST_F(Display, AWaitIsShownAndElseAnOverflow) {
    progress.wait_exponent = 3;
    EXPECT_NE(line().find(" 2.000s (3)\n"), std::string::npos);
    progress.overflow = true;
    EXPECT_NE(line().find(" 2.000s (3)\n"), std::string::npos);
    progress.wait_exponent = 0;
    EXPECT_NE(line().find(" 2.000s (OverFlow)\n"), std::string::npos);
    progress.wait_exponent = -1;
    EXPECT_NE(line().find(" 2.000s (OverFlow)\n"), std::string::npos);
}

class TableRow : public Display {
  protected:
    TABLE_ROW row{.number = 2,
                  .winner = false,
                  .has_best = false,
                  .best = {-42, MUTATION, 1},
                  .found_time = 1234567890,
                  .instance_count = {10, 0, 30, 0, 0, 0, 0, 0, 20, 40},
                  .algorithm_count = {50, 50, 0, 0, 0},
                  .received = 100,
                  .flips = 123456789012};

    const std::string shares =
        " |"
        " R10.0% B 0.0% M30.0% C 0.0% X 0.0% Z 0.0% O 0.0% I 0.0% H20.0%\033[31m A40.0%\033[39m"
        " |\033[31m M50.0%\033[39m P50.0% C 0.0% R 0.0% T 0.0% | 100 123456789012\n";
};

TEST_F(TableRow, ShowsTheIslandItsBestAndItsShares) {
    EXPECT_EQ(table_row(row, run), "[2] MP -42 1.235s\033[49m\033[39m" + shares);
}

TEST_F(TableRow, IsColouredForTheRunsBestAndItsFinder) {
    row.has_best = true;
    EXPECT_EQ(table_row(row, run), "\033[44m[2] MP -42 1.235s\033[49m\033[39m" + shares);
    row.winner = true;
    EXPECT_EQ(table_row(row, run), "\033[44m\033[31m[2] MP -42 1.235s\033[49m\033[39m" + shares);
}

TEST_F(TableRow, OfAllIslandsIsMarkedA) {
    row.number = -1;
    EXPECT_EQ(table_row(row, run), "[A] MP -42 1.235s\033[49m\033[39m" + shares);
}

TEST_F(TableRow, OfAKeptIslandIsInRoundBrackets) {
    run.restart_islands = 2;
    EXPECT_EQ(table_row(row, run), "(2) MP -42 1.235s\033[49m\033[39m" + shares);
}

TEST_F(TableRow, WithoutAFoundSolutionHasNoTime) {
    row.found_time = -1000000000;
    row.best = {0, NO_GENERATOR, NO_ALGORITHM};
    EXPECT_EQ(table_row(row, run), "[2] ** 0\033[49m\033[39m" + shares);
}

TEST_F(TableRow, WithAFixedRuleLeavesTheRulesOut) {
    run.fix_algorithm = 3;
    const std::string text = table_row(row, run);
    EXPECT_NE(text.find("A40.0%\033[39m | | 100 123456789012\n"), std::string::npos) << text;
}

TEST_F(TableRow, OfTwoGreatestSharesTheFirstIsRed) {
    row.instance_count = {0, 50, 0, 0, 0, 0, 0, 0, 0, 50};
    const std::string text = table_row(row, run);
    EXPECT_NE(text.find(" R 0.0%\033[31m B50.0%\033[39m M 0.0%"), std::string::npos) << text;
    EXPECT_NE(text.find(" H 0.0% A50.0% |"), std::string::npos) << text;
}

TEST_F(TableRow, OfNoResultsShowsTheQuotientAsItComesOut) {
    row.received = 0;
    row.flips = 0;
    row.instance_count = {};
    row.algorithm_count = {};
    const std::string text = table_row(row, run);
    EXPECT_NE(text.find("nan%"), std::string::npos) << text;
    EXPECT_NE(text.find(" | 0 0\n"), std::string::npos) << text;
}

}  // namespace
