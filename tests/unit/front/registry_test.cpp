#include "orvex/registry.hpp"

#include <algorithm>

#include <gtest/gtest.h>

#include "front/bands.hpp"
#include "support/band_tables.hpp"

namespace qubo_multi {
namespace {

using orvex::tests::build_is_complete;
using orvex::tests::TRIPLE;

std::vector<TRIPLE> bands_of_build() {
    std::vector<TRIPLE> bands(static_cast<std::size_t>(band_count()));
    for (int index = 0; index < band_count(); ++index) {
        TRIPLE& band = bands[static_cast<std::size_t>(index)];
        band_at(index, band[0], band[1], band[2]);
    }
    return bands;
}

TEST(Registry, HasBandsWhenMainBegins) {
    EXPECT_GT(band_count(), 0);
}

TEST(Registry, HasEachOfThe150BandsOnce) {
    if (!build_is_complete()) GTEST_SKIP() << "this build has fewer bands";
    std::vector<TRIPLE> expected;
    for (const Band& band : orvex::tests::complete_table()) {
        expected.push_back(orvex::tests::triple_of(band));
    }
    std::vector<TRIPLE> bands = bands_of_build();
    std::sort(bands.begin(), bands.end());
    EXPECT_EQ(bands, expected);
}

TEST(Registry, BandsOfTheBuildAreAmongThe150) {
    const auto complete = orvex::tests::complete_table();
    for (const TRIPLE& triple : bands_of_build()) {
        EXPECT_TRUE(std::any_of(complete.begin(), complete.end(), [&](const Band& band) {
            return orvex::tests::triple_of(band) == triple;
        }));
    }
}

TEST(Registry, BandsStandInTheOrderOfTheirNames) {
    std::vector<std::string> names;
    for (const auto& [size, matrix_bits, arith_bits] : bands_of_build()) {
        names.push_back("qb" + std::to_string(size) + "_" + std::to_string(matrix_bits) + "_" +
                        std::to_string(arith_bits));
    }
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
}

TEST(Registry, EveryBandCanBeCalled) {
    for (const Band& band : band_table()) {
        EXPECT_NE(band.solve, nullptr);
        EXPECT_NE(band.prepare, nullptr);
        EXPECT_NE(band.release, nullptr);
    }
}

TEST(Registry, HasArithBitsOnlyIfABandHasExactlyThese) {
    if (!build_is_complete()) GTEST_SKIP() << "this build has fewer bands";
    EXPECT_TRUE(has_arith_bits(32));
    EXPECT_TRUE(has_arith_bits(64));
    EXPECT_FALSE(has_arith_bits(0));
    EXPECT_FALSE(has_arith_bits(128));
}

TEST(Registry, HasNo16ArithBitsThoughARequestForThemSucceeds) {
    EXPECT_FALSE(has_arith_bits(16));
    EXPECT_GE(find_band(1, 8, 16).arith_bits, 32);
}

TEST(Registry, ListsArithBits) {
    if (!build_is_complete()) GTEST_SKIP() << "this build has fewer bands";
    EXPECT_EQ(arith_bits_list(), "32, 64");
}

}  // namespace
}  // namespace qubo_multi
