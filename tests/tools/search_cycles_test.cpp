// How long an instance is searched when the user says nothing, by the kind of the model.
#include "search_cycles.hpp"

#include <gtest/gtest.h>

namespace orvex::cli {
namespace {

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

}  // namespace
}  // namespace orvex::cli
