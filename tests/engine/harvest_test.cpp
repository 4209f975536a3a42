// What a solution tells about the run: which keys, in which form.
#include <gmock/gmock.h>

#include "engine/support/run_by_hand.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;
using testing::Key;
using testing::MatchesRegex;
using testing::UnorderedElementsAre;

const char* const SIX_DECIMALS = "[0-9]+\\.[0-9][0-9][0-9][0-9][0-9][0-9]";

class Harvest : public RunByHand {
  protected:
    Harvest() {
        param.set("search_cycles", "5000 600");
        param.set("tabu_cycles", "17");
        param.set("solution_proximity", "3");
    }

    Sol& harvested(bool final) {
        run->get_sol(result.impl(), final);
        return result;
    }
};

TEST_F(Harvest, AtTheEndHasTheseKeys) {
    prepare(1, 1);
    const Sol& sol = harvested(true);
    EXPECT_THAT(sol.impl().attrs,
                UnorderedElementsAre(Key("solver"), Key("size"), Key("energy"), Key("tts"),
                                     Key("runtime"), Key("kernel_time")));
    EXPECT_THAT(
        sol.impl().env,
        UnorderedElementsAre(Key("solver"), Key("gpu"), Key("version"), Key("solver_size"),
                             Key("solver_bits"), Key("arithmetic_bits"), Key("search_cycles"),
                             Key("total_flips"), Key("tabu_cycles"), Key("solution_proximity")));
}

TEST_F(Harvest, InAnEventHasNoKernelTime) {
    prepare(1, 1);
    const Sol& sol = harvested(false);
    EXPECT_THAT(sol.impl().attrs, UnorderedElementsAre(Key("solver"), Key("size"), Key("energy"),
                                                       Key("tts"), Key("runtime")));
    EXPECT_EQ(sol.impl().env.size(), 10u);
}

TEST_F(Harvest, TellsAboutTheSolution) {
    prepare(1, 1);
    allbest().energy = -1234567890123;
    allbest().found_time = 2345678900;
    run->restart_clock->start -= 5000000000;
    devices->threads[0].kernel_ms = 1250;
    const auto& attrs = harvested(true).impl().attrs;
    EXPECT_EQ(attrs.at("solver"), "orvex");
    EXPECT_EQ(attrs.at("size"), "100");
    EXPECT_EQ(attrs.at("energy"), "-1234567890123");
    EXPECT_EQ(attrs.at("tts"), "2.345679");
    EXPECT_THAT(attrs.at("runtime"), MatchesRegex(SIX_DECIMALS));
    EXPECT_GE(std::stod(attrs.at("runtime")), 5.0);
    EXPECT_EQ(attrs.at("kernel_time"), "1.250000");
}

TEST_F(Harvest, TellsAboutTheRun) {
    prepare(1, 1);
    std::strcpy(run->prop.name, "A device");
    run->allisland->summary.flips = 123456789012;
    const auto& env = harvested(true).impl().env;
    EXPECT_EQ(env.at("solver"), "orvex");
    EXPECT_EQ(env.at("gpu"), "A device");
    EXPECT_EQ(env.at("version"), "2024-12-29");
    EXPECT_EQ(env.at("solver_size"), "128");
    EXPECT_EQ(env.at("solver_bits"), "32");
    EXPECT_EQ(env.at("arithmetic_bits"), "32");
    EXPECT_EQ(env.at("search_cycles"), "5000 600");
    EXPECT_EQ(env.at("total_flips"), "123456789012");
    EXPECT_EQ(env.at("tabu_cycles"), "17");
    EXPECT_EQ(env.at("solution_proximity"), "3");
}

TEST_F(Harvest, TheKernelTimeIsThatOfTheLongestKernel) {
    prepare(1, 1);
    band::DEV_THREADS three(*run, 3);
    three.threads[0].kernel_ms = 10;
    three.threads[1].kernel_ms = 2500;
    three.threads[2].kernel_ms = 20;
    EXPECT_EQ(three.max_sec(), 2.5f);
    EXPECT_EQ(band::DEV_THREADS(*run, 0).max_sec(), 0.0f);
}

TEST_F(Harvest, BeforeAnyResultHasNoTimeAndTheLargestEnergy) {
    prepare(1, 1);
    const Sol& sol = harvested(false);
    EXPECT_EQ(sol.get("energy"), "9223372036854775807");
    EXPECT_EQ(sol.impl().attrs.at("tts"), "");
    EXPECT_EQ(sol.impl().data[0], 0u);
}

TEST_F(Harvest, BeforeAnyResultHasTheBitsOfTheStartSolution) {
    Sol start(128);
    start.impl().data[0] = 7;
    start.impl().data[1] = 9;
    prepare(1, 1, &start);
    const Sol& sol = harvested(false);
    EXPECT_EQ(sol.impl().data[0], 7u);
    EXPECT_EQ(sol.impl().data[1], 9u);
    EXPECT_EQ(sol.get("energy"), "9223372036854775807");
    EXPECT_EQ(allbest().inst, 10);
    EXPECT_EQ(allbest().algorithm, 5);
    EXPECT_EQ(allbest().island, -1);
    EXPECT_EQ(allbest().found_time, -1000000000);
}

TEST_F(Harvest, ATimeOf0IsATime) {
    prepare(1, 1);
    allbest().found_time = 0;
    EXPECT_EQ(harvested(false).get("tts"), "0.000000");
}

TEST_F(Harvest, ForgetsOldAttributesOfTheSolutionAndKeepsThoseOfTheRun) {
    prepare(1, 1);
    result.set("comment", "mine");
    result.impl().env["comment"] = "mine, too";
    result.impl().env["gpu"] = "old";
    const Sol& sol = harvested(true);
    EXPECT_EQ(sol.impl().attrs.count("comment"), 0u);
    EXPECT_EQ(sol.impl().env.at("comment"), "mine, too");
    EXPECT_NE(sol.impl().env.at("gpu"), "old");
}

TEST_F(Harvest, CopiesAllWordsThatTheSolutionHas) {
    prepare(1, 1);
    allbest().bits[0] = 123;
    allbest().bits[1] = 456;
    harvested(true);
    EXPECT_EQ(result.impl().data[0], 123u);
    EXPECT_EQ(result.impl().data[1], 456u) << "filler bits included";
    Sol small(10);
    run->get_sol(small.impl(), true);
    EXPECT_EQ(small.impl().data[0], 123u);
}

TEST_F(Harvest, CopiesNoMoreThanTheBandHas) {
    prepare(1, 1);
    Sol large(300);
    allbest().bits[1] = 456;
    allbest().island = -1;
    run->get_sol(large.impl(), true);
    EXPECT_EQ(large.impl().data[1], 456u);
    EXPECT_EQ(large.impl().data[2], 0u);
    EXPECT_EQ(large.impl().data[4], 0u);
}

}  // namespace
