// What a search is asked with: how a list of settings is read, which of them are refused, and when
// energies are computed in 64 bits without being asked for.
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "front/flat_bands.hpp"

namespace {

using namespace flat_tests;
using PARAMS = std::map<std::string, std::string>;

class FlatSettings : public FLAT_TEST {
  protected:
    /** What arrives at the band of a list of settings. */
    PARAMS taken(const SETTINGS& settings) {
        EXPECT_EQ(search(handle, settings), 0) << tarvik_orvex_last_error();
        return bands().last_solve().params;
    }

    HANDLE handle = create(5, {{0, 1}});
};

TEST_F(FlatSettings, AreReadInPairs) {
    EXPECT_EQ(taken({}), PARAMS());
    EXPECT_EQ(taken({"time_limit", "3"}), (PARAMS{{"time_limit", "3"}}));
    EXPECT_EQ(taken({"time_limit", "3", "verbose", "1"}),
              (PARAMS{{"time_limit", "3"}, {"verbose", "1"}}));
}

TEST_F(FlatSettings, MayBeLeftOutAsAWhole) {
    std::uint64_t solution;
    EXPECT_EQ(tarvik_orvex_search(handle.get(), nullptr, nullptr, &solution), 0);
    EXPECT_EQ(bands().last_solve().params, PARAMS());
}

TEST_F(FlatSettings, EndAtTheFirstKeyThatIsNull) {
    EXPECT_EQ(taken({"time_limit", "3", nullptr, "verbose", "1"}), (PARAMS{{"time_limit", "3"}}));
}

TEST_F(FlatSettings, EndAtTheFirstValueThatIsNull) {
    EXPECT_EQ(taken({"time_limit", nullptr, "verbose", "1"}), PARAMS());
    EXPECT_EQ(taken({"verbose", "1", "time_limit", nullptr, "log", "1"}),
              (PARAMS{{"verbose", "1"}}));
    EXPECT_EQ(taken({"gpus", nullptr}), PARAMS());
}

TEST_F(FlatSettings, OfARepeatedKeyTheLastValueCounts) {
    EXPECT_EQ(taken({"verbose", "1", "verbose", "2"}), (PARAMS{{"verbose", "2"}}));
}

TEST_F(FlatSettings, KeysAndValuesAreTheEnginesToJudge) {
    EXPECT_EQ(taken({"colour", "blue", "time_limit", "soon", "", ""}),
              (PARAMS{{"colour", "blue"}, {"time_limit", "soon"}, {"", ""}}));
}

TEST_F(FlatSettings, TheNumberOfGpusOfTheHandleIsAddedToEachSearch) {
    handle = create(5, {}, {}, 2);
    EXPECT_EQ(taken({"verbose", "1"}), (PARAMS{{"gpus", "2"}, {"verbose", "1"}}));
    EXPECT_EQ(taken({}), (PARAMS{{"gpus", "2"}}));
}

TEST_F(FlatSettings, OfOneSearchAreGoneInTheNext) {
    taken({"verbose", "1"});
    EXPECT_EQ(taken({"log", "1"}), (PARAMS{{"log", "1"}}));
}

TEST_F(FlatSettings, AWidthOfArithmeticThatIsOfferedChoosesTheBand) {
    EXPECT_EQ(taken({"arithmetic_bits", "64"}), (PARAMS{{"arithmetic_bits", "64"}}));
    EXPECT_EQ(bands().last_solve().arith_bits, 64);
    taken({"arithmetic_bits", "32"});
    EXPECT_EQ(bands().last_solve().arith_bits, 32);
}

TEST_F(FlatSettings, AWidthIsANumberWithWhateverComesAfterIt) {
    EXPECT_EQ(taken({"arithmetic_bits", " 64 bits"}), (PARAMS{{"arithmetic_bits", " 64 bits"}}));
    EXPECT_EQ(bands().last_solve().arith_bits, 64);
}

class FlatSettingsRefused : public FlatSettings {
  protected:
    void expect_refused(const SETTINGS& settings, const std::string& text) {
        bands().calls.clear();
        EXPECT_EQ(search(handle, settings), 1);
        EXPECT_EQ(tarvik_orvex_last_error(), text);
        EXPECT_TRUE(bands().calls.empty());
    }
};

TEST_F(FlatSettingsRefused, GpusWhateverTheirValue) {
    const std::string text = "ORVEX: 'gpus' cannot be set per search; pass it to the constructor";
    for (const char* value : {"1", "0", "-1", "", "many"})
        expect_refused({"gpus", value}, text);
    expect_refused({"verbose", "1", "gpus", "1"}, text);
    handle = create(5, {}, {}, 1);
    expect_refused({"gpus", "1"}, text);
}

TEST_F(FlatSettingsRefused, WidthsOfArithmeticThatAreNotOffered) {
    for (const std::string value : {"16", "0", "-32", "128", "33", "wide", ""})
        expect_refused(
            {"arithmetic_bits", value.c_str()},
            "ORVEX: arithmetic_bits = " + value + " is not available in this build (has 32, 64)");
}

TEST_F(FlatSettingsRefused, WidthsOfArithmeticOnTheWayToOneThatIsOffered) {
    expect_refused({"arithmetic_bits", "16", "arithmetic_bits", "32"},
                   "ORVEX: arithmetic_bits = 16 is not available in this build (has 32, 64)");
}

TEST_F(FlatSettingsRefused, TheFirstOfTwoMistakes) {
    expect_refused({"arithmetic_bits", "16", "gpus", "1"},
                   "ORVEX: arithmetic_bits = 16 is not available in this build (has 32, 64)");
    expect_refused({"gpus", "1", "arithmetic_bits", "16"},
                   "ORVEX: 'gpus' cannot be set per search; pass it to the constructor");
}

TEST_F(FlatSettingsRefused, TheNextSearchSucceedsAndClearsTheError) {
    expect_refused({"arithmetic_bits", "16"},
                   "ORVEX: arithmetic_bits = 16 is not available in this build (has 32, 64)");
    EXPECT_EQ(taken({"verbose", "1"}), (PARAMS{{"verbose", "1"}}));
    EXPECT_STREQ(tarvik_orvex_last_error(), "");
}

class FlatWideSums : public FLAT_TEST {
  protected:
    /** The setting that a search of these terms gets without asking; "absent" if none. */
    std::string added_to(const std::vector<LINEAR>& linear,
                         const std::vector<QUADRATIC>& quadratic = {}) {
        const HANDLE handle = create(5, linear, quadratic);
        EXPECT_EQ(search(handle), 0);
        const BAND_CALL& call = bands().last_solve();
        const auto found = call.params.find("arithmetic_bits");
        EXPECT_EQ(call.arith_bits, found != call.params.end() || call.matrix_bits == 64 ? 64 : 32);
        return found == call.params.end() ? "absent" : found->second;
    }
};

TEST_F(FlatWideSums, UpTo2000000000StayWithDefaultArithmetic) {
    EXPECT_EQ(added_to({{0, 2000000000}}), "absent");
    EXPECT_EQ(added_to({{0, -2000000000}}), "absent");
    EXPECT_EQ(added_to({{0, 1000000000}}, {{0, 1, -1000000000}}), "absent");
}

TEST_F(FlatWideSums, Of2000000001AskFor64Bits) {
    EXPECT_EQ(added_to({{0, 2000000001}}), "64");
    EXPECT_EQ(added_to({{0, -2000000001}}), "64");
    EXPECT_EQ(added_to({{0, 1000000000}}, {{0, 1, -1000000001}}), "64");
}

TEST_F(FlatWideSums, CountValuesThatWereReplaced) {
    EXPECT_EQ(added_to({{0, 2000000000}, {0, 1}}), "64");
    EXPECT_EQ(added_to({{0, 2000000000}}, {{0, 0, 1}}), "64");
}

TEST_F(FlatWideSums, AreCutTo64SignedBits) {
    constexpr std::int64_t LEAST = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(added_to({{0, LEAST}}), "absent") << "2^63 is negative as a signed number";
    EXPECT_EQ(added_to({{0, LEAST}, {1, LEAST}}), "absent") << "2^64 is 0";
    EXPECT_EQ(added_to({{0, LEAST + 1}}), "64");
}

TEST_F(FlatWideSums, YieldToTheCaller) {
    const HANDLE handle = create(5, {{0, 2000000000}, {1, 2000000000}});
    EXPECT_EQ(search(handle, {"arithmetic_bits", "32"}), 0);
    EXPECT_EQ(bands().last_solve().params, (PARAMS{{"arithmetic_bits", "32"}}));
    EXPECT_EQ(bands().last_solve().arith_bits, 32);
    EXPECT_EQ(search(handle), 0);
    EXPECT_EQ(bands().last_solve().params, (PARAMS{{"arithmetic_bits", "64"}}));
}

TEST_F(FlatWideSums, AreSearchedInAnotherBandThanTheOneThatWasLoaded) {
    const HANDLE handle = create(5, {{0, 2000000000}, {1, 2000000000}});
    EXPECT_EQ(bands().of("prepare").at(0).arith_bits, 32);
    EXPECT_EQ(search(handle), 0);
    EXPECT_EQ(bands().last_solve().arith_bits, 64);
    EXPECT_EQ(bands().last_solve().matrix_bits, 32);
}

}  // namespace
