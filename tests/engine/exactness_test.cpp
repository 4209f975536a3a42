// Small problems are solved to the end: for every number of variables up to 20 the lowest energy of
// all solutions is found, whichever widths, flip rule or generator is at work.
#include "engine/names.hpp"
#include "engine/support/band_128_32_32.hpp"
#include "engine/support/band_256_64_64.hpp"
#include "engine/support/band_64_32_32.hpp"
#include "engine/support/band_64_32_64.hpp"
#include "engine/support/band_64_64_64.hpp"
#include "engine/support/runs.hpp"
#include "support/sanitized.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;

constexpr int MOST_VARIABLES = 20;

/** Models of 1 to 20 variables with their lowest energies. */
class PROBLEMS {
  public:
    PROBLEMS(int bits, long limit) {
        for (int n = 1; n <= MOST_VARIABLES; ++n) {
            models_.push_back(random_model(n, bits, limit, static_cast<unsigned>(n)));
            lowest_.push_back(lowest_energy(models_.back()));
        }
    }

    /** Every problem is solved by the band with these settings. */
    void expectSolved(qubo_multi::SolveFunction band_solve, Param param) const {
        for (std::size_t i = 0; i < models_.size(); ++i) {
            // A target of 0 would be none; a few instances must do then.
            const bool has_target = lowest_[i] != 0;
            param.set("target_energy", std::to_string(lowest_[i]));
            param.set("trial_limit", has_target ? "200000" : "50");
            const Sol sol = solve(band_solve, models_[i], param);
            EXPECT_EQ(sol.get("energy"), std::to_string(lowest_[i])) << i + 1 << " variables";
        }
    }

  private:
    std::vector<Model> models_;
    std::vector<long> lowest_;
};

const PROBLEMS& narrow_problems() {
    static const PROBLEMS problems(8, 50);
    return problems;
}

const PROBLEMS& wide_problems() {
    static const PROBLEMS problems(64, 1L << 50);
    return problems;
}

TEST(Exactness, InAllWidths) {
    narrow_problems().expectSolved(qb64_32_32::band_solve, Param());
    narrow_problems().expectSolved(qb64_32_64::band_solve, Param());
    narrow_problems().expectSolved(qb64_64_64::band_solve, Param());
    wide_problems().expectSolved(qb64_64_64::band_solve, Param());
}

TEST(Exactness, InLargerBands) {
    narrow_problems().expectSolved(qb128_32_32::band_solve, Param());
    wide_problems().expectSolved(qb256_64_64::band_solve, Param());
}

TEST(Exactness, OfShortRunsOnWeightsBesideWhichTheFillersAreSmall) {
    // Walks pass through set filler variables, and next to weights like these one of 255 each does
    // not keep such a solution from being a block's best. Each result is scored by solve.
    const Model model = random_model(65, 32, 1000000, 27);
    const int runs = orvex::test::SANITIZED ? 50 : 400;
    for (int i = 0; i < runs; ++i)
        solve(qb128_32_32::band_solve, model,
              settings({{"trial_limit", "10"}, {"search_cycles", "100 20"}}));
}

class RuleExactness : public testing::TestWithParam<int> {};

TEST_P(RuleExactness, InAllWidths) {
    const std::string rule(engine::ALGORITHM_TABLE[static_cast<std::size_t>(GetParam())]);
    const Param param = settings({{"fix_algorithm", rule}});
    narrow_problems().expectSolved(qb64_32_32::band_solve, param);
    narrow_problems().expectSolved(qb64_32_64::band_solve, param);
    wide_problems().expectSolved(qb64_64_64::band_solve, param);
}

INSTANTIATE_TEST_SUITE_P(Rules, RuleExactness, testing::Range(0, engine::ALGORITHMS),
                         [](const auto& rule) {
                             return std::string(
                                 engine::ALGORITHM_TABLE[static_cast<std::size_t>(rule.param)]);
                         });

class GeneratorExactness : public testing::TestWithParam<int> {};

TEST_P(GeneratorExactness, InAllWidths) {
    const std::string generator(engine::INSTANCE_TABLE[static_cast<std::size_t>(GetParam())]);
    const Param param = settings({{"fix_instance", generator}});
    narrow_problems().expectSolved(qb64_32_32::band_solve, param);
    narrow_problems().expectSolved(qb64_32_64::band_solve, param);
    wide_problems().expectSolved(qb64_64_64::band_solve, param);
}

INSTANTIATE_TEST_SUITE_P(Generators, GeneratorExactness, testing::Range(0, engine::GENERATORS),
                         [](const auto& generator) {
                             return std::string(
                                 engine::INSTANCE_TABLE[static_cast<std::size_t>(generator.param)]);
                         });

}  // namespace
