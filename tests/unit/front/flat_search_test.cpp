// A search: what goes in beside the settings, and what of its result comes out. When one is refused
// nothing comes out, not even what was there from the search before.
#include <stdexcept>
#include <string>

#include "front/flat_bands.hpp"

namespace {

using namespace flat_tests;
using orvex::Sol;

constexpr std::uint64_t ALL_ONES = ~std::uint64_t{0};

/** Puts these words into a result, however many of their bits it has a use for. */
auto finding(const WORDS& words) {
    return [words](Sol::Impl& result, const BAND_CALL&) {
        for (int w = 0; w < result.words; ++w)
            result.data[static_cast<std::size_t>(w)] = words.at(static_cast<std::size_t>(w));
    };
}

class FlatSearch : public FLAT_TEST {
  protected:
    /** Searches into words of which each was 7. */
    int search_into(WORDS& words, SETTINGS settings = {}, const std::uint64_t* start = nullptr) {
        words.assign(3, 7);
        settings.push_back(nullptr);
        return tarvik_orvex_search(handle.get(), settings.data(), start, words.data());
    }

    HANDLE handle = create(70, {{0, 1}});
    WORDS solution;
};

TEST_F(FlatSearch, WritesTheSolutionAndNothingAfterIt) {
    bands().on_solve = finding({0x123456789abcdef0, 0x25});
    EXPECT_EQ(search_into(solution), 0);
    EXPECT_EQ(solution, (WORDS{0x123456789abcdef0, 0x25, 7}));
}

TEST_F(FlatSearch, WritesZerosAboveTheLastVariable) {
    bands().on_solve = finding({ALL_ONES, ALL_ONES});
    EXPECT_EQ(search_into(solution), 0);
    EXPECT_EQ(solution, (WORDS{ALL_ONES, 0x3f, 7}));
}

TEST_F(FlatSearch, WritesWholeWordsForAMultipleOf64) {
    handle = create(64);
    bands().on_solve = finding({ALL_ONES});
    EXPECT_EQ(search_into(solution), 0);
    EXPECT_EQ(solution, (WORDS{ALL_ONES, 7, 7}));
}

TEST_F(FlatSearch, OfOneVariableWritesOneWord) {
    handle = create(1);
    bands().on_solve = finding({ALL_ONES});
    EXPECT_EQ(search_into(solution), 0);
    EXPECT_EQ(solution, (WORDS{1, 7, 7}));
}

TEST_F(FlatSearch, WithoutAStartPassesNone) {
    EXPECT_EQ(search_into(solution), 0);
    EXPECT_FALSE(bands().last_solve().start);
}

TEST_F(FlatSearch, PassesTheBitsOfTheStartAndNoneAboveTheLastVariable) {
    const WORDS start = {0xf0, ALL_ONES};
    EXPECT_EQ(search_into(solution, {}, start.data()), 0);
    EXPECT_EQ(bands().last_solve().start, (WORDS{0xf0, 0x3f}));
}

TEST_F(FlatSearch, MayFindItsStartInTheWordsOfTheSolution) {
    bands().on_solve = [](Sol::Impl& result, const BAND_CALL& call) {
        result.data[0] = call.start.value().at(0) + 1;
    };
    solution = {10, 0};
    EXPECT_EQ(tarvik_orvex_search(handle.get(), nullptr, solution.data(), solution.data()), 0);
    EXPECT_EQ(solution, (WORDS{11, 0}));
}

TEST_F(FlatSearch, WithoutAnEventFunctionHasNoCallback) {
    EXPECT_EQ(search_into(solution), 0);
    EXPECT_EQ(bands().last_solve().callback, nullptr);
}

TEST_F(FlatSearch, MayBeRepeated) {
    for (const std::uint64_t word : {1, 2, 3}) {
        bands().on_solve = finding({word, 0});
        EXPECT_EQ(search_into(solution), 0);
        EXPECT_EQ(solution.at(0), word);
    }
    EXPECT_EQ(bands().of("solve").size(), 3u);
    EXPECT_EQ(bands().of("prepare").size(), 1u) << "the model was loaded once";
}

TEST_F(FlatSearch, LetsAnExceptionPass) {
    bands().on_solve = [](Sol::Impl&, const BAND_CALL&) { throw std::out_of_range("stoi"); };
    EXPECT_THROW(search_into(solution), std::out_of_range);
    EXPECT_EQ(solution, (WORDS{7, 7, 7}));
}

TEST_F(FlatSearch, RefusedLeavesTheSolutionUnwritten) {
    EXPECT_EQ(search_into(solution, {"gpus", "1"}), 1);
    EXPECT_EQ(solution, (WORDS{7, 7, 7}));
    EXPECT_EQ(search_into(solution, {"arithmetic_bits", "16"}), 1);
    EXPECT_EQ(solution, (WORDS{7, 7, 7}));
}

TEST_F(FlatSearch, WithoutAHandleIsRefused) {
    EXPECT_EQ(tarvik_orvex_search(nullptr, nullptr, nullptr, solution.data()), 1);
    EXPECT_STREQ(tarvik_orvex_last_error(), "ORVEX: handle is null");
}

TEST_F(FlatSearch, WithoutAPlaceForTheSolutionIsRefused) {
    EXPECT_EQ(tarvik_orvex_search(handle.get(), nullptr, nullptr, nullptr), 1);
    EXPECT_STREQ(tarvik_orvex_last_error(), "ORVEX: solution is null");
    EXPECT_TRUE(bands().of("solve").empty());
    EXPECT_EQ(search_into(solution), 0);
}

class FlatInfo : public FlatSearch {
  protected:
    FlatInfo() {
        bands().on_solve = [](Sol::Impl& result, const BAND_CALL&) {
            result.attrs = {{"solver", "an engine"}, {"size", "70"},     {"energy", "-3"},
                            {"tts", "0.125"},        {"runtime", "0.5"}, {"kernel_time", "0.4"}};
            result.env = {{"solver", "shadowed"},   {"gpu", "a device"},
                          {"version", "1"},         {"solver_size", "128"},
                          {"solver_bits", "32"},    {"arithmetic_bits", "64"},
                          {"search_cycles", "5 6"}, {"total_flips", "1000"},
                          {"tabu_cycles", "8"},     {"solution_proximity", "1"}};
        };
    }

    std::string info(const char* key) { return tarvik_orvex_info(handle.get(), key); }
};

TEST_F(FlatInfo, BeforeASearchIsEmpty) {
    EXPECT_EQ(info("runtime"), "");
}

TEST_F(FlatInfo, HasNineResultsOfTheLastSearch) {
    EXPECT_EQ(search_into(solution), 0);
    EXPECT_EQ(info("solver"), "an engine");
    EXPECT_EQ(info("gpu"), "a device");
    EXPECT_EQ(info("solver_size"), "128");
    EXPECT_EQ(info("solver_bits"), "32");
    EXPECT_EQ(info("arithmetic_bits"), "64");
    EXPECT_EQ(info("runtime"), "0.5");
    EXPECT_EQ(info("search_cycles"), "5 6");
    EXPECT_EQ(info("total_flips"), "1000");
    EXPECT_EQ(info("tts"), "0.125");
}

TEST_F(FlatInfo, HasNoOthers) {
    EXPECT_EQ(search_into(solution), 0);
    for (const char* key : {"energy", "size", "kernel_time", "version", "tabu_cycles",
                            "solution_proximity", "colour", ""})
        EXPECT_EQ(info(key), "") << key;
}

TEST_F(FlatInfo, IsThatOfTheLastSearchAlone) {
    EXPECT_EQ(search_into(solution), 0);
    bands().on_solve = [](Sol::Impl& result, const BAND_CALL&) {
        result.attrs = {{"runtime", "0.7"}, {"tts", ""}};
    };
    EXPECT_EQ(search_into(solution), 0);
    EXPECT_EQ(info("runtime"), "0.7");
    EXPECT_EQ(info("tts"), "") << "the search had no result";
    EXPECT_EQ(info("gpu"), "");
}

TEST_F(FlatInfo, IsEmptiedByARefusedSearch) {
    EXPECT_EQ(search_into(solution), 0);
    EXPECT_EQ(search_into(solution, {"gpus", "1"}), 1);
    EXPECT_EQ(info("runtime"), "");
    EXPECT_EQ(search_into(solution), 0);
    EXPECT_EQ(tarvik_orvex_search(handle.get(), nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(info("runtime"), "");
}

TEST_F(FlatInfo, KeepsItsTextsUntilTheNextSearch) {
    EXPECT_EQ(search_into(solution), 0);
    const char* const runtime = tarvik_orvex_info(handle.get(), "runtime");
    tarvik_orvex_info(handle.get(), "tts");
    tarvik_orvex_info(handle.get(), "colour");
    EXPECT_STREQ(runtime, "0.5");
}

TEST_F(FlatInfo, OfANullKeyThrows) {
    EXPECT_THROW(info(nullptr), std::logic_error);
}

TEST_F(FlatInfo, OfNoHandleIsEmpty) {
    EXPECT_STREQ(tarvik_orvex_info(nullptr, "runtime"), "");
}

TEST_F(FlatInfo, OfOneHandleIsNotThatOfAnother) {
    const HANDLE other = create(70);
    EXPECT_EQ(search_into(solution), 0);
    EXPECT_STREQ(tarvik_orvex_info(other.get(), "runtime"), "");
    EXPECT_EQ(search(other, {"gpus", "1"}), 1);
    EXPECT_EQ(info("runtime"), "0.5");
}

}  // namespace
