// Settings are refused by check_parameter before a run would end the process over them. That it
// agrees with what runs do is tried out: every key with many odd values, in processes that may end.
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvex/parameters.hpp"

#include "engine/support/read_params.hpp"
#include "support/sanitized.hpp"

namespace orvex {
namespace {

using engine_tests::PRESENTED_DEVICES;
using testing::EndsWith;
using testing::StartsWith;

TEST(CheckParameter, HasNothingToSayOfWhatARunTakes) {
    EXPECT_EQ(check_parameter("time_limit", "30"), "");
    EXPECT_EQ(check_parameter("search_cycles", " 5000\t1000 "), "");
    EXPECT_EQ(check_parameter("search_cycles_factor", "1e-1 .5"), "");
    EXPECT_EQ(check_parameter("fix_algorithm", "Cyc"), "");
    EXPECT_EQ(check_parameter("log", "true"), "");
    EXPECT_EQ(check_parameter("expected_energy", ""), "");
    EXPECT_EQ(check_parameter("restart_t0", "-1"), "") << "turns restarts off";
}

TEST(CheckParameter, NamesTheKeyAndSaysWhatIsWanted) {
    EXPECT_EQ(check_parameter("tabu_cycles", "256"),
              "tabu_cycles must be an integer from 0 to 255, not \"256\"");
    EXPECT_EQ(check_parameter("annealing_factor", "a fifth"),
              "annealing_factor must be a number from 0 to 10000, not \"a fifth\"");
    EXPECT_EQ(check_parameter("search_cycles", "100"),
              "search_cycles must be two integers from 0 to 2147483647, not \"100\"");
    EXPECT_EQ(check_parameter("restart_nobest", "1 2"),
              "restart_nobest must be two numbers from -1e9 to 1e9 and from 0 to 1, not \"1 2\"");
    EXPECT_EQ(check_parameter("log", "yes"), "log must be one of 0, 1, false, true, not \"yes\"");
    EXPECT_THAT(check_parameter("fix_algorithm", "Fastest"),
                StartsWith("fix_algorithm must be the name, or its beginning, of one of MaxMin, "));
    EXPECT_THAT(check_parameter("fix_instance", "random"), EndsWith("AllBest, not \"random\""));
}

TEST(CheckParameter, NamesTheNearestKeyForOneThatIsNotKnown) {
    const auto answer = [](const std::string& key, const std::string& nearest) {
        return "there is no parameter \"" + key + "\"; did you mean \"" + nearest + "\"?";
    };
    EXPECT_EQ(check_parameter("time_limits", "5"), answer("time_limits", "time_limit"));
    EXPECT_EQ(check_parameter("Pool-Size", "5"), answer("Pool-Size", "pool_size"));
    EXPECT_EQ(check_parameter("gpu", "1"), answer("gpu", "gpus"));
    EXPECT_EQ(check_parameter("restart_d", "1 2"), answer("restart_d", "restart_b"));
    EXPECT_EQ(check_parameter("", ""), answer("", "log")) << "the shortest";
}

TEST(CheckParameter, RefusesWhatARunWouldTakeForSomethingElse) {
    for (const auto& [key, value] : std::initializer_list<std::pair<const char*, const char*>>{
             {"time_limit", "-1"},
             {"time_limit", "4294967296"},
             {"verbose", "70000"},
             {"pool_size", "4294967298"},
             {"islands_per_gpu", "-3"},
             {"islands_per_gpu", "256"},
             {"inst_zero", "64"},
             {"inst_one", "-1"},
             {"restart_b", "nan"},
             {"batch_factor", "inf"},
             {"annealing_factor", "-0.5"},
             {"fix_algorithm", ""},
             {"arithmetic_bits", "sixty-four"}}) {
        EXPECT_THAT(check_parameter(key, value), StartsWith(std::string(key) + " must be "));
    }
}

TEST(CheckParameter, CountsTheDevices) {
    const PRESENTED_DEVICES two(2);
    EXPECT_EQ(check_parameter("gpus", "2"), "");
    EXPECT_EQ(check_parameter("gpus", "3"), "gpus must not be more than there are, not \"3\"");
    EXPECT_EQ(check_parameter("gpus", "0"),
              "gpus must be an integer from 1 to 2147483647, not \"0\"");
}

/** Whether reading this setting ends the process; tried in a process of its own. */
bool ends_a_run(const std::string& key, const std::string& value) {
    const pid_t child = fork();
    if (child == 0) {
        if (!freopen("/dev/null", "w", stderr)) _exit(2);
        engine_tests::read({{key, value}});
        _exit(0);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) <= 1) << key << "=" << value;
    return WEXITSTATUS(status) == 1;
}

/** Whether a number is none that the range holds, by another reading than the library's. */
bool beyond(const ParameterRange& range, const char*& text) {
    char* end = nullptr;
    const long double number = std::strtold(text, &end);
    const auto bound = [](std::string_view word) {
        return std::strtold(std::string(word).c_str(), nullptr);
    };
    text = end;
    return !(number >= bound(range.least) && number <= bound(range.most));
}

/** Whether a run takes the value, but not for what it says. */
bool is_senseless(const Parameter& parameter, const std::string& value) {
    const char* text = value.c_str();
    switch (parameter.first.kind) {
        case ParameterKind::INTEGER:
        case ParameterKind::NUMBER:
            return beyond(parameter.first.sensible, text) ||
                   (parameter.second && beyond(parameter.second->sensible, text));
        case ParameterKind::NAME:
            return value.empty();
        case ParameterKind::WORD:
            // The only one of which a run takes any text.
            return parameter.key == "arithmetic_bits" && value != "32" && value != "64";
        case ParameterKind::TEXT:
            return false;
    }
    return false;
}

TEST(CheckParameter, AgreesWithRunsOnEveryKey) {
    const PRESENTED_DEVICES two(2);  // as the run has that reads settings here
    const std::string values[] = {"",
                                  " ",
                                  "0",
                                  "1",
                                  "2",
                                  "3",
                                  "-1",
                                  "+7",
                                  "007",
                                  "\t5\n",
                                  "5\v",
                                  "63",
                                  "64",
                                  "255",
                                  "256",
                                  "32",
                                  "48",
                                  "32767",
                                  "70000",
                                  "2147483647",
                                  "2147483648",
                                  "-2147483648",
                                  "-2147483649",
                                  "4294967295",
                                  "4294967297",
                                  "134217728",
                                  "9223372036854775807",
                                  "9223372036854775808",
                                  "-9223372036854775808",
                                  "-9223372036854775809",
                                  "100 20",
                                  "0 0.5",
                                  "1 2 3",
                                  "1,2",
                                  "1 x",
                                  "x 1",
                                  "12abc",
                                  "0x10",
                                  "0.5",
                                  "-0.5 0.5",
                                  "1e3",
                                  "1e9 1e9",
                                  "1e300",
                                  "1e999",
                                  "1e-999",
                                  "nan",
                                  "nan 1",
                                  "1 nan",
                                  "inf",
                                  "-inf 0",
                                  std::string("1\0 2", 4),
                                  "true",
                                  "false x",
                                  "True",
                                  "MaxMin",
                                  "Max",
                                  "MaxMinimum",
                                  "T",
                                  " Max",
                                  "Random",
                                  "random",
                                  "AllBest",
                                  "*"};
    // A process under a sanitizer takes long to copy, so each key has every fourth value there, and
    // the next one others.
    const std::size_t every = test::SANITIZED ? 4 : 1;
    std::size_t first = 0;
    int taken = 0, refused = 0;
    for (const Parameter& parameter : parameters()) {
        for (std::size_t i = first++ % every; i < std::size(values); i += every) {
            const std::string& value = values[i];
            const std::string key(parameter.key);
            SCOPED_TRACE(key + "=" + value);
            const bool ends = ends_a_run(key, value);
            if (check_parameter(key, value).empty()) {
                EXPECT_FALSE(ends);
                EXPECT_FALSE(is_senseless(parameter, value));
                ++taken;
            } else {
                EXPECT_TRUE(ends || is_senseless(parameter, value));
                ++refused;
            }
        }
    }
    EXPECT_GT(taken, test::SANITIZED ? 50 : 300);
    EXPECT_GT(refused, test::SANITIZED ? 100 : 600);
}

TEST(CheckParameter, WhatIsSaidToEndARunEndsItAndItsNeighbourDoesNot) {
    for (const Parameter& parameter : parameters()) {
        const std::string key(parameter.key);
        const auto [least, most] = parameter.first.accepted;
        if (!least.empty()) {
            EXPECT_FALSE(ends_a_run(key, std::string(least))) << key;
            EXPECT_TRUE(ends_a_run(key, std::to_string(std::stol(std::string(least)) - 1))) << key;
        }
        if (!most.empty()) {
            EXPECT_FALSE(ends_a_run(key, std::string(most))) << key;
            EXPECT_TRUE(ends_a_run(key, std::to_string(std::stol(std::string(most)) + 1))) << key;
        }
        if (parameter.first.kind != ParameterKind::INTEGER || !least.empty()) continue;
        for (const char* any : {"-9223372036854775808 0", "9223372036854775807 0"})
            EXPECT_FALSE(ends_a_run(key, any)) << key;
    }
}

TEST(CheckParameter, AKeyThatIsNotKnownEndsARun) {
    EXPECT_TRUE(ends_a_run("time_limits", "5"));
}

}  // namespace
}  // namespace orvex
