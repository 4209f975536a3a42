// Real coefficients as integers: which factor, how large the error, which energies.
#include "toolkit/model/scaling.hpp"

#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "toolkit/model/energy.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::toolkit::test {
namespace {

std::vector<double> random_triangle(int size, double largest) {
    std::mt19937_64 random(5);
    std::uniform_real_distribution<double> value(-largest, largest);
    std::vector<double> elements(static_cast<std::size_t>(size) * static_cast<std::size_t>(size));
    for (int i = 0; i < size; ++i)
        for (int j = i; j < size; ++j)
            elements[static_cast<std::size_t>(i * size + j)] = value(random);
    return elements;
}

Sol random_solution(int size, unsigned seed) {
    std::mt19937_64 random(seed);
    Sol solution(size);
    for (int i = 0; i < size; ++i)
        solution.set(i, random() % 2 != 0);
    return solution;
}

TEST(SCALING, is_off_by_no_more_than_it_says) {
    for (const double largest : {1e-200, 3e-5, 1.0, 7e11, 1e200})
        for (const int size : {1, 9, 64, 200}) {
            const std::vector<double> elements = random_triangle(size, largest);
            Scaling scaling;
            const Problem problem = problem_of_real_triangle(size, elements.data(), scaling);
            EXPECT_GT(scaling.largest_error, 0);
            EXPECT_LT(scaling.largest_error, 1e-4 * largest * size);
            for (unsigned seed = 0; seed < 20; ++seed) {
                const Sol solution = random_solution(size, seed);
                const auto own = static_cast<double>(problem.weights.energy(solution));
                const double real = real_energy(size, elements.data(), solution);
                EXPECT_LE(std::abs(own / scaling.factor - real), scaling.largest_error);
            }
        }
}

TEST(SCALING, keeps_to_32_bits_where_20_are_left_for_the_largest) {
    Scaling scaling;
    const Problem small = problem_of_real_triangle(9, random_triangle(9, 1).data(), scaling);
    EXPECT_EQ(small.proven_bits(), 32);
    EXPECT_GE(small.largest - small.smallest, 1 << 19);
    const Problem large = problem_of_real_triangle(600, random_triangle(600, 1).data(), scaling);
    EXPECT_EQ(large.proven_bits(), 64);
    EXPECT_GE(std::max(large.largest, -large.smallest), 1 << 29);
    EXPECT_LE(std::max(large.largest, -large.smallest), 1 << 30);
    EXPECT_EQ(large.width, 32);
}

TEST(SCALING, is_by_a_power_of_two_and_exact_where_that_makes_integers) {
    const std::vector<double> elements = {0.75, -0.125, 99, 2};
    Scaling scaling;
    const Problem problem = problem_of_real_triangle(2, elements.data(), scaling);
    int exponent = 0;
    EXPECT_EQ(std::frexp(scaling.factor, &exponent), 0.5);
    EXPECT_EQ(scaling.largest_error, 0);
    EXPECT_EQ(static_cast<double>(problem.weights.get(0, 1)), -0.125 * scaling.factor);
    const std::vector<double> nothing(4);
    problem_of_real_triangle(2, nothing.data(), scaling);
    EXPECT_EQ(scaling.factor, 1);
}

TEST(SCALING, sums_terms_before_it_rounds) {
    const std::vector<std::uint32_t> pairs = {0, 1, 1, 0, 1, 1, 0, 1};
    const std::vector<double> values = {1e16, 0.1, -0.3, -1e16};
    Scaling scaling;
    const Problem problem = problem_of_real_terms(2, pairs, values, scaling);
    EXPECT_NEAR(static_cast<double>(problem.weights.get(0, 1)) / scaling.factor, 0.1, 1e-8);
    EXPECT_EQ(problem.nonzero, 2);
    Sol both(2);
    both.set(0, true);
    both.set(1, true);
    EXPECT_DOUBLE_EQ(real_energy(pairs, values, both), -0.2);
}

TEST(SCALING, refuses_what_is_no_problem) {
    Scaling scaling;
    const std::vector<double> huge = {1e308, 1e308};
    EXPECT_THROW(problem_of_real_terms(2, std::vector<std::uint32_t>{0, 1, 1, 0}, huge, scaling),
                 InputError);
    EXPECT_THROW(problem_of_real_terms(1, std::vector<std::uint32_t>{0, 1, 0, 0}, huge, scaling),
                 InputError);
    EXPECT_THROW(problem_of_real_terms(0, {}, {}, scaling), InputError);
}

TEST(COMPENSATED_SUM, keeps_what_rounding_loses) {
    CompensatedSum sum;
    for (const double term : {1.0, 1e100, 1.0, -1e100})
        sum.add(term);
    EXPECT_EQ(sum.value(), 2);
}

}  // namespace
}  // namespace orvex::toolkit::test
