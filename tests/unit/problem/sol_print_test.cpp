#include "orvex/sol.hpp"

#include "support/refusal.hpp"
#include "support/text_of.hpp"

namespace orvex {
namespace {

using tests::text_of;

/** The bits 1, 0, 1, with one entry in each section. */
Sol example() {
    Sol sol(3);
    sol.set(0, true);
    sol.set(2, true);
    sol.impl().env["gpu"] = "none";
    sol.impl().log << "first\nsecond";
    return sol;
}

TEST(SolPrint, WritesAllSections) {
    EXPECT_EQ(text_of(example(), ""), "101\nenergy=0\ngpu=none\nfirst\nsecond");
}

TEST(SolPrint, WritesTheSectionThatIsNamed) {
    EXPECT_EQ(text_of(example(), "sol"), "101\n");
    EXPECT_EQ(text_of(example(), "attrs"), "energy=0\n");
    EXPECT_EQ(text_of(example(), "env"), "gpu=none\n");
    EXPECT_EQ(text_of(example(), "log"), "first\nsecond");
}

TEST(SolPrint, CharacterAfterSolIsBetweenDigits) {
    EXPECT_EQ(text_of(example(), "sol,"), "1,0,1\n");
    EXPECT_EQ(text_of(example(), "sol\n"), "1\n0\n1\n");
}

TEST(SolPrint, BlankAfterSolLeavesTheDigitsTogether) {
    EXPECT_EQ(text_of(example(), "sol "), "101\n");
}

TEST(SolPrint, DelimiterAloneWritesAllSectionsWithIt) {
    Sol sol = example();
    sol.impl().env["version"] = "1";
    EXPECT_THAT(text_of(sol, ","),
                testing::AnyOf("1,0,1\nenergy=0\ngpu=none,version=1\nfirst\nsecond",
                               "1,0,1\nenergy=0\nversion=1,gpu=none\nfirst\nsecond"));
}

TEST(SolPrint, AttributesAreSeparatedByABlankUnlessToldOtherwise) {
    Sol sol(0);
    sol.set("tts", "");
    EXPECT_THAT(text_of(sol, "attrs"), testing::AnyOf("energy=0 tts=\n", "tts= energy=0\n"));
    EXPECT_THAT(text_of(sol, "attrs;"), testing::AnyOf("energy=0;tts=\n", "tts=;energy=0\n"));
}

TEST(SolPrint, WithoutBitsIsANewline) {
    EXPECT_EQ(text_of(Sol(), "sol"), "\n");
}

TEST(SolPrint, WithoutEntriesSectionsAreEmpty) {
    Sol sol(0);
    sol.impl().attrs.clear();
    EXPECT_EQ(text_of(sol, ""), "\n");
}

TEST(SolPrint, DigitsStandInFieldsOfWidth1) {
    std::ostringstream out;
    out.width(5);
    example().print("sol", out);
    EXPECT_EQ(out.str(), "101\n");
}

TEST(SolPrint, TakesItsArgumentsInEitherOrder) {
    std::ostringstream out;
    example().print(out, "sol,");
    EXPECT_EQ(out.str(), "1,0,1\n");
}

TEST(SolPrint, UnknownSectionIsRefused) {
    EXPECT_REFUSAL(text_of(example(), "attr"), "wrong sol print option \"attr\".");
}

TEST(SolPrint, UnknownSectionIsQuotedWithItsDelimiter) {
    EXPECT_REFUSAL(text_of(example(), "attr;"), "wrong sol print option \"attr;\".");
}

TEST(SolPrint, ListOfSectionsIsRefused) {
    EXPECT_REFUSAL(text_of(example(), "sol,attrs"), "wrong sol print option \"sol,attrs\".");
}

}  // namespace
}  // namespace orvex
