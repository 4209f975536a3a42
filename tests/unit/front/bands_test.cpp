#include "front/bands.hpp"

#include "support/band_tables.hpp"
#include "support/refusal.hpp"

namespace qubo_multi {
namespace {

using orvex::tests::complete_table;
using orvex::tests::exactly;
using orvex::tests::TRIPLE;

/** The parameters of a run, with or without a wish for the width of energies. */
orvex::Param without_wish() {
    return {};
}
orvex::Param wish(const std::string& bits) {
    orvex::Param param;
    param.set("arithmetic_bits", bits);
    return param;
}

/** The band of the complete table that a run on a model goes to. */
TRIPLE band_of(int size, int bits, const orvex::Param& param) {
    const BAND_TABLE table = complete_table();
    const Band* band = smallest_band(table, size, bits, requested_arith_bits(param.impl(), bits));
    return band == nullptr ? TRIPLE{} : orvex::tests::triple_of(*band);
}

TEST(RequestedArithBits, Are64ForModelsOf64BitsAndElse32) {
    EXPECT_EQ(requested_arith_bits(without_wish().impl(), 8), 32);
    EXPECT_EQ(requested_arith_bits(without_wish().impl(), 16), 32);
    EXPECT_EQ(requested_arith_bits(without_wish().impl(), 32), 32);
    EXPECT_EQ(requested_arith_bits(without_wish().impl(), 64), 64);
}

TEST(RequestedArithBits, AreTheParameterWhenItIsSet) {
    EXPECT_EQ(requested_arith_bits(wish("64").impl(), 8), 64);
    EXPECT_EQ(requested_arith_bits(wish("32").impl(), 64), 32);
    EXPECT_EQ(requested_arith_bits(wish("-5").impl(), 64), -5);
    EXPECT_EQ(requested_arith_bits(wish("16 bits").impl(), 8), 16);
}

TEST(RequestedArithBits, OfATextThatIsNoNumberAre0) {
    EXPECT_EQ(requested_arith_bits(wish("wide").impl(), 64), 0);
    EXPECT_EQ(requested_arith_bits(wish("").impl(), 64), 0);
}

TEST(SmallestBand, HoldsTheModelAndNoMore) {
    EXPECT_EQ(band_of(1, 8, without_wish()), (TRIPLE{64, 32, 32}));
    EXPECT_EQ(band_of(100, 8, without_wish()), (TRIPLE{128, 32, 32}));
    EXPECT_EQ(band_of(128, 32, without_wish()), (TRIPLE{128, 32, 32}));
    EXPECT_EQ(band_of(129, 16, without_wish()), (TRIPLE{192, 32, 32}));
    EXPECT_EQ(band_of(100, 64, without_wish()), (TRIPLE{128, 64, 64}));
    EXPECT_EQ(band_of(65536, 64, without_wish()), (TRIPLE{65536, 64, 64}));
}

TEST(SmallestBand, OfEachSizeHoldsModelsUpToThatSize) {
    int below = -1;
    for (const int size : orvex::tests::complete_sizes()) {
        EXPECT_EQ(band_of(size, 8, without_wish()), (TRIPLE{size, 32, 32}));
        EXPECT_EQ(band_of(below + 1, 8, without_wish()), (TRIPLE{size, 32, 32}));
        below = size;
    }
}

TEST(SmallestBand, TakesTheWishAsALowerBound) {
    EXPECT_EQ(band_of(100, 32, wish("64")), (TRIPLE{128, 32, 64}));
    EXPECT_EQ(band_of(100, 64, wish("32")), (TRIPLE{128, 64, 64}));
    EXPECT_EQ(band_of(100, 8, wish("16")), (TRIPLE{128, 32, 32}));
    EXPECT_EQ(band_of(100, 8, wish("33")), (TRIPLE{128, 32, 64}));
}

TEST(SmallestBand, OfAWishOf0OrLessIsTheNarrowest) {
    for (const char* bits : {"0", "-64", "no number"}) {
        EXPECT_EQ(band_of(100, 8, wish(bits)), (TRIPLE{128, 32, 32}));
        EXPECT_EQ(band_of(100, 64, wish(bits)), (TRIPLE{128, 64, 64}));
    }
}

TEST(SmallestBand, IsNoneForWhatNoBandHolds) {
    EXPECT_EQ(band_of(65537, 8, without_wish()), TRIPLE{});
    EXPECT_EQ(band_of(100, 8, wish("65")), TRIPLE{});
}

TEST(SmallestBand, DoesNotDependOnTheOrderOfTheTable) {
    const BAND_TABLE table = complete_table();
    const BAND_TABLE reversed(table.rbegin(), table.rend());
    for (const int size : {1, 64, 65, 4096, 4097, 65536}) {
        EXPECT_EQ(orvex::tests::triple_of(*smallest_band(table, size, 8, 32)),
                  orvex::tests::triple_of(*smallest_band(reversed, size, 8, 32)));
    }
}

TEST(SmallestBand, PrefersNarrowWeightsToNarrowEnergies) {
    const BAND_TABLE table = {{64, 64, 32, nullptr, nullptr, nullptr},
                              {64, 32, 64, nullptr, nullptr, nullptr}};
    EXPECT_EQ(smallest_band(table, 1, 8, 32), &table[1]);
}

TEST(SmallestBand, OfEqualOnesIsTheFirst) {
    const BAND_TABLE table = {{128, 32, 32, nullptr, nullptr, nullptr},
                              {64, 32, 32, nullptr, nullptr, nullptr},
                              {64, 32, 32, nullptr, nullptr, nullptr}};
    EXPECT_EQ(smallest_band(table, 1, 8, 32), &table[1]);
}

TEST(RefusalText, NamesWhatWasNeededAndWhatThereIs) {
    EXPECT_EQ(refusal_text(complete_table(), 100, 8, 128),
              "Error: no ORVEX kernel can hold this QUBO (needs size >= 100, matrix bits >= 8, "
              "arithmetic bits >= 128). This build has size <= 65536 and (matrix, arithmetic) bit "
              "widths 32_32 32_64 64_64.\n");
}

TEST(RefusalText, OfATableWithoutBandsHasNoWidths) {
    EXPECT_EQ(refusal_text({}, 1, 8, 32),
              "Error: no ORVEX kernel can hold this QUBO (needs size >= 1, matrix bits >= 8, "
              "arithmetic bits >= 32). This build has size <= 0 and (matrix, arithmetic) bit "
              "widths.\n");
}

TEST(ArithBitsList, IsAscendingAndJoinedByCommaAndBlank) {
    EXPECT_EQ(arith_bits_list(complete_table()), "32, 64");
    EXPECT_EQ(arith_bits_list({{64, 64, 64, nullptr, nullptr, nullptr},
                               {64, 32, 128, nullptr, nullptr, nullptr},
                               {64, 32, 16, nullptr, nullptr, nullptr}}),
              "16, 64, 128");
    EXPECT_EQ(arith_bits_list(BAND_TABLE{}), "");
}

TEST(FindBand, EndsTheProcessWhenNoBandOfThisBuildHolds) {
    EXPECT_EXIT(find_band(100, 8, 128), testing::ExitedWithCode(1),
                exactly(refusal_text(band_table(), 100, 8, 128)));
}

TEST(FindBand, IsTheSmallestOfThisBuild) {
    EXPECT_EQ(&find_band(1, 8, 32), smallest_band(band_table(), 1, 8, 32));
}

}  // namespace
}  // namespace qubo_multi
