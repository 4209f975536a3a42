// Stating a problem: which lists of coefficients become which model, what is loaded, and what is
// refused before anything is allocated.
#include <limits>
#include <string>
#include <vector>

#include "front/flat_bands.hpp"

namespace {

using namespace flat_tests;
using testing::Each;
using testing::ElementsAre;

using FlatCreate = FLAT_TEST;

/** The model that create loads, which must be the only call that reaches a band. */
BAND_CALL loaded(std::uint32_t n, const std::vector<LINEAR>& linear,
                 const std::vector<QUADRATIC>& quadratic = {}, std::int32_t gpus = 0) {
    bands().calls.clear();
    const HANDLE handle = create(n, linear, quadratic, gpus);
    EXPECT_NE(handle, nullptr) << tarvik_orvex_last_error();
    EXPECT_EQ(bands().calls.size(), 1u);
    return bands().calls.at(0);
}

TEST_F(FlatCreate, LoadsTheModelIntoTheBandOfDefaultArithmetic) {
    const BAND_CALL call = loaded(3, {{0, 5}, {2, -7}}, {{0, 1, 3}, {2, 1, 4}});
    EXPECT_EQ(call.what, "prepare");
    EXPECT_EQ(call.size, 64);
    EXPECT_EQ(call.matrix_bits, 32);
    EXPECT_EQ(call.arith_bits, 32);
    EXPECT_THAT(call.weights, ElementsAre(5, 3, 0,  //
                                          3, 0, 4,  //
                                          0, 4, -7));
    EXPECT_TRUE(call.params.empty());
}

TEST_F(FlatCreate, TakesTheNarrowestWidthThatHoldsZeroAndAllValues) {
    EXPECT_EQ(loaded(2, {{0, 127}, {1, -128}}).model_bits, 8);
    EXPECT_EQ(loaded(2, {{0, 128}}).model_bits, 16);
    EXPECT_EQ(loaded(2, {{0, -129}}).model_bits, 16);
    EXPECT_EQ(loaded(2, {}, {{0, 1, 32768}}).model_bits, 32);
    EXPECT_EQ(loaded(2, {{0, 1}}, {{0, 1, -2147483648}}).model_bits, 32);
    EXPECT_EQ(loaded(2, {{0, 2147483648}}).model_bits, 64);
    EXPECT_EQ(loaded(2, {{0, std::numeric_limits<std::int64_t>::min()}}).model_bits, 64);
}

TEST_F(FlatCreate, A64BitModelIsLoadedFor64BitArithmetic) {
    const BAND_CALL call = loaded(2, {{0, 2147483648}});
    EXPECT_EQ(call.matrix_bits, 64);
    EXPECT_EQ(call.arith_bits, 64);
    EXPECT_THAT(call.weights, ElementsAre(2147483648, 0, 0, 0));
}

TEST_F(FlatCreate, WithoutCoefficientsIsAModelOfZerosOf8Bits) {
    const BAND_CALL call = loaded(5, {});
    EXPECT_EQ(call.variables, 5);
    EXPECT_EQ(call.model_bits, 8);
    EXPECT_THAT(call.weights, Each(0));
}

TEST_F(FlatCreate, OfARepeatedTermTheLastValueStays) {
    EXPECT_THAT(loaded(2, {{0, 5}, {0, 6}}, {{0, 1, 7}, {1, 0, 8}}).weights,
                ElementsAre(6, 8, 8, 0));
}

TEST_F(FlatCreate, APairOfOneVariableTakesThePlaceOfItsLinearTerm) {
    EXPECT_THAT(loaded(2, {{1, 5}}, {{1, 1, 9}}).weights, ElementsAre(0, 0, 0, 9));
}

TEST_F(FlatCreate, ValuesThatAreReplacedCountForTheWidth) {
    const BAND_CALL call = loaded(2, {{0, 1000}, {0, 1}});
    EXPECT_EQ(call.model_bits, 16);
    EXPECT_THAT(call.weights, ElementsAre(1, 0, 0, 0));
}

TEST_F(FlatCreate, PassesANumberOfGpusOnOnlyWhenItIsPositive) {
    EXPECT_THAT(loaded(2, {}, {}, 3).params, ElementsAre(testing::Pair("gpus", "3")));
    EXPECT_TRUE(loaded(2, {}, {}, 0).params.empty());
    EXPECT_TRUE(loaded(2, {}, {}, -1).params.empty());
}

TEST_F(FlatCreate, WithoutTermsNeedsNoArrays) {
    const HANDLE handle(tarvik_orvex_create(5, 0, nullptr, nullptr, 0, nullptr, nullptr, 0));
    EXPECT_NE(handle, nullptr);
}

TEST_F(FlatCreate, DestroyGivesBackWhatEveryBandKeeps) {
    HANDLE handle = create(5);
    handle.reset();
    EXPECT_EQ(bands().of("release").size(), 9u);
}

TEST_F(FlatCreate, DestroyTakesNull) {
    tarvik_orvex_destroy(nullptr);
    EXPECT_TRUE(bands().calls.empty());
}

/** Passes if creating was refused with this text, and reached no band. */
void expect_refused(const HANDLE& handle, const std::string& text) {
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(tarvik_orvex_last_error(), text);
    EXPECT_TRUE(bands().calls.empty());
}

using FlatCreateRefuses = FLAT_TEST;

TEST_F(FlatCreateRefuses, NoVariables) {
    expect_refused(create(0), "ORVEX: model has no variables");
}

TEST_F(FlatCreateRefuses, MoreVariablesThanTheLargestBandHolds) {
    expect_refused(
        create(65537),
        "ORVEX: model has 65537 variables but the largest kernel in this build is 65536");
}

TEST_F(FlatCreateRefuses, NumbersOfVariablesThatAreNegativeAsSignedOnes) {
    expect_refused(
        create(2147483648u),
        "ORVEX: model has 2147483648 variables but the largest kernel in this build is 65536");
    expect_refused(
        create(4294967295u),
        "ORVEX: model has 4294967295 variables but the largest kernel in this build is 65536");
}

/** Memory that nothing is written to costs nothing, so this is no matter of gigabytes. */
TEST_F(FlatCreate, TakesTheLargestNumberOfVariables) {
    loaded(65536, {{65535, -1}});
}

TEST_F(FlatCreateRefuses, LinearTermsOfVariablesThatAreNotThere) {
    expect_refused(create(5, {{0, 1}, {4, 1}, {5, 1}}),
                   "ORVEX: linear_index[2] is 5 but the model has 5 variables");
    expect_refused(create(5, {{4294967295u, 1}}),
                   "ORVEX: linear_index[0] is 4294967295 but the model has 5 variables");
}

TEST_F(FlatCreateRefuses, QuadraticTermsOfVariablesThatAreNotThere) {
    expect_refused(create(5, {}, {{0, 1, 1}, {4, 7, 1}}),
                   "ORVEX: quadratic_pairs[3] is 7 but the model has 5 variables");
    expect_refused(create(5, {}, {{0, 1, 1}, {6, 4, 1}}),
                   "ORVEX: quadratic_pairs[2] is 6 but the model has 5 variables");
}

TEST_F(FlatCreateRefuses, TermsWithoutTheirArrays) {
    const std::uint32_t index[] = {0, 1};
    const std::int64_t value[] = {1};
    const auto created = [](auto... arguments) {
        return HANDLE(tarvik_orvex_create(5, arguments..., 0));
    };
    expect_refused(created(3u, nullptr, value, 0u, nullptr, nullptr),
                   "ORVEX: linear_index is null but linear_count is 3");
    expect_refused(created(1u, index, nullptr, 0u, nullptr, nullptr),
                   "ORVEX: linear_value is null but linear_count is 1");
    expect_refused(created(0u, nullptr, nullptr, 1u, nullptr, value),
                   "ORVEX: quadratic_pairs is null but quadratic_count is 1");
    expect_refused(created(0u, nullptr, nullptr, 1u, index, nullptr),
                   "ORVEX: quadratic_value is null but quadratic_count is 1");
}

TEST_F(FlatCreateRefuses, OneProblemAndLeavesAnotherUsable) {
    const HANDLE handle = create(5);
    EXPECT_EQ(create(0), nullptr);
    EXPECT_EQ(search(handle), 0);
}

}  // namespace
