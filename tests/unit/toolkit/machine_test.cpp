// Bands and memory as the program foretells them.
#include "toolkit/model/machine.hpp"

#include <gtest/gtest.h>

namespace orvex::toolkit::test {
namespace {

const std::vector<int> SIZES = {64, 128, 192};

std::string band(int size, int width, int arithmetic_bits) {
    const std::optional<Band> found = band_for(SIZES, size, width, arithmetic_bits);
    return found ? found->name() : "none";
}

TEST(BandFor, IsTheSmallestThatHoldsTheModel) {
    EXPECT_EQ(band(1, 8, 32), "qb64_32_32");
    EXPECT_EQ(band(64, 32, 32), "qb64_32_32");
    EXPECT_EQ(band(65, 16, 32), "qb128_32_32");
    EXPECT_EQ(band(100, 32, 64), "qb128_32_64");
    EXPECT_EQ(band(100, 64, 32), "qb128_64_64");
    EXPECT_EQ(band(192, 8, 16), "qb192_32_32");
    EXPECT_EQ(band(192, 8, 0), "qb192_32_32");
    EXPECT_EQ(band(193, 8, 32), "none");
    EXPECT_EQ(band(1, 8, 128), "none");
}

// The library tells which band it took only by a run.
TEST(BandFor, AgreesWithTheLibrary) {
    Solver solver(false);
    const std::vector<int> sizes = band_sizes(solver);
    ASSERT_FALSE(sizes.empty());
    EXPECT_EQ(std::to_string(sizes.back()), solver.get("max_size"));
    for (const int width : {8, 64}) {
        for (const int arithmetic : {32, 64}) {
            const int size = sizes.front();
            Model model(size, width);
            model.set(0, 0, -1);
            Param param;
            param.set("trial_limit", "1");
            param.set("arithmetic_bits", std::to_string(arithmetic));
            const Sol result = solver(model, param);
            const Band taken = {std::stoi(result.get("solver_size")),
                                std::stoi(result.get("solver_bits")),
                                std::stoi(result.get("arithmetic_bits"))};
            const std::optional<Band> foretold = band_for(sizes, size, width, arithmetic);
            ASSERT_TRUE(foretold);
            EXPECT_EQ(foretold->name(), taken.name());
        }
    }
}

TEST(MemoryOfRun, IsThatOfTheMatrices) {
    const Memory memory = memory_of_run(10000, 16, {10240, 32, 32});
    EXPECT_EQ(memory.model, 200'000'000);
    EXPECT_EQ(memory.record, 419'471'364);
    EXPECT_EQ(memory.total(), memory.model + memory.record + memory.rest);
    EXPECT_EQ(memory_of_run(10000, 64, {10240, 64, 64}).record, 2 * 419'471'364L - 4);
    // The largest model does not overflow.
    EXPECT_EQ(memory_of_run(65536, 64, {65536, 64, 64}).model, 1L << 35);
}

TEST(BlocksOfRun, TakeWhatTheirStateTakes) {
    const auto blocks = [](int size, int arithmetic) {
        return blocks_of_run({size, arithmetic, arithmetic});
    };
    EXPECT_EQ(blocks(64, 32).count, 16 * blocks(65536, 32).count);
    EXPECT_EQ(blocks(65536, 32).count, blocks(4096, 32).count);
    EXPECT_GT(blocks(65536, 32).memory, 65536 * (4 + 4 / 4 + 2 + 5));
    EXPECT_LT(blocks(65536, 64).memory, 65536 * 32);
    const Band largest = {65536, 64, 64};
    EXPECT_GT(memory_of_run(65536, 64, largest).rest,
              blocks_of_run(largest).count * blocks_of_run(largest).memory);
}

TEST(RowsOfRun, AreTheNarrowestThatHoldTheCouplings) {
    if (!rows_of_run({64, 32, 32}, {})) GTEST_SKIP() << "GPUs read the band's matrix";
    constexpr long ALL = 10240L * 10240;
    const auto rows = [](Wide largest, long count, int matrix_bits = 32) {
        const Couplings couplings{.count = count, .largest = largest};
        return rows_of_run({10240, matrix_bits, 64}, couplings).value();
    };
    EXPECT_EQ(rows(127, ALL / 2).form, "8-bit");
    EXPECT_EQ(rows(127, ALL / 2).memory, ALL);
    EXPECT_EQ(rows(128, ALL / 2).form, "16-bit");
    EXPECT_EQ(rows(128, ALL / 2).memory, 2 * ALL);
    EXPECT_EQ(rows(32768, ALL / 2).form, "32-bit");
    EXPECT_EQ(rows(32768, ALL / 2).memory, 0) << "the band's own rows serve";
    EXPECT_EQ(rows(32768, ALL / 2, 64).form, "64-bit");
    EXPECT_EQ(rows(1, ALL / 2 / 24).form, "8-bit");
    EXPECT_EQ(rows(1, ALL / 2 / 24 - 1).form, "sparse");
    EXPECT_EQ(rows(1, 10'000).memory, 10241 * 8 + 2 * 10'000 * 8);
}

TEST(Machine, HasMemory) {
    EXPECT_GT(machine_memory(), 100L << 20);
    EXPECT_GT(free_memory(), 0);
    EXPECT_LE(free_memory(), machine_memory());
}

TEST(BytesText, HasThreeDigits) {
    EXPECT_EQ(bytes_text(0), "0 KiB");
    EXPECT_EQ(bytes_text(1536), "1.5 KiB");
    EXPECT_EQ(bytes_text(64L << 20), "64 MiB");
    EXPECT_EQ(bytes_text(1000L << 20), "0.977 GiB");
    EXPECT_EQ(bytes_text(34359738368), "32 GiB");
}

}  // namespace
}  // namespace orvex::toolkit::test
