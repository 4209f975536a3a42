// What is known of a problem, from its weights.
#include "toolkit/model/problem.hpp"

#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "toolkit/model/errors.hpp"
#include "toolkit/model/memory.hpp"
#include "unit/toolkit/random_problem.hpp"

namespace orvex::toolkit::test {
namespace {

Model example() {
    Model model(4, 16);
    model.set(0, 0, -5);
    model.set(0, 1, 3);
    model.set(1, 3, -300);
    model.set(2, 3, 2);
    return model;
}

TEST(Problem, OfAModelHasItsFacts) {
    const Problem problem = problem_of(example());
    EXPECT_EQ(problem.size, 4);
    EXPECT_EQ(problem.width, 16);
    EXPECT_EQ(problem.nonzero, 4);
    EXPECT_EQ(problem.smallest_weight, -300);
    EXPECT_EQ(problem.largest_weight, 3);
    EXPECT_EQ(problem.couplings.count, 3);
    EXPECT_EQ(problem.couplings.largest, 300);
    EXPECT_EQ(problem.bound.largest_row_sum, 303);
    EXPECT_EQ(problem.bound.largest_delta, 300);
    EXPECT_DOUBLE_EQ(problem.density(), 0.4);
    EXPECT_EQ(problem.model_bytes(), 4u * 4 * 2);
    EXPECT_EQ(problem.proven_bits(), 32);
    EXPECT_TRUE(problem.convention.is_own());
    EXPECT_EQ(problem.weights.get(1, 3), -300);
}

TEST(Problem, NeedsVariables) {
    EXPECT_THROW(problem_of(Model(0, 8)), InputError);
}

TEST(Problem, WithLargeWeightsNeedsWideEnergies) {
    EXPECT_EQ(random_problem(10, 1L << 30).proven_bits(), 64);
    EXPECT_EQ(random_problem(10, std::numeric_limits<long>::max()).proven_bits(), 128);
}

TEST(Problem, PlansItsRun) {
    const std::optional<Plan> plan = random_problem(60, 100).plan(32);
    ASSERT_TRUE(plan);
    EXPECT_EQ(plan->band(), "qb64_32_32");
    EXPECT_EQ(plan->rows, "8-bit");
    EXPECT_EQ(plan->delta_bits, 32);
    EXPECT_EQ(problem_of(example()).plan(32)->rows, "sparse");
}

TEST(WeightWidth, AvoidsTheValueThatHasNoNegative) {
    EXPECT_EQ(weight_width(-1, 1), 8);
    EXPECT_EQ(weight_width(std::numeric_limits<std::int32_t>::min() + 1, 0), 32);
    EXPECT_EQ(weight_width(std::numeric_limits<std::int32_t>::min(), 0), 64);
}

TEST(Memory, IsThatOfThisMachine) {
    EXPECT_GT(machine_memory(), 1L << 27);
    EXPECT_LE(free_memory(), machine_memory());
    EXPECT_GT(free_memory(), 0);
}

TEST(Memory, IsTextOfThreeDigits) {
    EXPECT_EQ(bytes_text(1536), "1.5 KiB");
    EXPECT_EQ(bytes_text(std::uint64_t{5} << 20), "5 MiB");
    EXPECT_EQ(bytes_text(std::uint64_t{12'345} << 20), "12.1 GiB");
}

}  // namespace
}  // namespace orvex::toolkit::test
