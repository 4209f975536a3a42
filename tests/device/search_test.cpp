// Whole searches: how the tabu counters go under each rule, and the pass of "TwoNeighbor".
#include <algorithm>

#include <gtest/gtest.h>

#include "bench.hpp"

namespace orvex::device::test {
namespace {

template <class BLOCK>
class SEARCH_TEST : public BLOCK_TEST<BLOCK> {};
TYPED_TEST_SUITE(SEARCH_TEST, ALL_BLOCKS, NAMES);

// ---- the end of a run ----------------------------------------------------------------------

TYPED_TEST(SEARCH_TEST, WhenTheTimeIsUpSearchesEndAndWalksToo) {
    typename TestFixture::MODEL model(64, dense(3, -9, 9));
    typename TestFixture::ON_BENCH bench(model);
    const BITS far(64, 1);
    bench.on_flip = [&, flips = 0]() mutable {
        if (++flips == 300) bench.rings.state.closing = 1;
    };
    bench.run({.target = far, .algorithm = MAX_MIN, .budget = 1000000, .steps = 1000000});
    EXPECT_LT(bench.flips, 400) << "a descent is all that follows";
    const long before = bench.flips;
    bench.run({.target = BITS(64), .algorithm = MAX_MIN, .steps = 1000000});
    EXPECT_EQ(bench.flips, before) << "in a local minimum already, and the walk is left out";
}

TYPED_TEST(SEARCH_TEST, WhenTheTimeIsUpASolutionThatWasGivenIsStillWalkedTo) {
    typename TestFixture::MODEL model(64, dense(3, -9, 9));
    typename TestFixture::ON_BENCH bench(model);
    bench.rings.state.closing = 1;
    BITS given(64);
    given[3] = given[40] = 1;
    const auto result =
        bench.run({.target = given, .algorithm = MAX_MIN, .steps = 1000000, .inst = GIVEN});
    ASSERT_GE(bench.flipped.size(), 2u);
    EXPECT_EQ(bench.flipped[0] + bench.flipped[1], 43);
    EXPECT_LE(result->energy, model.energy(given));
}

// ---- tabu counters in a search -------------------------------------------------------------

/** One deep minimum, from which a search of any rule finds nothing better. */
ELEMENT oneMinimum() {
    return [](int i, int j) { return std::int64_t{i != j ? 0 : i == 0 ? -1000 : 1 + i % 5}; };
}

/** Bits flipped by the first full search: the one after the search that finds the minimum. */
template <class BENCH>
std::vector<int> fullSearch(BENCH& bench, std::int8_t rule, std::uint32_t steps) {
    bench.run({.target = {1}, .algorithm = rule, .steps = steps});
    // From here the best of the instance is the minimum itself, as soon as the walk is tracked.
    bench.flipped.clear();
    bench.run({.target = {1, 1}, .algorithm = rule, .steps = steps});
    return {bench.flipped.begin() + 2, bench.flipped.begin() + 2 + steps};
}

TYPED_TEST(SEARCH_TEST, EarlyFlipsOfMaxMinAndPositiveMinAreBlockedForOneStepLessThanTheTenure) {
    typename TestFixture::MODEL model(64, oneMinimum());
    for (std::int8_t rule : {MAX_MIN, POSITIVE_MIN}) {
        typename TestFixture::ON_BENCH bench(model, {.tabu_cycles = 0});
        const auto flipped = fullSearch(bench, rule, 40);
        for (std::size_t i = 0; i < 6; ++i)  // tenure 6
            for (std::size_t later = i + 1; later <= i + 5; ++later)
                EXPECT_NE(flipped[i], flipped[later]);
    }
}

TYPED_TEST(SEARCH_TEST, ATabuSettingOfZeroFreesBitsAtOnceAfterTheFirstSteps) {
    typename TestFixture::MODEL model(64, oneMinimum());
    typename TestFixture::ON_BENCH bench(model, {.tabu_cycles = 0});
    std::vector<int> tenures;  // beside bench.flipped
    bench.on_flip = [&] {
        tenures.resize(bench.flipped.size());
        tenures.back() = tabuOf(bench.block, bench.flipped.back());
    };
    fullSearch(bench, MAX_MIN, 20);
    const std::vector<int> search(tenures.begin() + 2, tenures.begin() + 22);
    EXPECT_TRUE(std::all_of(search.begin(), search.begin() + 6, [](int v) { return v == 5; }))
        << "6, counted down once after the flip";
    EXPECT_TRUE(std::all_of(search.begin() + 6, search.end(), [](int v) { return v == 0; }));
}

TYPED_TEST(SEARCH_TEST, UnderRandomMinAFlippedBitStaysBlockedForTheSearch) {
    typename TestFixture::MODEL model(64, oneMinimum());
    typename TestFixture::ON_BENCH bench(model, {.tabu_cycles = 1});
    std::vector<int> flipped = fullSearch(bench, RANDOM_MIN, 40);
    std::sort(flipped.begin(), flipped.end());
    EXPECT_EQ(std::adjacent_find(flipped.begin(), flipped.end()), flipped.end());
}

TYPED_TEST(SEARCH_TEST, UnderCyclicMinABlockOutlastsTheSearch) {
    typename TestFixture::MODEL model(64, oneMinimum());
    typename TestFixture::ON_BENCH bench(model, {.tabu_cycles = 3});
    const std::vector<int> flipped = fullSearch(bench, CYCLIC_MIN, 10);
    bench.load({.target = {1}, .algorithm = CYCLIC_MIN});
    bench.block.startSearch();
    EXPECT_NE(tabuOf(bench.block, flipped.back()), 0);
    bench.load({.target = {1}, .algorithm = RANDOM_MIN});
    bench.block.startSearch();
    EXPECT_EQ(tabuOf(bench.block, flipped.back()), 0);
}

TYPED_TEST(SEARCH_TEST, CountingDownStopsAtZero) {
    typename TestFixture::MODEL model(64, uncoupled({}, 1));
    typename TestFixture::ON_BENCH bench(model);
    setTabu(bench.block, 1, 1);
    setTabu(bench.block, 2, 255);
    bench.block.select(3);
    bench.block.flipBit(true);
    EXPECT_EQ(tabuOf(bench.block, 0), 0);
    EXPECT_EQ(tabuOf(bench.block, 1), 0);
    EXPECT_EQ(tabuOf(bench.block, 2), 254);
}

// ---- "TwoNeighbor" -------------------------------------------------------------------------

TYPED_TEST(SEARCH_TEST, TwoNeighborPassesOverAllBits) {
    typename TestFixture::MODEL model(64, 4, uncoupled({-9, -9, -9, -9}, 0));
    typename TestFixture::ON_BENCH bench(model);
    bench.run({.target = {1, 1, 1, 1}, .algorithm = TWO_NEIGHBOR, .budget = 1000, .steps = 5});
    const std::vector<int> behind_walk(bench.flipped.begin() + 4, bench.flipped.end());
    EXPECT_EQ(behind_walk, (std::vector<int>{0, 1, 0, 2, 1, 3, 2, 3}));  // the last: a descent
}

TYPED_TEST(SEARCH_TEST, TwoNeighborOnModelsOfOneAndTwoBits) {
    typename TestFixture::MODEL one(64, 1, uncoupled({-9}, 0));
    typename TestFixture::ON_BENCH on_one(one);
    on_one.run({.target = {1}, .algorithm = TWO_NEIGHBOR});
    EXPECT_EQ(on_one.flipped, (std::vector<int>{0, 0, 0}));  // walk, pass, descent

    typename TestFixture::MODEL two(64, 2, uncoupled({-9, -8}, 0));
    typename TestFixture::ON_BENCH on_two(two);
    on_two.run({.target = {1, 1}, .algorithm = TWO_NEIGHBOR});
    EXPECT_EQ(on_two.flipped, (std::vector<int>{0, 1, 0, 1, 0, 1}));
}

TYPED_TEST(SEARCH_TEST, TwoNeighborSeesAllSolutionsAtDistanceOneAndTwo) {
    typename TestFixture::MODEL model(64, 20, dense(61, -100, 100));
    typename TestFixture::ON_BENCH bench(model);
    bench.run({.target = bits(64, {1, 5, 11})});
    const BITS start = bench.current();
    const auto result = bench.run({.target = start, .algorithm = TWO_NEIGHBOR});
    for (std::size_t i = 0; i < 20; ++i)
        for (std::size_t j = i; j < 20; ++j) {
            BITS near = start;
            near[i] ^= 1;
            if (i != j) near[j] ^= 1;
            EXPECT_LE(result->energy, model.energy(near));
        }
    bench.expectExactState();
}

}  // namespace
}  // namespace orvex::device::test
