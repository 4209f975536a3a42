// Parameter values as text: how they are cut into tokens, converted, and refused.
#include "engine/values.hpp"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "engine/support/death.hpp"

namespace {

using namespace orvex::engine;

template <class T>
T parsed(const std::string& value) {
    T out{};
    parse_param(PARAM_ENTRY{"key", value}, out);
    return out;
}

template <class T>
std::pair<T, T> parsed_pair(const std::string& value) {
    std::pair<T, T> out{};
    parse_param(PARAM_ENTRY{"key", value}, out.first, out.second);
    return out;
}

const char* const WRONG_KEY = "wrong parameter [key].";

TEST(Values, AnIntegerIsTheFirstTokenAndTheRestIsIgnored) {
    EXPECT_EQ(parsed<int>("100"), 100);
    EXPECT_EQ(parsed<int>("100 junk"), 100);
    EXPECT_EQ(parsed<int>("-7\tx"), -7);
    EXPECT_EQ(parsed<int>("+7"), 7);
}

TEST(Values, BlanksTabsLineFeedsAndCarriageReturnsSeparate) {
    EXPECT_EQ(parsed<int>(" \t\n\r12\r\n"), 12);
    EXPECT_EQ(parsed_pair<int>("1\n\r\t 2"), std::make_pair(1, 2));
}

TEST(Values, NoOtherWhiteSpaceSeparates) {
    EXPECT_ERROR(parsed<int>("1\v2"), WRONG_KEY);
    EXPECT_ERROR(parsed<int>("1\f"), WRONG_KEY);
}

TEST(Values, IntegersAreCutToTheirWidthWithoutATest) {
    EXPECT_EQ(parsed<unsigned int>("-1"), 4294967295u);
    EXPECT_EQ(parsed<short>("70000"), 4464);
    EXPECT_EQ(parsed<int>("4294967301"), 5);
    EXPECT_EQ(parsed<long>("-9223372036854775808"), std::numeric_limits<long>::min());
    EXPECT_EQ(parsed<long>("9223372036854775807"), std::numeric_limits<long>::max());
}

TEST(Values, AnIntegerBeyond64BitsIsWrong) {
    EXPECT_ERROR(parsed<long>("9223372036854775808"), WRONG_KEY);
    EXPECT_ERROR(parsed<int>("-9223372036854775809"), WRONG_KEY);
}

TEST(Values, AnIntegerIsDecimalAndWhole) {
    EXPECT_EQ(parsed<int>("010"), 10);
    EXPECT_ERROR(parsed<int>("0x10"), WRONG_KEY);
    EXPECT_ERROR(parsed<int>("1.5"), WRONG_KEY);
    EXPECT_ERROR(parsed<int>("12abc"), WRONG_KEY);
    EXPECT_ERROR(parsed<short>("word"), WRONG_KEY);
    EXPECT_ERROR(parsed<unsigned int>("-"), WRONG_KEY);
}

TEST(Values, AFloatIsReadAsDoubleAndNarrowed) {
    EXPECT_EQ(parsed<float>("0.1"), 0.1f);
    EXPECT_EQ(parsed<float>("-2.5e3 x"), -2500.0f);
    EXPECT_EQ(parsed<float>("3"), 3.0f);
    EXPECT_TRUE(std::isinf(parsed<float>("inf")));
    EXPECT_TRUE(std::isnan(parsed<float>("nan")));
}

TEST(Values, AFloatThatIsNoNumberOrOutOfRangeIsWrong) {
    EXPECT_ERROR(parsed<float>("1,5"), WRONG_KEY);
    EXPECT_ERROR(parsed<float>("half"), WRONG_KEY);
    EXPECT_ERROR(parsed<float>("1e999"), WRONG_KEY);
    EXPECT_ERROR(parsed<float>("1e-999"), WRONG_KEY);
}

TEST(Values, ABoolIsOneOfFourWords) {
    EXPECT_TRUE(parsed<bool>("1"));
    EXPECT_TRUE(parsed<bool>(" true"));
    EXPECT_FALSE(parsed<bool>("0"));
    EXPECT_FALSE(parsed<bool>("false junk"));
    EXPECT_ERROR(parsed<bool>("2"), WRONG_KEY);
    EXPECT_ERROR(parsed<bool>("True"), WRONG_KEY);
    EXPECT_ERROR(parsed<bool>("01"), WRONG_KEY);
}

TEST(Values, AValueWithoutATokenIsWrong) {
    EXPECT_ERROR(parsed<int>(""), WRONG_KEY);
    EXPECT_ERROR(parsed<float>(" \t"), WRONG_KEY);
    EXPECT_ERROR(parsed<bool>("\r\n"), WRONG_KEY);
}

TEST(Values, APairIsTwoTokensAndTheRestIsIgnored) {
    EXPECT_EQ(parsed_pair<int>("100 20"), std::make_pair(100, 20));
    EXPECT_EQ(parsed_pair<int>("100 20 30"), std::make_pair(100, 20));
    EXPECT_EQ(parsed_pair<float>("0.5 0.25"), std::make_pair(0.5f, 0.25f));
}

TEST(Values, APairWithACommaOrWithoutASecondTokenIsWrong) {
    EXPECT_ERROR(parsed_pair<int>("1,2"), WRONG_KEY);
    EXPECT_ERROR(parsed_pair<int>("1 "), WRONG_KEY);
    EXPECT_ERROR(parsed_pair<int>("1 x"), WRONG_KEY);
    EXPECT_ERROR(parsed_pair<float>("0.5"), WRONG_KEY);
    EXPECT_ERROR(parsed_pair<float>(""), WRONG_KEY);
}

TEST(Values, TokensAreTakenOneAfterTheOther) {
    const std::string text = " 1\t2.5 x";
    std::size_t pos = 0;
    int whole = 0;
    float real = 0.0f;
    EXPECT_TRUE(parse_string_pos(text, pos, whole));
    EXPECT_EQ(whole, 1);
    EXPECT_EQ(pos, 2u);
    EXPECT_TRUE(parse_string_pos(text, pos, real));
    EXPECT_EQ(real, 2.5f);
    EXPECT_EQ(pos, 6u);
    EXPECT_FALSE(parse_string_pos(text, pos, whole)) << "x is not a number";
    EXPECT_EQ(pos, text.size());
    EXPECT_FALSE(parse_string_pos(text, pos, whole)) << "nothing is left";
}

TEST(Values, APairIsWrittenWithABlankBetween) {
    EXPECT_EQ(to_string(100, 20), "100 20");
    EXPECT_EQ(to_string(-3, 0), "-3 0");
}

TEST(Values, AWrongParameterIsReportedInQuotes) {
    EXPECT_ERROR(wrong_param("some text"), "wrong parameter \"some text\"");
}

}  // namespace
