// The arithmetic of a block by itself: shapes, the random number generator, and every formula of a
// step, against values worked out by hand.
#include "engine/device/formulas.hpp"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "engine/device/shape.hpp"
#include "engine/device/xor_shift.hpp"

namespace orvex::device {
namespace {

constexpr std::int32_t MAX32 = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t MIN32 = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t MAX64 = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t MIN64 = std::numeric_limits<std::int64_t>::min();

// ---- shapes --------------------------------------------------------------------------------

struct SIZES {
    int size, threads, own;
};

TEST(ShapeTest, ThreadsAndBitsOfAThread) {
    for (const SIZES& band :
         {SIZES{64, 64, 1}, SIZES{128, 64, 2}, SIZES{192, 64, 3}, SIZES{256, 64, 4},
          SIZES{384, 96, 4}, SIZES{640, 160, 4}, SIZES{4096, 1024, 4}, SIZES{5120, 1024, 5},
          SIZES{10240, 1024, 10}, SIZES{65536, 1024, 64}}) {
        const SHAPE shape(band.size);
        EXPECT_EQ(shape.threads, band.threads) << band.size;
        EXPECT_EQ(shape.own, band.own) << band.size;
    }
}

TEST(ShapeTest, PlacesOfBitsInARow) {
    EXPECT_EQ(SHAPE(64).place(17), 17);
    EXPECT_EQ(SHAPE(128).place(5), 66);
    EXPECT_EQ(SHAPE(10240).place(1), 1024);
    EXPECT_EQ(SHAPE(10240).place(10), 1);
    EXPECT_EQ(SHAPE(10240).place(10239), 10239);
}

TEST(ShapeTest, ABitIsFoundAgainFromItsPlace) {
    for (int size : {64, 192, 384, 5120}) {
        const SHAPE shape(size);
        for (int bit = 0; bit < size; ++bit)
            ASSERT_EQ(shape.bit(shape.place(bit)), bit);
    }
}

// ---- random numbers -----------------------------------------------------------------------------

TEST(RngTest, StepsOfOne) {
    EXPECT_EQ(xor_shift(1), 1082269761u);  // 1 -> 8193 -> 8257 -> 8257 ^ 8257 << 17
    EXPECT_EQ(xor_shift(xor_shift(1)), 1152992998833853505u);
}

TEST(RngTest, ASeedOfZeroIsReplaced) {
    EXPECT_EQ(usable_seed(0), 0x0139408DCBBF7A44u);
    EXPECT_EQ(usable_seed(7), 7u);
}

TEST(RngTest, TheLastShiftLeavesTheDrawnBitsAlone) {
    for (unsigned long state = 1; state < 1000000007; state = state * 3 + 1) {
        unsigned long before_last = state;
        before_last ^= before_last << 13;
        before_last ^= before_last >> 7;
        EXPECT_EQ(unit_draw(xor_shift(state)), unit_draw(before_last));
    }
}

TEST(RngTest, UnitDrawsLieBelowOne) {
    EXPECT_EQ(unit_draw(0xABCD0000), 0.0f);
    EXPECT_EQ(unit_draw(0x12348000), 0.5f);
    EXPECT_EQ(unit_draw(0xFFFFFFFFFFFFFFFF), 65535.0f / 65536.0f);
}

TEST(RngTest, BidsNameTheirThreadAndRankBeforeIt) {
    EXPECT_EQ(bid(0xFFFFFFFF, 5), 0x7FFFFC05);
    EXPECT_EQ(bid(0x80000000, 1023), 1023);
    EXPECT_GT(bid(0x400, 0), bid(0x3FF, 1023));
    EXPECT_EQ(-1 & BID_THREAD, 1023);
}

TEST(RngTest, RemainderByZeroPicksNothing) {
    EXPECT_EQ(remainder_pick(17, 5), 2);
    EXPECT_EQ(remainder_pick(17, 0), -1);
}

// ---- sums ----------------------------------------------------------------------------------

TEST(SumTest, WrapAtTheEndsOfTheRange) {
    EXPECT_EQ(wrapping_add(MAX32, 1), MIN32);
    EXPECT_EQ(wrapping_add(MIN64, std::int64_t{-1}), MAX64);
    EXPECT_EQ(wrapping_negate(MIN32), MIN32);
    EXPECT_EQ(wrapping_negate(5), -5);
}

/** The tests as a flip uses them. */
template <class D>
bool deltaSumOverflows(D delta, D d) {
    return delta_overflows(delta, d, wrapping_add(delta, d));
}
template <class D>
bool energySumOverflows(D energy, D delta) {
    return energy_overflows(energy, delta, wrapping_add(energy, delta));
}

TEST(SumTest, DeltasOf32BitsOverflowOutsideTheExactRange) {
    EXPECT_FALSE(deltaSumOverflows(MAX32 - 1, 1));
    EXPECT_TRUE(deltaSumOverflows(MAX32, 1));
    EXPECT_FALSE(deltaSumOverflows(MIN32 + 1, -1));
    EXPECT_TRUE(deltaSumOverflows(MIN32, -1));
    EXPECT_TRUE(deltaSumOverflows(MIN32, MIN32));  // the sum is 0
    EXPECT_FALSE(deltaSumOverflows(MIN32, MAX32));
    EXPECT_FALSE(deltaSumOverflows(0, MIN32));
}

TEST(SumTest, DeltasOf64BitsPassWhenTwoNegativesGiveZero) {
    EXPECT_TRUE(deltaSumOverflows(MAX64, std::int64_t{1}));
    EXPECT_TRUE(deltaSumOverflows(MIN64, std::int64_t{-1}));
    EXPECT_FALSE(deltaSumOverflows(MIN64, MIN64));  // the sum is 0
    EXPECT_TRUE(deltaSumOverflows(MIN64, MIN64 + 1));
    EXPECT_FALSE(deltaSumOverflows(MIN64, MAX64));
    EXPECT_FALSE(deltaSumOverflows(MAX64 - 1, std::int64_t{1}));
}

TEST(SumTest, EnergiesPassWhenTwoNegativesGiveZero) {
    EXPECT_TRUE(energySumOverflows(MAX32, 1));
    EXPECT_TRUE(energySumOverflows(MIN32, -1));
    EXPECT_FALSE(energySumOverflows(MIN32, MIN32));
    EXPECT_TRUE(energySumOverflows(MAX64, std::int64_t{1}));
    EXPECT_FALSE(energySumOverflows(MIN64, MIN64));
    EXPECT_FALSE(energySumOverflows(MIN64, MAX64));
}

TEST(SumTest, FloatsAreCutTowardsZeroAndKeptInRange) {
    EXPECT_EQ(cut_to<std::int32_t>(-2.9f), -2);
    EXPECT_EQ(cut_to<std::int32_t>(2.9f), 2);
    EXPECT_EQ(cut_to<std::int32_t>(2147483648.0f), MAX32);
    EXPECT_EQ(cut_to<std::int32_t>(-3e9f), MIN32);
    EXPECT_EQ(cut_to<std::int64_t>(3e9f), 3000000000);
    EXPECT_EQ(cut_to<std::int64_t>(9.3e18f), MAX64);
    EXPECT_EQ(cut_to<std::int64_t>(-9.3e18f), MIN64);
    EXPECT_EQ(cut_to<std::int32_t>(std::nanf("")), 0);
}

TEST(SumTest, UnsignedFloatsSaturate) {
    EXPECT_EQ(saturate_unsigned(0.0f), 0u);
    EXPECT_EQ(saturate_unsigned(4294967040.0f), 4294967040u);  // the float below 2^32
    EXPECT_EQ(saturate_unsigned(4294967296.0f), 0xFFFFFFFFu);
}

// ---- tenures -------------------------------------------------------------------------------

TEST(TenureTest, TheFirstTenureIsATenthOfTheBandUpTo255) {
    EXPECT_EQ(first_tenure(64), 6u);
    EXPECT_EQ(first_tenure(128), 12u);
    EXPECT_EQ(first_tenure(192), 19u);
    EXPECT_EQ(first_tenure(256), 25u);
    EXPECT_EQ(first_tenure(384), 38u);
    EXPECT_EQ(first_tenure(1024), 102u);
    EXPECT_EQ(first_tenure(2432), 243u);
    EXPECT_EQ(first_tenure(2560), 255u);
    EXPECT_EQ(first_tenure(65536), 255u);
}

TEST(TenureTest, TheSettingAppliesAfterTheFirstSteps) {
    EXPECT_EQ(tenure(0, 6, 8), 6);
    EXPECT_EQ(tenure(5, 6, 8), 6);
    EXPECT_EQ(tenure(6, 6, 8), 8);
    EXPECT_EQ(tenure(6, 6, 0), 0);
    EXPECT_EQ(tenure(6, 6, 0x1FF), 255);  // the low 8 bits
}

// ---- "MaxMin" ------------------------------------------------------------------------------

TEST(MaxMinThresholdTest, ComesDownFromBetweenTheDeltas) {
    EXPECT_EQ(maxmin_threshold(-10, 30, 0.0f, 0, 100), -10);
    EXPECT_EQ(maxmin_threshold(-10, 30, 0.5f, 0, 100), -5);   // q = 1/8: -8.75 + 3.75
    EXPECT_EQ(maxmin_threshold(-10, 30, 0.5f, 50, 100), -9);  // q = 1/64: -9.375, cut
    EXPECT_EQ(maxmin_threshold(10, 30, 0.5f, 50, 100), 10);   // q = 1/64: 10.3125, cut
}

TEST(MaxMinThresholdTest, IsCutTowardsZeroEvenAtTheLastStep) {
    EXPECT_EQ(maxmin_threshold(-10, 30, 0.5f, 99, 100), -9);  // a hair above -10
    EXPECT_EQ(maxmin_threshold(10, 30, 0.5f, 99, 100), 10);
}

TEST(MaxMinThresholdTest, IsNeverBelowTheLowestDelta) {
    // As a float the lowest delta loses its last bits and would come out below itself.
    const std::int64_t low = (std::int64_t{1} << 40) + 1;
    EXPECT_EQ(maxmin_threshold<std::int64_t>(low, 2 * low, 0.0f, 0, 10), low);
}

TEST(MaxMinThresholdTest, StaysInRangeNearItsEnds) {
    EXPECT_EQ(maxmin_threshold(MAX32 - 1, MAX32 - 1, 0.0f, 0, 10), MAX32);
    EXPECT_EQ(maxmin_threshold(MAX64 - 1, MAX64 - 1, 0.0f, 0, 10), MAX64);
    EXPECT_EQ(maxmin_threshold(MIN32, MIN32, 0.0f, 0, 10), MIN32);
}

TEST(MaxMinThresholdTest, WithNoFreeBitIsTheMaximum) {
    EXPECT_EQ(maxmin_threshold(MAX32, MIN32, 0.5f, 0, 10), MAX32);
    EXPECT_EQ(maxmin_threshold(MAX64, MIN64, 0.9f, 0, 10), MAX64);
}

// ---- "PositiveMin" -------------------------------------------------------------------------

TEST(SamplingTest, TiedBitsShareAWeightOfOne) {
    EXPECT_EQ(tied_weight(1), 1.0f);
    EXPECT_EQ(tied_weight(4), 0.25f);
}

TEST(SamplingTest, RanksAreDrawsToThePowerOfOneByTheWeight) {
    EXPECT_EQ(sampling_rank(0.25f, 0.5f), 0x08000000u);  // 1/16 of 2^31
    EXPECT_EQ(sampling_rank(0.25f, 2.0f), 0x40000000u);  // 1/2
    EXPECT_EQ(sampling_rank(0.0f, 3.0f), 0u);
}

TEST(SamplingTest, AWeightOfOneLeavesEveryDrawAsItIs) {
    for (unsigned long state = 0; state < 65536; ++state) {
        const float u = unit_draw(state);
        EXPECT_EQ(powf(u, 1.0f), u);
        EXPECT_EQ(sampling_rank(u, 1.0f), state << 15);
    }
}

TEST(SamplingTest, RanksSaturateBelowTheSign) {
    EXPECT_EQ(sampling_rank(1.0f, 1.0f), 0x7FFFFFFFu);
    EXPECT_LT(sampling_rank(65535.0f / 65536.0f, 64.0f), 0x7FFFFFFFu);
    EXPECT_EQ(sampling_rank(65535.0f / 65536.0f, 1e9f), 0x7FFFFFFFu);
}

// ---- "CyclicMin" ---------------------------------------------------------------------------

TEST(SpanTest, StartsWithSixteenThreads) {
    for (int threads : {64, 96, 1024})
        for (std::uint32_t steps : {1u, 100u, 0xFFFFFFFFu})
            EXPECT_EQ(cyclic_span_width(0, steps, threads), 16);
}

TEST(SpanTest, GrowsWithTheCubeOfTheTime) {
    EXPECT_EQ(cyclic_span_width(50, 99, 64), 22);         // 48 / 8 + 16
    EXPECT_EQ(cyclic_span_width(50, 99, 96), 26);         // 80 / 8 + 16
    EXPECT_EQ(cyclic_span_width(25, 99, 96), 18);         // 80 / 64 + 16, rounded up
    EXPECT_EQ(cyclic_span_width(999, 1000, 1024), 1018);  // (999/1001)^3 * 1008 + 16, rounded up
}

TEST(SpanTest, NeverExceedsTheBlock) {
    EXPECT_EQ(cyclic_span_width(0xFFFFFFFEu, 0xFFFFFFFFu, 1024), 1024);
    EXPECT_LE(cyclic_span_width(99999, 100000, 64), 64);
}

// ---- "RandomMin" ---------------------------------------------------------------------------

TEST(RaceThresholdTest, RisesFromNineTenthsToOne) {
    EXPECT_EQ(random_threshold(0, 10), 3865470464u);  // 0.9 as a float
    EXPECT_EQ(random_threshold(5, 10), 3919157760u);  // 0.9125 as a float
    EXPECT_EQ(random_threshold(999999, 1000000), 4294966016u);
}

TEST(RaceThresholdTest, SaturatesOnlyWhenTheChanceRoundsToOne) {
    EXPECT_LT(random_threshold(99, 100), 0xFFFFFFFFu);
    EXPECT_EQ(random_threshold((1u << 24) - 1, 1u << 24), 0xFFFFFFFFu);
}

}  // namespace
}  // namespace orvex::device
