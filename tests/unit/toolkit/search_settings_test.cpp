// How a model is searched when the user says nothing, by its kind.
#include "toolkit/settings/search_settings.hpp"

#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvex::toolkit {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

Couplings couplingsOf(std::initializer_list<long> weights) {
    Couplings couplings;
    for (long weight : weights)
        couplings.change(0, weight);
    return couplings;
}

TEST(SearchCycles, ManyShortSearchesForWeightedModels) {
    EXPECT_EQ(choose_search_cycles(2500, couplingsOf({-100, 37, 5, -8})), "25000 75");
}

TEST(SearchCycles, LongerOnesForUnweightedGraphs) {
    EXPECT_EQ(choose_search_cycles(2000, couplingsOf({2, 2, 2})), "60000 200");
    EXPECT_EQ(choose_search_cycles(2000, couplingsOf({2, -2, 2})), "60000 200");
}

TEST(SearchCycles, TheEnginesOwnRuleWhereNearlyAllCouplingsArePenalties) {
    EXPECT_EQ(choose_search_cycles(400, couplingsOf({90, 100, 110, -20})), "");
    EXPECT_NE(choose_search_cycles(400, couplingsOf({90, 100, 110, -31})), "");
}

TEST(SearchCycles, NeverBelowWhatTheEngineTakes) {
    EXPECT_EQ(choose_search_cycles(0, couplingsOf({1, -2})), "100 20");
    EXPECT_EQ(choose_search_cycles(9, couplingsOf({1, -2})), "100 20");
}

TEST(SearchCycles, LargeModelsAreSearchedInPieces) {
    EXPECT_EQ(choose_search_cycles(10000, couplingsOf({1, -2})), "50000 300");
    EXPECT_EQ(choose_search_cycles(65536, couplingsOf({1, -2})), "65536 1966");
}

TEST(SearchCycles, ARepeatedPairCountsOnce) {
    Couplings couplings = couplingsOf({2, 2});
    couplings.change(2, -2);
    EXPECT_EQ(couplings.count, 2);
    EXPECT_TRUE(couplings.unit());
    couplings.change(-2, 0);
    EXPECT_EQ(couplings.count, 1);
    EXPECT_TRUE(couplings.positive == 2 && couplings.negative == 0);
}

// ---- large sparse models -------------------------------------------------------------------

/** `count` couplings of alternating sign, of magnitude 1 but for the first. */
Couplings couplingsAlike(int count, long first = 1) {
    Couplings couplings;
    couplings.change(0, first);
    for (int i = 1; i < count; ++i)
        couplings.change(0, i % 2 == 0 ? 1 : -1);
    return couplings;
}

Settings chosen(int size, const Couplings& couplings, std::set<std::string> given = {}) {
    return choose_settings(size, couplings,
                           [&](const std::string& key) { return given.count(key) != 0; });
}

TEST(SearchSettings, MostModelsGetCyclesAlone) {
    EXPECT_THAT(chosen(2500, couplingsOf({-100, 37})), ElementsAre(Pair("search_cycles", _)));
    EXPECT_THAT(chosen(4999, couplingsAlike(5000)), ElementsAre(Pair("search_cycles", _)));
    EXPECT_THAT(chosen(5000, couplingsAlike(40000)), ElementsAre(Pair("search_cycles", _)))
        << "eight for each variable are not few";
}

TEST(SearchSettings, LargeModelsOfFewNeighboursHaveSmallPoolsAndNoRestarts) {
    const auto expected =
        ElementsAre(Pair("pool_size", "10"), Pair("restart_t0", "0"), Pair("search_cycles", _));
    EXPECT_THAT(chosen(5000, couplingsAlike(39999)), expected);
    EXPECT_THAT(chosen(5000, couplingsAlike(7501)), expected);
    EXPECT_THAT(chosen(5000, couplingsAlike(5000, 2)), expected) << "not all are the same";
}

TEST(SearchSettings, GraphsLikeTreesAreSearchedByCyclicMin) {
    EXPECT_THAT(chosen(5000, couplingsAlike(7500)),
                ElementsAre(Pair("fix_algorithm", "CyclicMin"), Pair("pool_size", "10"),
                            Pair("restart_t0", "0"), Pair("search_cycles", "15000 5000"),
                            Pair("tabu_cycles", "0")));
}

TEST(SearchSettings, WhatTheUserGivesIsNotChosen) {
    const Couplings tree = couplingsAlike(5000);
    for (const char* cycles :
         {"search_cycles", "search_cycles_factor", "batch_factor", "annealing_factor"})
        EXPECT_THAT(chosen(5000, tree, {cycles}),
                    ElementsAre(Pair("pool_size", "10"), Pair("restart_t0", "0")));
    for (const char* restarts : {"restart_t0", "restart_b", "restart_duration", "restart_nobest"})
        EXPECT_THAT(chosen(5000, tree, {restarts, "pool_size", "batch_factor"}), IsEmpty());
    for (const char* rule : {"fix_algorithm", "exclude_algorithm", "tabu_cycles"})
        EXPECT_THAT(chosen(5000, tree, {rule}),
                    ElementsAre(Pair("pool_size", "10"), Pair("restart_t0", "0"),
                                Pair("search_cycles", choose_search_cycles(5000, tree))));
}

}  // namespace
}  // namespace orvex::toolkit
