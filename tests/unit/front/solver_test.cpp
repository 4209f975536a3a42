#include "orvex/solver.hpp"

#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "orvex/registry.hpp"

#include "front/solver_impl.hpp"
#include "support/band_tables.hpp"
#include "support/refusal.hpp"
#include "support/text_of.hpp"

namespace orvex {
namespace {

using tests::build_is_complete;
using tests::exactly;
using tests::stderr_of;
using tests::text_of;

const std::string BANNER =
    "ORVEX QUBO Solver GPU-Engine (https://orvex.example) Ver: 2024-12-29\n"
    "Licensed under the Apache License, Version 2.0.\n";

TEST(Solver, WithoutBannerWritesNothing) {
    EXPECT_EQ(stderr_of([] { Solver solver(false); }), "");
}

TEST(Solver, WithBannerWritesTwoLinesEachTime) {
    EXPECT_EQ(stderr_of([] { Solver solver(true); }), BANNER);
    EXPECT_EQ(stderr_of([] { Solver solver(true); }), BANNER);
}

TEST(Solver, SharesAllStateWithOthersAndOutlivesThem) {
    Solver solver(false);
    {
        Solver other(false);
        EXPECT_EQ(&other.impl(), &solver.impl());
    }
    EXPECT_EQ(solver.get("version"), "2024-12-29");
}

TEST(Solver, MayBeCopied) {
    Solver solver(false);
    Solver copy(solver);
    EXPECT_EQ(&copy.impl(), &solver.impl());
}

TEST(Solver, KnowsWhatItIs) {
    Solver solver(false);
    EXPECT_EQ(solver.get("version"), "2024-12-29");
    EXPECT_EQ(solver.get("solver"), "ORVEX QUBO Solver GPU-Engine (https://orvex.example)");
    EXPECT_EQ(solver.get("license"), "Licensed under the Apache License, Version 2.0.");
    EXPECT_EQ(solver.impl().info.size(), 6u);
}

TEST(Solver, KnowsTheSizesAndWidthsOfTheCompleteBuild) {
    if (!build_is_complete()) GTEST_SKIP() << "this build has fewer bands";
    Solver solver(false);
    std::string sizes;
    for (const int size : tests::complete_sizes())
        sizes += "," + std::to_string(size);
    EXPECT_EQ(solver.get("sizes"), sizes.substr(1));
    EXPECT_THAT(solver.get("sizes"), testing::StartsWith("64,128,192,256,384,512,640,"));
    EXPECT_THAT(solver.get("sizes"), testing::EndsWith(",57344,65536"));
    EXPECT_EQ(solver.get("max_size"), "65536");
    EXPECT_EQ(solver.get("max_bits"), "64");
    EXPECT_EQ(solver.impl().sizes.size(), 50u);
    EXPECT_EQ(solver.impl().size_bits.size(), 100u);
}

TEST(Solver, UnknownKeyReadsEmptyAndIsNotAdded) {
    Solver solver(false);
    EXPECT_EQ(solver.get("colour"), "");
    EXPECT_EQ(solver.impl().info.size(), 6u);
}

TEST(SolverPrint, SeparatesEntriesByTheDelimiterAndEndsTheLine) {
    Solver solver(false);
    std::string expected;
    for (const auto& [key, value] : solver.impl().info) {
        expected += (expected.empty() ? "" : ", ") + key + "=" + value;
    }
    EXPECT_EQ(text_of(solver, ", "), expected + "\n");
    std::ostringstream out;
    solver.print(out, ", ");
    EXPECT_EQ(out.str(), expected + "\n");
}

TEST(SolverPrint, SeparatesEntriesByABlankWhenNoDelimiterIsGiven) {
    EXPECT_EQ(text_of(Solver(false), ""), text_of(Solver(false), " "));
}

/** The record of a build that holds models of 8 bits up to 100 variables, wider ones up to 50. */
Solver::Impl small_build() {
    Solver::Impl build;
    build.sizes = {50, 100};
    build.bits = {8, 16};
    build.size_bits = {{50, 16}, {50, 32}, {100, 8}};
    return build;
}

TEST(FitTest, NotesTheSmallestPairThatHoldsTheModel) {
    Solver::Impl build = small_build();
    build.set_qubo_program_sb(Model(50, 8));
    EXPECT_EQ(build.selected_size, 50);
    EXPECT_EQ(build.selected_bits, 16);
    build.set_qubo_program_sb(Model(50, 32));
    EXPECT_EQ(build.selected_bits, 32);
    build.set_qubo_program_sb(Model(51, 8));
    EXPECT_EQ(build.selected_size, 100);
    EXPECT_EQ(build.selected_bits, 8);
}

TEST(FitTest, RefusesAModelThatNoPairHolds) {
    Solver::Impl build = small_build();
    EXPECT_REFUSAL(build.set_qubo_program_sb(Model(51, 16)),
                   "No ORVEX kernel can hold this QUBO (needs size >= 51 and matrix bits >= 16). "
                   "Installed kernels: max size 100, max bits 16. Build a bigger one with `make "
                   "multi`.");
}

TEST(FitTest, WithoutBandsSaysNone) {
    Solver::Impl build;
    EXPECT_REFUSAL(build.set_qubo_program_sb(Model(1, 8)),
                   "No ORVEX kernel can hold this QUBO (needs size >= 1 and matrix bits >= 8). "
                   "Installed kernels: max size none, max bits none. Build a bigger one with `make "
                   "multi`.");
}

TEST(Solver, OfABuildWithoutBandsIsRefused) {
    Solver::Impl build;
    EXPECT_REFUSAL(build.describe(), "No ORVEX QUBO solver found.");
}

TEST(Solver, RefusesAModelOf65537VariablesWhicheverWayItIsCalled) {
    Solver solver(false);
    Model model(3, 8);
    model.impl().size = 65537;
    const std::string text =
        "No ORVEX kernel can hold this QUBO (needs size >= 65537 and matrix bits >= 8). Installed "
        "kernels: max size " +
        solver.get("max_size") + ", max bits " + solver.get("max_bits") +
        ". Build a bigger one with `make multi`.";
    EXPECT_REFUSAL(solver.prepare(model, Param()), text);
    EXPECT_REFUSAL(solver(model, Param()), text);
    EXPECT_REFUSAL(solver(model, Param(), Sol(3)), text);
}

TEST(Solver, RefusesAWidthOfEnergiesThatNoBandMeets) {
    if (!build_is_complete()) GTEST_SKIP() << "this build has fewer bands";
    Param param;
    param.set("arithmetic_bits", "65");
    EXPECT_REFUSAL(Solver(false)(Model(3, 64), param),
                   "no ORVEX kernel can hold this QUBO (needs size >= 3, matrix bits >= 64, "
                   "arithmetic bits >= 65). This build has size <= 65536 and (matrix, "
                   "arithmetic) bit widths 32_32 32_64 64_64.");
}

TEST(Solver, TakesTheNarrowestBandThatHasAtLeastTheWidthAskedFor) {
    Param param;
    param.set("trial_limit", "5");
    const auto widths = [&](int model_bits, const char* asked) {
        param.set("arithmetic_bits", asked);
        const Sol sol = Solver(false)(Model(3, model_bits), param);
        return sol.get("solver_bits") + "_" + sol.get("arithmetic_bits");
    };
    EXPECT_EQ(widths(8, "16"), "32_32");
    EXPECT_EQ(widths(8, "33"), "32_64");
    EXPECT_EQ(widths(64, "16"), "64_64");
    Solver(false).release();
}

// What reaches a band is seen with a fake one, in a process of its own.

void fake_solve(Sol::Impl& result, const Model::Impl&, const Param::Impl&, const Sol::Impl* start) {
    result.attrs["start"] = start == nullptr ? "none" : std::to_string(start->bits);
}
void fake_prepare(const Model::Impl&, const Param::Impl&) {
    std::fputs("prepared\n", stderr);
}
void fake_release() {
    std::fputs("released\n", stderr);
}

void use_fake_band() {
    qubo_multi::register_band(3, 8, 8, fake_solve, fake_prepare, fake_release);
    Solver solver(false);
    const Model model(3, 8);
    Param param;
    param.set("arithmetic_bits", "8");
    solver.prepare(model, param);
    solver(model, param).print("", std::cerr);
    solver(model, param, Sol(7)).print("attrs", std::cerr);
    solver.release();
    std::exit(0);
}

TEST(Solver, CallsTheBandAndReturnsWhatItFilledIn) {
    EXPECT_EXIT(use_fake_band(), testing::ExitedWithCode(0),
                testing::AnyOf(exactly("prepared\n"
                                       "000\nstart=none energy=0\n"
                                       "start=7 energy=0\n"
                                       "released\n"),
                               exactly("prepared\n"
                                       "000\nenergy=0 start=none\n"
                                       "energy=0 start=7\n"
                                       "released\n")));
}

}  // namespace
}  // namespace orvex
