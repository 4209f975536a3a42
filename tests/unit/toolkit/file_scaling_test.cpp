// Files with decimals: which integers they become, what their energies are in the file's own
// numbers, and what is refused.
#include <cmath>
#include <limits>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "toolkit/model/scaling.hpp"
#include "unit/toolkit/reading.hpp"

namespace orvex::toolkit::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

const std::string SPINS = "# vartype=SPIN\n", BITS = "# vartype=BINARY\n";

ReadOptions times(long factor) {
    return {.scale = {.rule = Scale::Rule::FACTOR, .factor = factor}};
}

TEST(FileScaling, DecimalsAreMultipliedByTheLeastPowerOfTenThatMakesThemWhole) {
    const Problem problem = read(BITS + "0 0 -1\n0 1 2.5\n1 1 -0.125\n1 2 1e-2\n");
    EXPECT_THAT(weights(problem), ElementsAre(-1000, 2500, 0, -125, 10, 0));
    EXPECT_EQ(problem.convention.scale, 1000);
    EXPECT_EQ(problem.convention.largest_error, 0);
    EXPECT_EQ(problem.convention.own_text(-12750), "-12.75");
    EXPECT_EQ(problem.convention.own_text(-5), "-0.005");
    EXPECT_EQ(problem.convention.own_text(3000), "3");
    EXPECT_EQ(problem.reals, nullptr);
}

TEST(FileScaling, WholeNumbersStayAsTheyAre) {
    const Problem problem = read(BITS + "0 0 -1.0\n0 1 25e1\n");
    EXPECT_THAT(weights(problem), ElementsAre(-1, 250, 0));
    EXPECT_FALSE(problem.convention.scaled());
    // Decimals that add up, or are counted twice, need no scale either.
    EXPECT_THAT(weights(read(BITS + "0 0 0.5\n0 0 0.25\n0 0 0.25\n")), ElementsAre(1));
    EXPECT_THAT(weights(read("2 2\n1 1 -4\n1 2 0.5\n")), ElementsAre(-4, 1, 0));
    EXPECT_FALSE(read("2 2\n1 1 -4\n1 2 0.5\n").convention.scaled());
}

TEST(FileScaling, EachFormatTakesDecimals) {
    EXPECT_THAT(weights(read("p qubo 0 2 1 1\n0 0 -0.5\n0 1 1\n")), ElementsAre(-5, 10, 0));
    EXPECT_THAT(weights(read_as("maxcut", "2 1\n1 2 1.5\n")), ElementsAre(-15, 30, -15));
    EXPECT_THAT(weights(read("2 2\n1 1 -0.5\n1 2 0.25\n")), ElementsAre(-5, 5, 0));
    EXPECT_THAT(weights(read_as("orlib", "1\n2 2\n1 1 0.1\n1 2 3\n")), ElementsAre(-1, -60, 0));
    EXPECT_THAT(weights(read("%%MatrixMarket matrix coordinate real general\n2 2 2\n1 1 -4.5\n"
                             "2 1 5\n")),
                ElementsAre(-45, 50, 0));
    EXPECT_THAT(weights(read("2 3 -1.5 2\n0 0 -1.5\n0 1 2\n1 1 1\n")), ElementsAre(-15, 20, 10));
    const Problem spins = read(SPINS + "0 0 0.5\n0 1 -0.25\n");
    EXPECT_THAT(weights(spins), ElementsAre(150, -100, 50));  // the offset has two decimals
    EXPECT_EQ(spins.convention.equation(), "objective = energy - 0.75");
    const Problem offset = read("# ObjectiveOffset -1.5\n1 1\n1 1 7\n");
    EXPECT_EQ(offset.convention.equation(), "objective = energy - 1.5");
    EXPECT_EQ(offset.convention.own_text(offset.convention.objective_at(70)), "5.5");
}

TEST(FileScaling, TheOtherInstancesOfAFileDoNotScaleTheChosenOne) {
    const Problem problem =
        read("2\n1 1\n1 1 0.001\n1 1\n1 1 0.5\n", {.format = "orlib", .instance = 2});
    EXPECT_EQ(problem.convention.scale, 10);
}

/** Of a model file, as with whole numbers. */
TEST(FileScaling, TheLastWeightOfAPairCountsInTheSystemsOwnFiles) {
    const Problem problem = read("2 4 -1.5 2\n0 0 -1.5\n0 1 2\n1 0 0.5\n0 0 1.25\n");
    EXPECT_THAT(weights(problem), ElementsAre(125, 50, 0));
    ASSERT_THAT(problem.warnings, SizeIs(1));
    EXPECT_THAT(problem.warnings[0], HasSubstr("line 4: a pair is repeated (2 in all)"));
    EXPECT_THAT(read("1 1 0 1\n0 0 1.5\n").warnings[0],
                HasSubstr("line 2: the weight 1.5 is outside"));
    EXPECT_EQ(refusal("2 1 -1.5 2\n0 2 1\n"), "line 2: the second index is 2, not from 0 to 1");
    EXPECT_EQ(refusal("2 1 1.5 -2\n0 1 1\n"),
              "line 1: the header's smallest weight is above its largest");
}

/** Beyond the part of a file that tells its format, it is read a second time. */
TEST(FileScaling, DecimalsMayComeLateInAModelFile) {
    constexpr int ENTRIES = 100'000;
    std::string text = "100000 100000 -1 1\n";
    for (int i = 0; i < ENTRIES - 1; ++i)
        text += std::to_string(i) + ' ' + std::to_string(i) + " 1\n";
    text += "99999 99999 -0.5\n";
    const Problem problem = read(text);
    EXPECT_EQ(problem.convention.scale, 10);
    EXPECT_EQ(problem.weights.get(0, 0), 10);
    EXPECT_EQ(problem.weights.get(99999, 99999), -5);
    EXPECT_THAT(exact_refusal(text), HasSubstr("line 100001: the weight must be a whole number"));
}

/** The last decimals of these would need weights beyond 64 bits. */
TEST(FileScaling, WhatIsTooFineIsRounded) {
    const Problem problem = read(SPINS +
                                 "0 0 0.12345678901234568\n0 1 -1.1102230246251565e-16\n"
                                 "1 2 1.7320508075688772\n2 2 -0.3333333333333333\n");
    ASSERT_NE(problem.reals, nullptr);
    EXPECT_GT(problem.convention.largest_error, 0);
    EXPECT_LT(problem.convention.largest_error, 1e-7);
    ASSERT_THAT(problem.warnings, SizeIs(1));
    EXPECT_THAT(problem.warnings[0], HasSubstr("rounded"));
    int exponent = 0;
    EXPECT_EQ(std::frexp(problem.convention.scale, &exponent), 0.5) << "no power of two";
    for (const char* digits : {"000", "010", "101", "111"}) {
        Sol solution(3);
        double spins[3];
        for (int i = 0; i < 3; ++i) {
            solution.set(i, digits[i] == '1');
            spins[i] = digits[i] == '1' ? 1 : -1;
        }
        const double expected =
            0.12345678901234568 * spins[0] - 1.1102230246251565e-16 * spins[0] * spins[1] +
            1.7320508075688772 * spins[1] * spins[2] - 0.3333333333333333 * spins[2];
        const double energy = real_energy(problem.reals->pairs, problem.reals->values, solution);
        EXPECT_NEAR(problem.convention.real_objective_at(energy), expected, 1e-15);
        const double searched = static_cast<double>(problem.weights.energy(solution));
        EXPECT_NEAR(searched / problem.convention.scale, energy, problem.convention.largest_error);
    }
}

TEST(FileScaling, CoefficientsOfAnyMagnitudeAreTaken) {
    const Problem tiny = read(BITS + "0 0 -1.25e-30\n0 1 2e-30\n");
    EXPECT_EQ(real_energy(tiny.reals->pairs, tiny.reals->values, Sol(2)), 0);
    EXPECT_THAT(tiny.reals->values, ElementsAre(-1.25e-30, 2e-30));
    const Problem both = read(BITS + "0 0 1e-40\n1 1 123456789012345.5\n");
    EXPECT_EQ(both.reals->values.back(), 123456789012345.5);
    EXPECT_GT(both.convention.largest_error, 0);
    EXPECT_LT(both.convention.largest_error, 123456789012345.5 / (1 << 20));
    EXPECT_EQ(refusal(BITS + "0 0 0.5\n0 1 1e20\n"),
              "line 3: the bias is \"1e20\", which does not fit into 64 bits");
    EXPECT_EQ(refusal(BITS + "0 0 0.5\n0 1 0.5x\n"),
              "line 3: the bias is \"0.5x\", which is not a number");
}

/** The factor for these is 1, and yet they are rounded. */
TEST(FileScaling, LargeCoefficientsMayBeRoundedWithoutAScale) {
    const Problem problem = read(BITS + "0 0 -1000000000.12345678901234567\n");
    EXPECT_EQ(problem.convention.scale, 1);
    EXPECT_GT(problem.convention.largest_error, 0.1);
    EXPECT_TRUE(problem.convention.scaled());
    EXPECT_THAT(problem.reals->values, ElementsAre(-1000000000.12345678901234567));
}

TEST(FileScaling, AFactorMustMakeAllOfThemWhole) {
    const std::string text = BITS + "0 0 -1.25\n0 1 2\n";
    const Problem problem = read(text, times(4));
    EXPECT_THAT(weights(problem), ElementsAre(-5, 8, 0));
    EXPECT_EQ(problem.convention.own_text(-5), "-1.25");
    EXPECT_THAT(weights(read("2 2 -1 1\n0 0 -1\n0 1 1\n", times(3))), ElementsAre(-3, 3, 0));
    EXPECT_EQ(refusal(text, times(10)),
              "line 2: the bias is \"-1.25\", which the scale 10 does not make a whole number");
    EXPECT_EQ(refusal(text + "1 1 one\n", times(4)),
              "line 4: the bias is \"one\", which is not a number");
    EXPECT_THAT(refusal("1\n1\n1\n", {.format = "qaplib", .scale = times(4).scale}),
                HasSubstr("hold whole numbers"));
}

TEST(FileScaling, AScaleIsNamed) {
    EXPECT_EQ(Scale::of("auto").rule, Scale::Rule::AUTO);
    EXPECT_EQ(Scale::of("exact").rule, Scale::Rule::EXACT);
    EXPECT_EQ(Scale::of("1000").factor, 1000);
    for (const char* wrong : {"", "0", "-1", "1.5", "ten", "9007199254740993"})
        EXPECT_THROW(Scale::of(wrong), InputError) << wrong;
}

TEST(FileScaling, ATargetIsInTheNumbersOfTheFile) {
    const Convention tenths{.scale = 10, .decimals = 1};
    EXPECT_EQ(target_of("-12.7", tenths).searched, -127);
    EXPECT_EQ(target_of("-12.75", tenths).searched, -128);  // -12.7 is above it
    EXPECT_EQ(target_of("12.75", tenths).searched, 127);
    EXPECT_EQ(target_of("-371438", {}).searched, -371438);
    EXPECT_EQ(target_of("0.5", {.scale = 3}).searched, 1);
    EXPECT_EQ(target_of("1e30", tenths).searched, std::numeric_limits<long>::max());
    EXPECT_EQ(target_of("-1e30", tenths).searched, std::numeric_limits<long>::min());
    EXPECT_EQ(target_of("-1e-30", tenths).searched, -1);
    const Convention rounded{.scale = 1024, .largest_error = 0.25};
    EXPECT_EQ(target_of("-1", rounded).searched, -1280);
    EXPECT_THROW(target_of("low", {}), InputError);
}

}  // namespace
}  // namespace orvex::toolkit::test
