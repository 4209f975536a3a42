// Arithmetic that leaves the range of the band ends the process, with words for what would help.
#include "engine/main_program.hpp"
#include "engine/support/band_256_64_64.hpp"
#include "engine/support/band_64_32_32.hpp"
#include "engine/support/band_64_32_64.hpp"
#include "engine/support/band_64_64_64.hpp"
#include "engine/support/death.hpp"
#include "engine/support/runs.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;

const std::string WIDER =
    "Arithmetic overflow detected.\nThe values in the QUBO instance must be reduced or select "
    "64-bit precision to avoid it.\n";
const std::string NO_WIDER =
    "Arithmetic overflow detected.\nThe values in the QUBO instance must be reduced to avoid "
    "it.\n";

/** Two variables whose weights fit and whose sum does not. */
Model overflowing(int bits, long weight) {
    Model model(2, bits);
    model.set(0, 0, -weight);
    model.set(1, 1, -weight);
    return model;
}

TEST(Overflow, In32BitsAsksForSmallerValuesOrAWiderBand) {
    EXPECT_ERROR(solve(qb64_32_32::band_solve, overflowing(32, 2000000000),
                       settings({{"trial_limit", "50"}})),
                 WIDER);
}

TEST(Overflow, In64BitsAsksForSmallerValues) {
    EXPECT_ERROR(solve(qb64_64_64::band_solve, overflowing(64, 5000000000000000000),
                       settings({{"trial_limit", "50"}})),
                 NO_WIDER);
}

TEST(Overflow, TheWordsDependOnTheWidthOfEnergies) {
    EXPECT_ERROR(engine::report_overflow(qb64_32_32::A), WIDER);
    EXPECT_ERROR(engine::report_overflow(qb64_32_64::A), NO_WIDER);
    EXPECT_ERROR(engine::report_overflow(qb256_64_64::A), NO_WIDER);
}

TEST(Overflow, EndsARunWithoutAnyLimit) {
    EXPECT_ERROR(solve(qb64_32_32::band_solve, overflowing(32, 2000000000), Param()), WIDER);
}

TEST(Overflow, ModelsThatFitIn64BitsAreSolvedThere) {
    const Sol sol = solve(qb64_32_64::band_solve, overflowing(32, 2000000000),
                          settings({{"target_energy", "-4000000000"}}));
    EXPECT_EQ(sol.get("energy"), "-4000000000");
}

TEST(Overflow, EnergiesNextToTheBoundDoNotOverflow) {
    const Sol sol = solve(qb64_32_32::band_solve, overflowing(32, 1073741823),
                          settings({{"target_energy", "-2147483646"}}));
    EXPECT_EQ(sol.get("energy"), "-2147483646");
}

}  // namespace
