#include "toolkit/model/sparse_qubo.hpp"

#include <limits>

#include <gtest/gtest.h>

#include <orvex/orvex.hpp>

#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {
namespace {

TEST(SPARSE_QUBO_TEST, lists_couplings_from_both_ends_in_ascending_order) {
    const SparseQubo qubo = sparse_qubo({5, 0, -7}, {{2, 1, 3}, {0, 2, -4}});
    EXPECT_EQ(qubo.size(), 3);
    EXPECT_EQ(qubo.couplings(), 2U);
    EXPECT_EQ(qubo.neighbours, (std::vector<std::int32_t>{2, 2, 0, 1}));
    EXPECT_EQ(qubo.weights, (std::vector<std::int64_t>{-4, 3, -4, 3}));
    EXPECT_EQ(qubo.neighbours_of(2).size(), 2U);
    EXPECT_EQ(qubo.weights_of(2)[1], 3);
}

TEST(SPARSE_QUBO_TEST, adds_up_repeated_pairs_and_drops_sums_of_zero) {
    const SparseQubo qubo = sparse_qubo({0, 0, 0}, {{0, 1, 3}, {1, 0, 4}, {1, 2, 5}, {2, 1, -5}});
    EXPECT_EQ(qubo.couplings(), 1U);
    EXPECT_EQ(qubo.weights_of(0)[0], 7);
    EXPECT_EQ(qubo.degree(2), 0U);
}

TEST(SPARSE_QUBO_TEST, refuses_what_is_no_coupling) {
    constexpr long LARGEST = std::numeric_limits<long>::max();
    EXPECT_THROW(sparse_qubo({0, 0}, {{0, 2, 1}}), InputError);
    EXPECT_THROW(sparse_qubo({0, 0}, {{-1, 1, 1}}), InputError);
    EXPECT_THROW(sparse_qubo({0, 0}, {{1, 1, 1}}), InputError);
    EXPECT_THROW(sparse_qubo({0, 0}, {{0, 1, LARGEST}, {0, 1, LARGEST}}), InputError);
}

TEST(SPARSE_QUBO_TEST, is_that_of_a_models_matrix) {
    Model model(4, 32);
    model.set(0, 0, -9);
    model.set(3, 1, 1000);
    model.set(0, 2, -1);
    const SparseQubo qubo = sparse_qubo(model);
    const SparseQubo same = sparse_qubo({-9, 0, 0, 0}, {{1, 3, 1000}, {2, 0, -1}});
    EXPECT_EQ(qubo.linear, same.linear);
    EXPECT_EQ(qubo.starts, same.starts);
    EXPECT_EQ(qubo.neighbours, same.neighbours);
    EXPECT_EQ(qubo.weights, same.weights);
}

TEST(SPARSE_QUBO_TEST, adds_up_energies_beyond_64_bits) {
    constexpr long LARGEST = std::numeric_limits<long>::max();
    const SparseQubo qubo = sparse_qubo({LARGEST, LARGEST, 5}, {{0, 1, LARGEST}, {1, 2, -1}});
    EXPECT_EQ(energy_of(qubo, {0, 0, 0}), 0);
    EXPECT_EQ(energy_of(qubo, {1, 1, 1}), Wide{LARGEST} * 3 + 4);
    EXPECT_EQ(energy_of(qubo, {0, 1, 1}), Wide{LARGEST} + 4);
}

TEST(SPARSE_QUBO_TEST, takes_bits_from_a_solution_and_gives_them_back) {
    Bits bits(70);
    bits[0] = bits[64] = bits[69] = 1;
    EXPECT_EQ(bits_of(solution_of(bits)), bits);
}

}  // namespace
}  // namespace orvex::toolkit
