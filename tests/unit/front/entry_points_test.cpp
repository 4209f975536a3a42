// The entry points call the band that they choose with the caller's arguments. Fake bands for
// models of three variables are entered for that, each in a process of its own, which the table of
// this one survives unchanged.
#include <cstdio>
#include <cstdlib>

#include "orvex/registry.hpp"

#include "front/bands.hpp"
#include "support/band_tables.hpp"
#include "support/refusal.hpp"

namespace {

using orvex::Model;
using orvex::Param;
using orvex::Sol;
using orvex::tests::exactly;
using qubo_multi::register_band;

/** A model that fits the fake bands and takes them before any real one. */
Model fitting_model() {
    return Model(3, 8);
}

Param asking_for(const std::string& arith_bits) {
    Param param;
    param.set("arithmetic_bits", arith_bits);
    return param;
}

template <int ARITH_BITS>
void fake_solve(Sol::Impl& result, const Model::Impl& model, const Param::Impl& param,
                const Sol::Impl* start) {
    result.attrs["solved by"] = std::to_string(ARITH_BITS);
    std::fprintf(stderr, "solve %d: result %d, model %d, asked for %s, start %d\n", ARITH_BITS,
                 result.bits, model.size, param.params.at("arithmetic_bits").c_str(),
                 start == nullptr ? -1 : start->bits);
}

template <int ARITH_BITS>
void fake_prepare(const Model::Impl& model, const Param::Impl& param) {
    std::fprintf(stderr, "prepare %d: model %d, asked for %s\n", ARITH_BITS, model.size,
                 param.params.at("arithmetic_bits").c_str());
}

template <int ARITH_BITS>
void fake_release() {
    std::fprintf(stderr, "release %d\n", ARITH_BITS);
}

void register_fakes() {
    register_band(3, 8, 16, fake_solve<16>, fake_prepare<16>, fake_release<16>);
    register_band(3, 8, 8, fake_solve<8>, fake_prepare<8>, fake_release<8>);
}

/** Passes if the statements, with the fake bands in the table, write this to standard error. */
#define EXPECT_FAKES_SAY(statements, text)                                                \
    EXPECT_EXIT((register_fakes(), statements, std::exit(0)), testing::ExitedWithCode(0), \
                exactly(text))

TEST(EntryPoints, SolveCallsTheBandWithoutAStart) {
    const Model model = fitting_model();
    Sol sol(3);
    EXPECT_FAKES_SAY(qubo_solve(sol.impl(), model.impl(), asking_for("8").impl()),
                     "solve 8: result 3, model 3, asked for 8, start -1\n");
}

TEST(EntryPoints, SolveStartPassesTheStartOn) {
    const Model model = fitting_model();
    Sol sol(3);
    const Sol start(64);
    EXPECT_FAKES_SAY(
        qubo_solve_start(sol.impl(), model.impl(), asking_for("8").impl(), &start.impl()),
        "solve 8: result 3, model 3, asked for 8, start 64\n");
}

TEST(EntryPoints, SolveStartMayBeGivenNone) {
    const Model model = fitting_model();
    Sol sol(3);
    EXPECT_FAKES_SAY(qubo_solve_start(sol.impl(), model.impl(), asking_for("8").impl(), nullptr),
                     "solve 8: result 3, model 3, asked for 8, start -1\n");
}

TEST(EntryPoints, PrepareCallsTheBand) {
    const Model model = fitting_model();
    EXPECT_FAKES_SAY(qubo_prepare(model.impl(), asking_for("8").impl()),
                     "prepare 8: model 3, asked for 8\n");
}

TEST(EntryPoints, AnotherWidthOfEnergiesGoesToAnotherBand) {
    const Model model = fitting_model();
    EXPECT_FAKES_SAY((qubo_prepare(model.impl(), asking_for("8").impl()),
                      qubo_prepare(model.impl(), asking_for("9").impl())),
                     "prepare 8: model 3, asked for 8\nprepare 16: model 3, asked for 9\n");
}

TEST(EntryPoints, ReleaseCallsEveryBandInTheOrderOfTheTable) {
    EXPECT_FAKES_SAY(qubo_release(), "release 16\nrelease 8\n");
}

TEST(EntryPoints, ReleaseWithoutAnyUseFindsNothing) {
    qubo_release();
}

TEST(EntryPoints, ModelOfMoreVariablesThanAnyBandIsRefused) {
    Model model = fitting_model();
    model.impl().size = 65537;
    Sol sol(3);
    const std::string text = qubo_multi::refusal_text(qubo_multi::band_table(), 65537, 8, 32);
    EXPECT_EXIT(qubo_solve(sol.impl(), model.impl(), Param().impl()), testing::ExitedWithCode(1),
                exactly(text));
    EXPECT_EXIT(qubo_prepare(model.impl(), Param().impl()), testing::ExitedWithCode(1),
                exactly(text));
}

TEST(EntryPoints, RequestFor128ArithBitsIsRefused) {
    if (!orvex::tests::build_is_complete()) GTEST_SKIP() << "this build has fewer bands";
    const Model model = fitting_model();
    Sol sol(3);
    EXPECT_REFUSAL(qubo_solve(sol.impl(), model.impl(), asking_for("128").impl()),
                   "no ORVEX kernel can hold this QUBO (needs size >= 3, matrix bits >= 8, "
                   "arithmetic bits >= 128). This build has size <= 65536 and (matrix, "
                   "arithmetic) bit widths 32_32 32_64 64_64.");
}

}  // namespace
