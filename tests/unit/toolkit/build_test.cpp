// Problems put together from matrices and terms.
#include "toolkit/model/build.hpp"

#include <limits>
#include <random>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "toolkit/model/errors.hpp"
#include "unit/toolkit/random_problem.hpp"

namespace orvex::toolkit::test {
namespace {

using testing::HasSubstr;

/** How a matrix of a model's energies may look. */
enum class Shape { UPPER, LOWER, GENERAL };

/** In a general matrix a third of each weight is above the diagonal. */
template <class T>
std::vector<T> matrix_of(const Model& model, Shape shape) {
    const int n = model.impl().size;
    std::vector<T> elements(static_cast<std::size_t>(n) * static_cast<std::size_t>(n));
    std::size_t k = 0;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j, ++k) {
            const long weight = model.get(i, j);
            const long above = shape == Shape::UPPER   ? weight
                               : shape == Shape::LOWER ? 0
                                                       : weight / 3;
            elements[k] = static_cast<T>(i == j ? weight : i < j ? above : weight - above);
        }
    return elements;
}

/** All that is known of a problem, against what single weights tell. */
void expect_facts_of_weights(const Problem& problem) {
    RowSums sums(problem.size);
    Couplings couplings;
    long nonzero = 0, smallest = 0, largest = 0;
    for (int i = 0; i < problem.size; ++i)
        for (int j = i; j < problem.size; ++j) {
            const long weight = problem.weights.get(i, j);
            EXPECT_EQ(problem.weights.get(j, i), weight);
            sums.change(i, j, 0, weight);
            if (i != j) couplings.change(0, weight);
            nonzero += weight != 0;
            smallest = std::min(smallest, weight);
            largest = std::max(largest, weight);
        }
    EXPECT_EQ(problem.size, problem.weights.matrix().impl().size);
    EXPECT_EQ(problem.width, weight_width(smallest, largest));
    EXPECT_EQ(problem.width, problem.weights.matrix().impl().bits);
    EXPECT_EQ(problem.nonzero, nonzero);
    EXPECT_EQ(problem.entries, nonzero);
    EXPECT_EQ(problem.smallest_weight, smallest);
    EXPECT_EQ(problem.largest_weight, largest);
    EXPECT_EQ(problem.couplings.count, couplings.count);
    EXPECT_TRUE(problem.couplings.positive == couplings.positive);
    EXPECT_TRUE(problem.couplings.negative == couplings.negative);
    EXPECT_TRUE(problem.couplings.largest == couplings.largest);
    const Bound bound = sums.bound();
    EXPECT_TRUE(problem.bound.lowest_energy == bound.lowest_energy);
    EXPECT_TRUE(problem.bound.highest_energy == bound.highest_energy);
    EXPECT_TRUE(problem.bound.largest_delta == bound.largest_delta);
    EXPECT_TRUE(problem.bound.largest_row_sum == bound.largest_row_sum);
}

void expect_same_weights(const Model& model, const Problem& problem) {
    for (int i = 0; i < problem.size; ++i)
        for (int j = 0; j < problem.size; ++j)
            ASSERT_EQ(problem.weights.get(i, j), model.get(i, j)) << i << ", " << j;
}

template <class T>
class ProblemOfMatrix : public testing::Test {};

using Integers = testing::Types<std::int8_t, std::int16_t, std::int32_t, std::int64_t, std::uint8_t,
                                std::uint16_t, std::uint32_t, std::uint64_t>;
TYPED_TEST_SUITE(ProblemOfMatrix, Integers);

/** Sizes around the tiles that triangles are compared in and the stretches that sums run over. */
TYPED_TEST(ProblemOfMatrix, HasItsWeightsAndFacts) {
    for (const long range : {1L, 127L, 128L, 32767L, 32768L, 2147483647L, 2147483648L, 1L << 60}) {
        if (!std::in_range<TypeParam>(range)) continue;
        for (const int size : {1, 2, 64, 65, 300}) {
            Model model(size, 64);
            std::mt19937_64 random(7);
            std::uniform_int_distribution<long> weight(std::is_signed_v<TypeParam> ? -range : 0,
                                                       range);
            for (int i = 0; i < size; ++i)
                for (int j = i; j < size; ++j)
                    model.set(i, j, weight(random));
            model.set(size - 1, size - 1, range);
            for (const Shape shape : {Shape::UPPER, Shape::LOWER, Shape::GENERAL}) {
                const auto elements = matrix_of<TypeParam>(model, shape);
                const Problem problem = problem_of_matrix(size, elements.data());
                expect_same_weights(model, problem);
                expect_facts_of_weights(problem);
            }
        }
    }
}

/** Where the rows that are looked at first are narrow, the model is made anew for the wide one. */
TEST(ProblemOfMatrixRows, MayNeedMoreWidthThanTheFirst) {
    for (const long wide : {-128L, -129L, 200L, -40'000L, 1L << 31, -(1L << 31), 1L << 40}) {
        const int size = 70;
        std::vector<std::int64_t> elements(size * size);
        elements[0] = -1;
        elements[63 * size + 69] = wide;
        const Problem problem = problem_of_matrix(size, elements.data());
        EXPECT_EQ(problem.weights.get(69, 63), wide);
        expect_facts_of_weights(problem);
    }
}

std::string refusal(const std::vector<long>& elements) {
    int size = 0;
    while (static_cast<std::size_t>(size * size) < elements.size())
        ++size;
    try {
        problem_of_matrix(size, elements.data());
        return "";
    } catch (const InputError& error) {
        return error.what();
    }
}

TEST(ProblemOfMatrixRows, AddUpWhatAPairHasInBothTriangles) {
    for (const std::vector<long>& elements :
         {std::vector<long>{1, 4, 0, -2}, {1, 0, 4, -2}, {1, 2, 2, -2}, {1, 7, -3, -2}}) {
        const Problem problem = problem_of_matrix(2, elements.data());
        EXPECT_EQ(problem.weights.get(0, 1), 4);
        EXPECT_EQ(problem.weights.get(1, 0), 4);
        EXPECT_EQ(problem.weights.get(0, 0), 1);
        EXPECT_EQ(problem.weights.get(1, 1), -2);
    }
}

/** The sum of two elements may need more bits than either. */
TEST(ProblemOfMatrixRows, AreWideEnoughForTheirSums) {
    for (const long element : {100L, -128L, 30'000L, 1L << 30, -(1L << 31), 1L << 61}) {
        const int size = 70;
        std::vector<std::int64_t> elements(size * size);
        elements[65 * size + 69] = elements[69 * size + 65] = element;
        const Problem problem = problem_of_matrix(size, elements.data());
        EXPECT_EQ(problem.weights.get(69, 65), 2 * element);
        expect_facts_of_weights(problem);
    }
}

TEST(ProblemOfMatrixRows, AreRefusedWhereAWeightDoesNotFit) {
    EXPECT_THAT(refusal({}), HasSubstr("0 variables"));
    EXPECT_THAT(refusal({0, 1L << 62, 1L << 62, 0}),
                HasSubstr("[1, 0] is 4611686018427387904 and [0, 1] is 4611686018427387904, and "
                          "their sum"));
    const std::uint64_t large[] = {1, 2, 0, std::uint64_t{1} << 63};
    EXPECT_THROW(problem_of_matrix(2, large), InputError);
}

/** Long rows are summed in stretches, which may not lose anything at either end of a type. */
TEST(ProblemOfMatrixRows, AreSummedExactly) {
    for (const int extreme : {-128, 127}) {
        const int size = 1000;
        const std::vector<std::int8_t> elements(size * size, static_cast<std::int8_t>(extreme));
        const Problem problem = problem_of_matrix(size, elements.data());
        EXPECT_TRUE(problem.bound.largest_row_sum == Wide{std::abs(extreme)} * (2 * size - 1));
        expect_facts_of_weights(problem);
    }
}

TEST(ProblemOfTerms, SumsTheTermsOfAPair) {
    const std::vector<std::uint32_t> pairs = {0, 1, 2, 2, 1, 0, 1, 2, 2, 1};
    const std::vector<std::int64_t> values = {100, -7, 100, 5, -5};
    const Problem problem = problem_of_terms(4, pairs, values);
    EXPECT_EQ(problem.weights.get(0, 1), 200);
    EXPECT_EQ(problem.weights.get(2, 2), -7);
    EXPECT_EQ(problem.weights.get(1, 2), 0);
    EXPECT_EQ(problem.nonzero, 2);
    EXPECT_EQ(problem.width, 16);
    expect_facts_of_weights(problem);
}

TEST(ProblemOfTerms, IsThatOfTheMatrix) {
    for (const long range : {100L, 20'000L, 1L << 31, 1L << 40}) {
        const Model model = random_model(70, range);
        std::vector<std::uint32_t> pairs;
        std::vector<std::int64_t> values;
        for (int i = 69; i >= 0; --i)
            for (int j = i; j < 70; ++j) {
                pairs.insert(pairs.end(), {static_cast<unsigned>(j), static_cast<unsigned>(i)});
                values.push_back(model.get(i, j));
            }
        const Problem problem = problem_of_terms(70, pairs, values);
        expect_same_weights(model, problem);
        expect_facts_of_weights(problem);
    }
}

TEST(ProblemOfTerms, RefusesWhatIsNone) {
    const std::vector<std::uint32_t> pairs = {0, 1, 1, 0};
    const long half = 1L << 62;
    EXPECT_THROW(problem_of_terms(2, pairs, std::vector<std::int64_t>{half, half}), InputError);
    EXPECT_NO_THROW(problem_of_terms(2, pairs, std::vector<std::int64_t>{-half, -half}));
    EXPECT_THROW(problem_of_terms(1, pairs, std::vector<std::int64_t>{1, 1}), InputError);
    EXPECT_THROW(problem_of_terms(0, {}, {}), InputError);
    EXPECT_THROW(problem_of_terms(MAX_VARIABLES + 1, {}, {}), InputError);
}

TEST(ProblemOfTerms, WithoutAnyIsAProblem) {
    const Problem problem = problem_of_terms(3, {}, {});
    EXPECT_EQ(problem.nonzero, 0);
    expect_facts_of_weights(problem);
}

}  // namespace
}  // namespace orvex::toolkit::test
