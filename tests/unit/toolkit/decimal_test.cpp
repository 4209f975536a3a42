// Decimal numbers become weights only where they are whole, exactly.
#include "toolkit/io/formats/decimal.hpp"

#include <string>

#include <gtest/gtest.h>

namespace orvex::toolkit::test {
namespace {

struct Case {
    const char* word;
    long times;
    Decimal kind;
    long value;
};

TEST(Decimal, WholeNumbersInAllTheirForms) {
    constexpr long MOST = 9223372036854775807;
    for (const auto& [word, times, kind, value] : {
             Case{"0", 1, Decimal::WHOLE, 0},
             {"-128.0", 1, Decimal::WHOLE, -128},
             {"+7", 1, Decimal::WHOLE, 7},
             {"5.", 1, Decimal::WHOLE, 5},
             {".0", 2, Decimal::WHOLE, 0},
             {"007", 1, Decimal::WHOLE, 7},
             {"1.5e+01", 1, Decimal::WHOLE, 15},
             {"1200e-2", -1, Decimal::WHOLE, -12},
             {"1E3", 2, Decimal::WHOLE, 2000},
             {"0.5", 2, Decimal::WHOLE, 1},
             {"-2.5", -2, Decimal::WHOLE, 5},
             {"0e999999999999", 1, Decimal::WHOLE, 0},
             {"9223372036854775807", 1, Decimal::WHOLE, MOST},
             {"-9223372036854775808", 1, Decimal::WHOLE, -MOST - 1},
             {"9223372036854775808", -1, Decimal::WHOLE, -MOST - 1},
             {"9223372036854775808", 1, Decimal::TOO_LARGE, 0},
             {"4611686018427387904", 2, Decimal::TOO_LARGE, 0},
             {"1e40", 1, Decimal::TOO_LARGE, 0},
             {"1e999999999999", 1, Decimal::TOO_LARGE, 0},
             {"0.5", 1, Decimal::FRACTION, 0},
             {"0.25", 2, Decimal::FRACTION, 0},
             {"0.3", 2, Decimal::FRACTION, 0},
             {"1e-3", 2, Decimal::FRACTION, 0},
             {"1e-999999999999", 1, Decimal::FRACTION, 0},
             {"", 1, Decimal::NO_NUMBER, 0},
             {"-", 1, Decimal::NO_NUMBER, 0},
             {".", 1, Decimal::NO_NUMBER, 0},
             {"1.2.3", 1, Decimal::NO_NUMBER, 0},
             {"1e", 1, Decimal::NO_NUMBER, 0},
             {"1e+", 1, Decimal::NO_NUMBER, 0},
             {"1e+-2", 1, Decimal::NO_NUMBER, 0},
             {"1e5x", 1, Decimal::NO_NUMBER, 0},
             {"nan", 1, Decimal::NO_NUMBER, 0},
             {"inf", 1, Decimal::NO_NUMBER, 0},
             {"0x10", 1, Decimal::NO_NUMBER, 0},
             {"1,5", 1, Decimal::NO_NUMBER, 0},
         }) {
        long read = 0;
        EXPECT_EQ(read_decimal(word, times, read), kind) << word;
        if (kind == Decimal::WHOLE) {
            EXPECT_EQ(read, value) << word;
        }
    }
}

TEST(Decimal, AFactorMakesWholeNumbersExactly) {
    for (const auto& [word, times, kind, value] : {
             Case{"0.25", 4, Decimal::WHOLE, 1},
             {"-12.75", 100, Decimal::WHOLE, -1275},
             {"0.333", 3, Decimal::FRACTION, 0},
             {"0.0009765625", 1024, Decimal::WHOLE, 1},
             {"1e-15", 1'000'000'000'000'000, Decimal::WHOLE, 1},
             {"9223.372036854775807", 1'000'000'000'000'000, Decimal::WHOLE, 9223372036854775807},
             {"9223.372036854775808", 1'000'000'000'000'000, Decimal::TOO_LARGE, 0},
         }) {
        long read = 0;
        EXPECT_EQ(read_decimal(word, times, read), kind) << word;
        if (kind == Decimal::WHOLE) {
            EXPECT_EQ(read, value) << word;
        }
    }
}

TEST(Decimal, ANumberIsDigitsAndAPoint) {
    DecimalNumber number;
    ASSERT_TRUE(read_decimal("-0012.7500e-1", number));
    EXPECT_EQ(to_string(number.digits), "-1275");
    EXPECT_EQ(number.behind, 3);
    EXPECT_EQ(number.magnitude, 1);  // 1.275 is below 10
    ASSERT_TRUE(read_decimal("1200", number));
    EXPECT_EQ(to_string(number.digits), "12");
    EXPECT_EQ(number.behind, -2);
    EXPECT_FALSE(number.cut);
    ASSERT_TRUE(read_decimal("0.1234567890123456789012345678", number));
    EXPECT_TRUE(number.cut);
    EXPECT_EQ(number.behind, DecimalNumber::MOST_DIGITS);
    EXPECT_FALSE(read_decimal("1.5x", number));
}

TEST(Decimal, AShiftedNumberIsRoundedToTheNearest) {
    bool rounded = false;
    EXPECT_EQ(to_string(shifted(125, 3, rounded)), "125000");
    EXPECT_EQ(to_string(shifted(-12500, -2, rounded)), "-125");
    EXPECT_FALSE(rounded);
    EXPECT_EQ(to_string(shifted(125, -1, rounded)), "13");
    EXPECT_EQ(to_string(shifted(-124, -1, rounded)), "-12");
    EXPECT_TRUE(rounded);
    rounded = false;
    EXPECT_EQ(to_string(shifted(1, -400, rounded)), "0");
    EXPECT_TRUE(rounded);
}

TEST(Decimal, CoordinatesAreFiniteNumbers) {
    double value = 0;
    EXPECT_TRUE(read_real("-5.21", value));
    EXPECT_EQ(value, -5.21);
    EXPECT_TRUE(read_real("+1e2", value));
    EXPECT_EQ(value, 100);
    for (const char* word : {"", "x", "1x", "nan", "inf", "1e999"})
        EXPECT_FALSE(read_real(word, value)) << word;
}

}  // namespace
}  // namespace orvex::toolkit::test
