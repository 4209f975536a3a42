// The parameter table: the default of every key, where its value goes, and the rules that follow
// when all keys are read.
#include <limits>

#include "engine/names.hpp"
#include "engine/support/read_params.hpp"

namespace {

using namespace orvex;
using namespace orvex::engine;
using namespace engine_tests;

TEST(Params, WithoutKeysTheDefaultsStand) {
    const READ got = read({});
    EXPECT_EQ(got.run.time_limit, 0u);
    EXPECT_EQ(got.run.target_energy, std::numeric_limits<long>::min());
    EXPECT_EQ(got.run.verbose, 0);
    EXPECT_EQ(got.run.gpus, 0) << "all available";
    EXPECT_EQ(got.run.blocks_per_island, 0) << "computed";
    EXPECT_EQ(got.run.islands_per_gpu, 0) << "computed";
    EXPECT_EQ(got.run.pool_size, 100);
    EXPECT_EQ(got.run.best_priority, 0);
    EXPECT_EQ(got.run.trial_limit, 0);
    EXPECT_EQ(got.run.energy_width, 0);
    EXPECT_EQ(got.run.annealing_factor, 0.2f);
    EXPECT_EQ(got.run.batch_factor, 1.0f);
    EXPECT_EQ(got.run.batch_cycles, 600);
    EXPECT_EQ(got.run.annealing_cycles, 120);
    EXPECT_EQ(got.run.restart_t0, 1.0f);
    EXPECT_EQ(got.run.restart_b, 2.0f);
    EXPECT_EQ(got.run.restart_nobest, 0.25f);
    EXPECT_FALSE(got.run.log);
    EXPECT_EQ(got.run.solution_proximity, 6);
    EXPECT_EQ(got.run.inst_zero, 3);
    EXPECT_EQ(got.run.inst_one, 3);
    EXPECT_EQ(got.run.exp_popcount, 0);
    EXPECT_EQ(got.run.fix_algorithm, -1);
    EXPECT_EQ(got.run.exclude_algorithm, -1);
    EXPECT_EQ(got.run.fix_instance, -1);
    EXPECT_EQ(got.run.callback, nullptr);
    EXPECT_EQ(got.gpu.tabu_cycles, 8u);
    EXPECT_TRUE(got.gpu.hash_table);
}

TEST(Params, WhatNoKeySetsKeepsItsDefault) {
    const READ got = read({});
    EXPECT_EQ(got.run.random_and_rounds, 0);
    EXPECT_EQ(got.run.cross_and_rounds, 1);
    EXPECT_EQ(got.run.kernel_flag, 0);
    EXPECT_EQ(got.run.carveout, 0);
    EXPECT_EQ(got.run.keep_islands, 0);
}

TEST(Params, NumbersGoToTheirFields) {
    const READ got = read({{"time_limit", "30"},
                           {"target_energy", "-1234567890123"},
                           {"verbose", "2"},
                           {"gpus", "2"},
                           {"blocks_per_island", "7"},
                           {"islands_per_gpu", "3"},
                           {"pool_size", "2"},
                           {"best_priority", "-4"},
                           {"trial_limit", "5000000000"},
                           {"solution_proximity", "11"},
                           {"inst_zero", "0"},
                           {"inst_one", "1"},
                           {"exp_popcount", "9"}});
    EXPECT_EQ(got.run.time_limit, 30u);
    EXPECT_EQ(got.run.target_energy, -1234567890123);
    EXPECT_EQ(got.run.verbose, 2);
    EXPECT_EQ(got.run.gpus, 2);
    EXPECT_EQ(got.run.blocks_per_island, 7);
    EXPECT_EQ(got.run.islands_per_gpu, 3);
    EXPECT_EQ(got.run.pool_size, 2);
    EXPECT_EQ(got.run.best_priority, -4);
    EXPECT_EQ(got.run.trial_limit, 5000000000);
    EXPECT_EQ(got.run.solution_proximity, 11);
    EXPECT_EQ(got.run.inst_zero, 0);
    EXPECT_EQ(got.run.inst_one, 1);
    EXPECT_EQ(got.run.exp_popcount, 9);
}

TEST(Params, BlocksAndIslandsAreStoredAsTheyStand) {
    const READ got = read({{"blocks_per_island", "-7"}, {"islands_per_gpu", "-3"}});
    EXPECT_EQ(got.run.blocks_per_island, -7);
    EXPECT_EQ(got.run.islands_per_gpu, -3);
}

TEST(Params, TheWidthOfTheArithmeticIsSkipped) {
    const READ got = read({{"arithmetic_bits", "no number at all"}});
    EXPECT_EQ(got.run.batch_cycles, 600);
}

TEST(Params, ATimeLimitOfMinusOneIsTheLargestNumberOfSeconds) {
    EXPECT_EQ(read({{"time_limit", "-1"}}).run.time_limit, 4294967295u);
}

TEST(Params, VerboseIsCutTo16Bits) {
    EXPECT_EQ(read({{"verbose", "70000"}}).run.verbose, 4464);
}

TEST(Params, OfTheExpectedEnergyOnlyTheLengthCounts) {
    EXPECT_EQ(read({{"expected_energy", "-12345"}}).run.energy_width, 6);
    EXPECT_EQ(read({{"expected_energy", ""}}).run.energy_width, 0);
    EXPECT_EQ(read({{"expected_energy", "no number"}}).run.energy_width, 9);
}

TEST(Params, RestartKeysWriteOneOrTwoFields) {
    EXPECT_EQ(read({{"restart_t0", "0.5"}}).run.restart_t0, 0.5f);
    EXPECT_EQ(read({{"restart_b", "3"}}).run.restart_b, 3.0f);
    const READ duration = read({{"restart_duration", "4 1.5"}});
    EXPECT_EQ(duration.run.restart_t0, 4.0f);
    EXPECT_EQ(duration.run.restart_b, 1.5f);
    const READ nobest = read({{"restart_nobest", "6 0.75"}});
    EXPECT_EQ(nobest.run.restart_t0, 6.0f) << "the first value is the first period";
    EXPECT_EQ(nobest.run.restart_nobest, 0.75f);
}

TEST(Params, LogIsABoolAndHashTableAnInteger) {
    EXPECT_TRUE(read({{"log", "true"}}).run.log);
    EXPECT_FALSE(read({{"log", "0"}}).run.log);
    EXPECT_TRUE(read({{"hash_table", "2"}}).gpu.hash_table);
    EXPECT_TRUE(read({{"hash_table", "-1"}}).gpu.hash_table);
    EXPECT_FALSE(read({{"hash_table", "0"}}).gpu.hash_table);
}

TEST(Params, TabuCyclesRangeFrom0To255) {
    EXPECT_EQ(read({{"tabu_cycles", "0"}}).gpu.tabu_cycles, 0u);
    EXPECT_EQ(read({{"tabu_cycles", "255"}}).gpu.tabu_cycles, 255u);
}

TEST(Params, NamesBecomeNumbers) {
    EXPECT_EQ(read({{"fix_algorithm", "T"}}).run.fix_algorithm, 4);
    EXPECT_EQ(read({{"fix_algorithm", "R"}}).run.fix_algorithm, 3);
    EXPECT_EQ(read({{"fix_algorithm", ""}}).run.fix_algorithm, 0);
    EXPECT_EQ(read({{"exclude_algorithm", "Cyc"}}).run.exclude_algorithm, 2);
    EXPECT_EQ(read({{"fix_instance", "One"}}).run.fix_instance, ONE);
    EXPECT_EQ(read({{"fix_instance", "Int"}}).run.fix_instance, INTERVAL_ZERO);
    EXPECT_EQ(read({{"fix_instance", "X"}}).run.fix_instance, XCROSS);
}

TEST(Params, SearchCyclesHaveFloors) {
    const READ got = read({{"search_cycles", "5 5"}});
    EXPECT_EQ(got.run.batch_cycles, 100);
    EXPECT_EQ(got.run.annealing_cycles, 20);
}

TEST(Params, ASearchCycleOf0IsDerived) {
    const READ got = read({{"search_cycles", "0 77"}});
    EXPECT_EQ(got.run.batch_cycles, 600);
    EXPECT_EQ(got.run.annealing_cycles, 77);
    EXPECT_EQ(read({{"search_cycles", "321 0"}}).run.annealing_cycles, 120);
}

TEST(Params, TheBatchFactorAloneScalesTheSizeOfTheBand) {
    EXPECT_EQ(read({{"batch_factor", "0.5"}}, 600).run.batch_cycles, 512);
    EXPECT_EQ(read({{"batch_factor", "0.5"}}, 3).run.batch_cycles, 512);
    EXPECT_EQ(read({{"batch_factor", "0.001"}}, 600).run.batch_cycles, 100) << "the floor";
}

TEST(Params, ABatchFactorThatComesTo0IsDerivedFromTheModel) {
    EXPECT_EQ(read({{"batch_factor", "0"}}, 600).run.batch_cycles, 100);
    EXPECT_EQ(read({{"batch_factor", "0.0009"}}, 600).run.batch_cycles, 100);
}

TEST(Params, TheAnnealingFactorScalesTheSizeOfTheModel) {
    EXPECT_EQ(read({{"annealing_factor", "0.5"}}, 600).run.annealing_cycles, 300);
    EXPECT_EQ(read({{"annealing_factor", "0.5"}}, 10).run.annealing_cycles, 20) << "the floor";
    EXPECT_EQ(read({{"annealing_factor", "-1"}}, 600).run.annealing_cycles, 20);
}

TEST(Params, BothFactorsTogetherScaleTheSizeOfTheModel) {
    const READ got = read({{"search_cycles_factor", "0.5 0.2"}}, 600);
    EXPECT_EQ(got.run.batch_factor, 0.5f);
    EXPECT_EQ(got.run.annealing_factor, 0.2f);
    EXPECT_EQ(got.run.batch_cycles, 300);
    EXPECT_EQ(got.run.annealing_cycles, 120);
}

TEST(Params, CyclesFromFactorsAreCutInSinglePrecision) {
    EXPECT_EQ(cycles_of(0.2f, 128), 25);
    EXPECT_EQ(cycles_of(0.1f, 10), 1);
    EXPECT_EQ(cycles_of(-0.5f, 3), -1);
    EXPECT_EQ(read({{"annealing_factor", "0.7"}}, 599).run.annealing_cycles,
              static_cast<int>(599.0f * 0.7f));
}

TEST(Params, TheProximityIsAHundredthOfTheModelUnlessGiven) {
    EXPECT_EQ(read({}, 50).run.solution_proximity, 0);
    EXPECT_EQ(read({}, 99).run.solution_proximity, 0);
    EXPECT_EQ(read({}, 100).run.solution_proximity, 1);
    EXPECT_EQ(read({{"solution_proximity", "-5"}}, 300).run.solution_proximity, 3);
    EXPECT_EQ(read({{"solution_proximity", "0"}}, 300).run.solution_proximity, 0);
}

TEST(Params, TheBoundOfAStartSolutionRaisesTheTarget) {
    Sol start(600);
    start.set("bound", "-500");
    EXPECT_EQ(READ(600, settings({}), &start).run.target_energy, -500);
    EXPECT_EQ(READ(600, settings({{"target_energy", "-900"}}), &start).run.target_energy, -500);
}

TEST(Params, TheBoundOfAStartSolutionNeverLowersTheTarget) {
    Sol start(600);
    start.set("bound", "-500");
    EXPECT_EQ(READ(600, settings({{"target_energy", "-100"}}), &start).run.target_energy, -100);
}

TEST(Params, OtherAttributesOfAStartSolutionDoNotMatter) {
    Sol start(600);
    start.set("Bound", "-500");
    start.impl().env["bound"] = "-400";
    EXPECT_EQ(READ(600, settings({}), &start).run.target_energy, std::numeric_limits<long>::min());
}

TEST(Params, ABoundThatIsNoNumberThrowsForTheCaller) {
    Sol start(600);
    start.set("bound", "low");
    try {
        READ(600, settings({}), &start);
        FAIL() << "no exception";
    } catch (const std::invalid_argument& error) {
        EXPECT_STREQ(error.what(), "stoll");
    }
    start.set("bound", "9223372036854775808");
    EXPECT_THROW(READ(600, settings({}), &start), std::out_of_range);
}

TEST(Params, TheCallbackShowsASolutionOfTheModelsSize) {
    ON_EVENT callback([](ON_EVENT&, const std::string&) {});
    Param param;
    param.set(callback);
    const READ got(600, param);
    EXPECT_EQ(got.run.callback, &callback);
    EXPECT_EQ(callback.get().impl().bits, 600);
}

TEST(Params, ASolutionOfTheRightSizeStaysInTheCallback) {
    ON_EVENT callback([](ON_EVENT&, const std::string&) {});
    callback.impl().solution = Sol(600);
    callback.impl().solution.set(17, true);
    Param param;
    param.set(callback);
    const READ got(600, param);
    EXPECT_TRUE(callback.get().get(17));
}

TEST(Params, HintsAreReadyIfTheCallbackSaysSo) {
    EXPECT_FALSE(read({}).run.hint_ready) << "no callback";
    ON_EVENT callback([](ON_EVENT&, const std::string&) {});
    Param param;
    param.set(callback);
    EXPECT_FALSE(READ(600, param).run.hint_ready);
    callback.set("hint", "1");
    EXPECT_TRUE(READ(600, param).run.hint_ready) << "left set, perhaps by an earlier run";
}

}  // namespace
