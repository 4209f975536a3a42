// Settings that end the process before the run begins: the exact text, and status 1.
#include "engine/support/death.hpp"
#include "engine/support/read_params.hpp"

namespace {

using namespace engine_tests;

TEST(ParamFailures, AnUnknownKeyIsNamed) {
    EXPECT_ERROR(read({{"no_such_key", "1"}}), "Parameter key not found : \"no_such_key\"");
    EXPECT_ERROR(read({{"Verbose", "1"}}), "Parameter key not found : \"Verbose\"");
    EXPECT_ERROR(read({{"", "1"}}), "Parameter key not found : \"\"");
}

TEST(ParamFailures, AValueThatDoesNotConvertIsReportedByItsKey) {
    for (const char* key : {"time_limit",
                            "target_energy",
                            "verbose",
                            "gpus",
                            "blocks_per_island",
                            "islands_per_gpu",
                            "pool_size",
                            "best_priority",
                            "trial_limit",
                            "annealing_factor",
                            "batch_factor",
                            "search_cycles",
                            "search_cycles_factor",
                            "restart_t0",
                            "restart_b",
                            "restart_duration",
                            "restart_nobest",
                            "log",
                            "solution_proximity",
                            "inst_zero",
                            "inst_one",
                            "exp_popcount",
                            "tabu_cycles",
                            "hash_table"})
        EXPECT_ERROR(read({{key, "?"}}), std::string("wrong parameter [") + key + "].");
}

TEST(ParamFailures, AnEmptyValueDoesNotConvert) {
    EXPECT_ERROR(read({{"time_limit", ""}}), "wrong parameter [time_limit].");
    EXPECT_ERROR(read({{"log", " \t"}}), "wrong parameter [log].");
}

TEST(ParamFailures, APairNeedsTwoValues) {
    EXPECT_ERROR(read({{"search_cycles", "100"}}), "wrong parameter [search_cycles].");
    EXPECT_ERROR(read({{"search_cycles", "1,2"}}), "wrong parameter [search_cycles].");
    EXPECT_ERROR(read({{"restart_nobest", "1"}}), "wrong parameter [restart_nobest].");
}

TEST(ParamFailures, HashTableTakesNoWordAndLogNoNumberButTwo) {
    EXPECT_ERROR(read({{"hash_table", "false"}}), "wrong parameter [hash_table].");
    EXPECT_ERROR(read({{"log", "2"}}), "wrong parameter [log].");
}

TEST(ParamFailures, DevicesThatAreNotThereCannotBeUsed) {
    EXPECT_ERROR(read({{"gpus", "0"}}), "gpus(0) is wrong (vailable gpus(2))");
    EXPECT_ERROR(read({{"gpus", "-1"}}), "gpus(-1) is wrong (vailable gpus(2))");
    EXPECT_ERROR(read({{"gpus", "3"}}), "gpus(3) is wrong (vailable gpus(2))");
}

TEST(ParamFailures, APoolHoldsAtLeastTwo) {
    EXPECT_ERROR(read({{"pool_size", "1"}}), "pool_size must be at least 2.");
    EXPECT_ERROR(read({{"pool_size", "-100"}}), "pool_size must be at least 2.");
}

TEST(ParamFailures, TabuCyclesOutOfRangeAreRefused) {
    EXPECT_ERROR(read({{"tabu_cycles", "256"}}), "tabu_cycles must range from 0 to 255.");
    EXPECT_ERROR(read({{"tabu_cycles", "-1"}}), "tabu_cycles must range from 0 to 255.");
}

TEST(ParamFailures, ANameThatIsNotInTheTableIsQuoted) {
    EXPECT_ERROR(read({{"fix_algorithm", "Fastest"}}), "Algorithm [Fastest] not found.");
    EXPECT_ERROR(read({{"exclude_algorithm", " Max"}}), "Algorithm [ Max] not found.");
    EXPECT_ERROR(read({{"fix_algorithm", "*"}}), "Algorithm [*] not found.");
    EXPECT_ERROR(read({{"fix_instance", "*"}}), "Instance [*] not found.");
    EXPECT_ERROR(read({{"fix_instance", "random"}}), "Instance [random] not found.");
}

}  // namespace
