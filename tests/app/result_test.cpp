// Results: their energy is checked before anything of them is shown.
#include "app/result.hpp"

#include <limits>
#include <random>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/exit_status.hpp"
#include "toolkit/io/solution.hpp"
#include "toolkit/model/errors.hpp"
#include "unit/toolkit/temporary_file.hpp"

namespace orvex::cli::test {
namespace {

using testing::HasSubstr;

Sol random_solution(int size) {
    std::mt19937 random(2);
    Sol solution(size);
    for (int i = 0; i < size; ++i)
        solution.set(i, random() % 2 != 0);
    return solution;
}

std::string refusal(const std::string& contents, int size) {
    try {
        read_solution(toolkit::test::TemporaryFile(contents).path(), size);
        return "";
    } catch (const InputError& error) {
        return error.what();
    }
}

TEST(Solution, IsReadFromTheFirstLine) {
    for (const char* contents : {"0110\nenergy=5\n", "0110", "0110\r\n", "0110 \n"}) {
        const Sol solution = read_solution(toolkit::test::TemporaryFile(contents).path(), 4);
        EXPECT_EQ(digits_of(solution, 4), "0110");
    }
}

TEST(Solution, ThatIsNoneIsRefused) {
    EXPECT_THAT(refusal("011\n", 4), HasSubstr("has 4 digits; there are 3"));
    EXPECT_THAT(refusal("01101\n", 4), HasSubstr("has 4 digits; there are 5"));
    EXPECT_THAT(refusal("01x0\n", 4), HasSubstr("character 3 is neither"));
    EXPECT_THAT(refusal("0 110\n", 4), HasSubstr("character 2 is neither"));
    EXPECT_THAT(refusal("\n0110\n", 4), HasSubstr("there are 0"));
    EXPECT_THAT(refusal("", 4), HasSubstr("it is empty"));
    EXPECT_THROW(read_solution("/nowhere/start", 4), InputError);
}

TEST(Report, HasThreeForms) {
    Report report;
    report["energy"] = -5;
    report["target_reached"] = true;
    report["tts"] = nullptr;
    report["log"] = {{0.1, -4}, {0.2, -5}};
    std::ostringstream text, json, pairs;
    print_text(report, text);
    print_json(report, json);
    print_key_values(report, pairs);
    EXPECT_EQ(text.str(),
              "energy          -5\ntarget reached  true\ntts             none\n"
              "log             0.1 -4 0.2 -5\n");
    EXPECT_EQ(json.str(),
              "{\"energy\":-5,\"target_reached\":true,\"tts\":null,"
              "\"log\":[[0.1,-4],[0.2,-5]]}\n");
    EXPECT_EQ(pairs.str(), "energy=-5\ntarget_reached=true\ntts=none\nlog=0.1,-4\nlog=0.2,-5\n");
}

/** JSON sets no limit to a number, and most of its readers know none. */
TEST(Report, WideNumbersAreNumbers) {
    Report report = Report::object();
    report["bound"] = number(Wide{1} << 70);
    report["pair"] = {1, 2};
    std::ostringstream text, json, pairs;
    print_text(report, text);
    print_json(report, json);
    print_key_values(report, pairs);
    EXPECT_EQ(text.str(), "bound  1180591620717411303424\npair   1 2\n");
    EXPECT_EQ(json.str(), "{\"bound\":1180591620717411303424,\"pair\":[1,2]}\n");
    EXPECT_EQ(pairs.str(), "bound=1180591620717411303424\npair=1 2\n");
}

TEST(Report, ANameThatIsNoUtf8IsStillJson) {
    Report report;
    report["file"] = "\xff.qubo";
    std::ostringstream json;
    EXPECT_NO_THROW(print_json(report, json));
    EXPECT_TRUE(Report::accept(json.str()));
}

TEST(Output, IsReadBackAsAStart) {
    const toolkit::test::TemporaryFile file("");
    const Sol solution = random_solution(100);
    Report report;
    report["energy"] = -5;
    EXPECT_TRUE(write_result(file.path(), digits_of(solution, 100), report));
    EXPECT_THAT(file.contents(), HasSubstr("\nenergy=-5\n"));
    EXPECT_EQ(digits_of(read_solution(file.path(), 100), 100), digits_of(solution, 100));
}

TEST(Output, ThatCannotBeWrittenIsKnownBeforeAndAfter) {
    EXPECT_THROW(expect_writable("/tmp"), InputError);
    EXPECT_THROW(expect_writable("/nowhere/result"), InputError);
    EXPECT_NO_THROW(expect_writable("/tmp/orvex-test-that-need-not-exist"));
    EXPECT_FALSE(write_result("/dev/full", "01", Report::object()));
}

}  // namespace
}  // namespace orvex::cli::test
