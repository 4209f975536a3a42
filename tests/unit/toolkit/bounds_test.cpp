// The bounds hold for every bit vector and every flip, and are not wider than they must be where
// that can be seen by hand.
#include "toolkit/model/bounds.hpp"

#include <algorithm>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace orvex::toolkit::test {
namespace {

using Matrix = std::vector<std::vector<long>>;

constexpr long MAX_32 = std::numeric_limits<std::int32_t>::max();
constexpr long MIN_32 = std::numeric_limits<std::int32_t>::min();
constexpr long MAX_64 = std::numeric_limits<long>::max();
constexpr long MIN_64 = std::numeric_limits<long>::min();

Wide energy(const Matrix& weights, unsigned bits) {
    Wide sum = 0;
    for (unsigned i = 0; i < weights.size(); ++i)
        for (unsigned j = i; j < weights.size(); ++j)
            if ((bits >> i & 1) && (bits >> j & 1)) sum += weights[i][j];
    return sum;
}

Bound bound_of(const Matrix& weights) {
    RowSums sums(static_cast<int>(weights.size()));
    for (unsigned i = 0; i < weights.size(); ++i)
        for (unsigned j = i; j < weights.size(); ++j)
            sums.change(static_cast<int>(i), static_cast<int>(j), 0, weights[i][j]);
    return sums.bound();
}

Matrix random_matrix(std::mt19937& random, std::size_t size, long range) {
    std::uniform_int_distribution<long> weight(-range, range);
    Matrix weights(size, std::vector<long>(size));
    for (std::size_t i = 0; i < size; ++i)
        for (std::size_t j = i; j < size; ++j)
            weights[i][j] = random() % 3 == 0 ? 0 : weight(random);
    return weights;
}

TEST(Bounds, HoldForEveryBitVectorAndFlip) {
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        const std::size_t size = 1 + random() % 8;
        const long range = round % 3 == 0 ? MAX_64 : round % 3 == 1 ? MAX_32 : 5;
        const Matrix weights = random_matrix(random, size, range);
        const Bound bound = bound_of(weights);
        for (unsigned bits = 0; bits < 1u << size; ++bits) {
            EXPECT_GE(energy(weights, bits), bound.lowest_energy);
            EXPECT_LE(energy(weights, bits), bound.highest_energy);
            for (unsigned i = 0; i < size; ++i) {
                const Wide delta = energy(weights, bits ^ 1u << i) - energy(weights, bits);
                EXPECT_LE(delta < 0 ? -delta : delta, bound.largest_delta);
            }
        }
    }
}

// With couplings of one sign, the extremes are the sums themselves.
TEST(Bounds, AreTightWithCouplingsOfOneSign) {
    const Bound bound = bound_of({{-3, -2, -5}, {0, -1, -7}, {0, 0, -4}});
    EXPECT_EQ(bound.lowest_energy, -22);
    EXPECT_EQ(bound.highest_energy, 0);
    EXPECT_EQ(bound.largest_delta, 16);  // the last variable: 4 + 5 + 7
}

TEST(Bounds, HalvesAreRoundedOutwards) {
    const Bound down = bound_of({{0, -1, 0}, {0, 0, 0}, {0, 0, 0}});
    EXPECT_LE(down.lowest_energy, -1);
    // Linear terms of 1 and couplings of -1 within a triangle: each term is 1 - 2/2.
    EXPECT_EQ(bound_of({{1, -1, -1}, {0, 1, -1}, {0, 0, 1}}).lowest_energy, 0);
    // The third variable alone has a half, of -3.
    EXPECT_EQ(bound_of({{9, 0, -3}, {0, 9, 0}, {0, 0, 0}}).lowest_energy, -2);
}

TEST(Bounds, AWeightThatIsReplacedCountsNoMore) {
    RowSums sums(2);
    sums.change(0, 1, 0, 50);
    sums.change(1, 0, 50, -7);
    sums.change(0, 0, 0, 100);
    sums.change(0, 0, 100, 2);
    const Bound bound = sums.bound();
    EXPECT_EQ(bound.largest_delta, 7);
    EXPECT_EQ(bound.highest_energy, 2);
}

TEST(Bounds, SumsOfTheWidestWeightsAreExact) {
    const Bound bound = bound_of({{MIN_64, MIN_64}, {0, MIN_64}});
    EXPECT_EQ(bound.lowest_energy, Wide{MIN_64} * 3);
    EXPECT_EQ(bound.largest_delta, -(Wide{MIN_64} * 2));
    EXPECT_EQ(to_string(bound.lowest_energy), "-27670116110564327424");
}

TEST(ArithmeticBits, FollowsTheEnds) {
    EXPECT_EQ((Bound{MIN_32, MAX_32, MAX_32 - 1}).bits(0), 32);
    EXPECT_EQ((Bound{Wide{MIN_32} - 1, MAX_32, MAX_32 - 1}).bits(0), 64);
    EXPECT_EQ((Bound{MIN_32, Wide{MAX_32} + 1, MAX_32 - 1}).bits(0), 64);
    EXPECT_EQ((Bound{MIN_64, MAX_64, Wide{MAX_64} - 1}).bits(0), 64);
    EXPECT_EQ((Bound{Wide{MIN_64} - 1, MAX_64, 0}).bits(0), 128);
    EXPECT_EQ((Bound{MIN_64, Wide{MAX_64} + 1, 0}).bits(0), 128);
}

// A delta of this value would be taken for a bit that is out of play.
TEST(ArithmeticBits, TheLargestNumberIsNoDelta) {
    EXPECT_EQ((Bound{0, 0, MAX_32}).bits(0), 64);
    EXPECT_EQ((Bound{0, 0, MAX_64}).bits(0), 128);
}

TEST(ArithmeticBits, FillersRaiseTheUpperEnd) {
    EXPECT_EQ((Bound{0, MAX_32 - 255 * 10, 0}).bits(10), 32);
    EXPECT_EQ((Bound{0, MAX_32 - 255 * 10, 0}).bits(11), 64);
}

TEST(WideNumber, IsShownInFull) {
    EXPECT_EQ(to_string(Wide{0}), "0");
    EXPECT_EQ(to_string(Wide{-105}), "-105");
    EXPECT_EQ(to_string(Wide{MAX_64} * 1000), "9223372036854775807000");
}

}  // namespace
}  // namespace orvex::toolkit::test
