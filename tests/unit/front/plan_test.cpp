// A plan tells what a run then is.
#include "orvex/plan.hpp"

#include <gtest/gtest.h>

#include "orvex/orvex.hpp"

#include "front/bands.hpp"
#include "platform/platform.hpp"

namespace orvex::test {
namespace {

/** The device is the processors of this machine, as many as the process may use. */
TEST(Devices, AreTheProcessorsAsOne) {
    const std::vector<Device> found = devices();
    ASSERT_EQ(found.size(), 1u);
    EXPECT_FALSE(found[0].name.empty());
    EXPECT_EQ(found[0].multiprocessors, platform::usable_processors());
    EXPECT_GT(found[0].memory, 1u << 20);
}

TEST(Devices, MayBeMissing) {
    platform::present_devices(0);
    EXPECT_TRUE(devices().empty());
    const std::optional<Plan> plan = plan_run({.size = 64});
    platform::present_devices(1);
    ASSERT_TRUE(plan);
    EXPECT_EQ(plan->devices, 0);
    EXPECT_EQ(plan->islands, 0);
}

TEST(Plan, NamesTheBandThatTheRunTakes) {
    for (const auto& band : qubo_multi::band_table()) {
        if (band.size > 1024) continue;
        const int bits = band.matrix_bits == 64 ? 64 : 8;
        Model model(band.size, bits);
        model.set(0, 0, -1);
        Param param;
        param.set("trial_limit", "1");
        param.set("arithmetic_bits", std::to_string(band.arith_bits));
        const Sol result = Solver(false)(model, param);
        const std::optional<Plan> plan =
            plan_run({.size = band.size, .matrix_bits = bits, .arithmetic_bits = band.arith_bits});
        ASSERT_TRUE(plan);
        EXPECT_EQ(plan->band(), "qb" + result.get("solver_size") + "_" + result.get("solver_bits") +
                                    "_" + result.get("arithmetic_bits"));
    }
}

TEST(Plan, AsksForWideEnergiesWhereWeightsAreWide) {
    EXPECT_EQ(plan_run({.size = 10, .matrix_bits = 64})->arithmetic_bits, 64);
    EXPECT_EQ(plan_run({.size = 10, .matrix_bits = 16})->arithmetic_bits, 32);
    EXPECT_EQ(plan_run({.size = 10, .matrix_bits = 16, .arithmetic_bits = 64})->band(),
              "qb64_32_64");
}

TEST(Plan, IsNoneWhereNoBandHoldsTheModel) {
    EXPECT_FALSE(plan_run({.size = 65537}));
    EXPECT_FALSE(plan_run({.size = 10, .arithmetic_bits = 128}));
}

TEST(Plan, DealsBlocksToIslandsAsTheRunDoes) {
    const int processors = platform::usable_processors();
    const std::optional<Plan> plan = plan_run({.size = 256});  // 16 blocks on each processor
    ASSERT_TRUE(plan);
    EXPECT_EQ(plan->threads_per_block, 64);
    EXPECT_EQ(plan->islands, 5);
    EXPECT_GE(plan->islands * plan->blocks_per_island, 16 * processors);

    const std::optional<Plan> chosen =
        plan_run({.size = 256, .islands_per_gpu = 3, .blocks_per_island = 7});
    EXPECT_EQ(chosen->islands, 3);
    EXPECT_EQ(chosen->blocks_per_island, 7);
}

TEST(Plan, SeesAShapeThatCannotBeLaunched) {
    EXPECT_EQ(plan_run({.size = 64, .islands_per_gpu = -1})->islands, 0);
    EXPECT_EQ(plan_run({.size = 64, .islands_per_gpu = 1 << 20, .blocks_per_island = 1 << 20})
                  ->blocks_per_island,
              0);
}

TEST(Plan, SharesRowsAndDeltasOutByTheStatistics) {
    const auto plan = [](std::uint64_t largest, std::uint64_t entries, std::uint64_t sum) {
        return *plan_run(
            {.size = 256,
             .rows = {.largest = largest, .entries = entries, .largest_row_sum = sum}});
    };
    constexpr std::uint64_t ALL = 256 * 255;
    EXPECT_EQ(plan(100, ALL, 100'000).rows, "8-bit");
    EXPECT_EQ(plan(100, ALL, 100'000).rows_bytes, 256u * 256);
    EXPECT_EQ(plan(100, ALL, 100'000).matrix_bytes, 256u * 4 + 4) << "the diagonal alone";
    EXPECT_EQ(plan(100, ALL, 1u << 31).matrix_bytes, (256u * 256 + 256) * 4 + 4);
    EXPECT_EQ(plan(1000, ALL, 1'000'000).rows, "16-bit");
    EXPECT_EQ(plan(100'000, ALL, 100'000'000).rows, "32-bit");
    EXPECT_EQ(plan(100'000, ALL, 100'000'000).rows_bytes, 0u);
    EXPECT_EQ(plan(100'000, ALL, 100'000'000).matrix_bytes, (256u * 256 + 256) * 4 + 4);
    EXPECT_EQ(plan(1, 512, 4).rows, "sparse");
    EXPECT_EQ(plan(1, 512, 4).delta_bits, 16);
    EXPECT_EQ(plan(1, ALL, 255).delta_bits, 16);
    EXPECT_EQ(plan(100, ALL, 100'000).delta_bits, 32);
}

TEST(Plan, CountsTheMemoryOfMatrixPoolsAndBlocks) {
    const Plan plan = *plan_run({.size = 250, .matrix_bits = 16});
    EXPECT_EQ(plan.matrix_bytes, (256u * 256 + 256) * 4 + 4) << "sums may have to be tested";
    EXPECT_EQ(plan.device_bytes, 0u);
    const Plan larger_pools = *plan_run({.size = 250, .matrix_bits = 16, .pool_size = 1100});
    EXPECT_EQ(larger_pools.search_bytes - plan.search_bytes,
              static_cast<std::uint64_t>(plan.islands) * 1000 * (256 / 8 + 64));
    const Plan more_blocks =
        *plan_run({.size = 250, .matrix_bits = 16, .islands_per_gpu = 5, .blocks_per_island = 500});
    EXPECT_GT(more_blocks.search_bytes, plan.search_bytes);
    // The largest model does not overflow.
    const std::optional<Plan> largest = plan_run({.size = 65536, .matrix_bits = 64});
    if (largest) {
        EXPECT_GT(largest->matrix_bytes, std::uint64_t{1} << 35);
    }
}

}  // namespace
}  // namespace orvex::test
