#include "toolkit/presolve/presolve.hpp"

#include <gtest/gtest.h>

#include "unit/toolkit/presolve/small_models.hpp"

namespace {

using namespace orvex::toolkit;

TEST(PRESOLVE_TEST, is_exact_on_random_models) {
    const auto all = [](const SparseQubo& qubo) { return presolve(qubo); };
    EXPECT_GT(small_models::expect_exact(all, small_models::trials(20000)), 0);
}

}  // namespace
