// Traces of whole runs, and the JSON that they are written in.
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "toolkit/run/json_text.hpp"
#include "toolkit/solve.hpp"
#include "unit/toolkit/random_problem.hpp"

namespace orvex::toolkit::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST(JSON_TEXT, nests_objects_and_lists) {
    JsonText line;
    line.object().add("a", 1).array("b").add({}, 2).object().add("c", true).end().end();
    line.add_null("d").add("e", 0.5).add_digits("f", "1e400").object("g").end().end();
    EXPECT_EQ(line.text(), R"({"a":1,"b":[2,{"c":true}],"d":null,"e":0.500000,"f":1e400,"g":{}})");
}

std::string quoted(const std::string& text) {
    return JsonText().add({}, text).text();
}

TEST(JSON_TEXT, is_valid_whatever_text_goes_in) {
    EXPECT_EQ(quoted("a\"b\\c\n\x01/"), R"("a\"b\\c\u000a\u0001/")");
    EXPECT_EQ(quoted("\u00e9\u20ac\U0001F600"), "\"\u00e9\u20ac\U0001F600\"");
    for (const char* broken : {"\xff", "\xc3", "\x80", "\xe2\x82", "\xc0\xaf", "\xed\xa0\x80",
                               "\xf5\x80\x80\x80", "\xe0\x80\x80", "\xf0\x80\x80\x80"})
        EXPECT_THAT(quoted(broken), StartsWith("\"\\ufffd")) << quoted(broken);
    EXPECT_EQ(quoted("\xffz"), "\"\\ufffdz\"");
}

/** The lines of the trace of a run. */
std::vector<std::string> trace_of(const Problem& problem, SolveOptions options) {
    std::vector<std::string> lines;
    options.trace = {.write = [&](const std::string& line) { lines.push_back(line); }};
    solve(problem, options);
    return lines;
}

TEST(TRACE, begins_and_ends_with_what_was_settled_and_what_came_out) {
    const Problem problem = random_problem(40, 1);
    const std::vector<std::string> lines =
        trace_of(problem, {.trials = 50, .presolve = PresolveEffort::OFF, .companion = 0});
    ASSERT_GE(lines.size(), 3u);
    EXPECT_THAT(lines.front(), StartsWith(R"({"event":"begin","trace":1,)"));
    EXPECT_THAT(lines.front(), HasSubstr(R"("trials":50)"));
    EXPECT_THAT(lines[1], StartsWith(R"({"event":"improved",)"));
    EXPECT_THAT(lines.back(), StartsWith(R"({"event":"end",)"));
    EXPECT_THAT(lines.back(), HasSubstr(R"("status":"trial limit")"));
    EXPECT_THAT(lines.back(), HasSubstr(R"("results":50,)"));
}

/** A dense model with a path at one of its variables, which presolve takes out. */
Problem problem_with_a_tail(int dense, int tail) {
    Model model(dense + tail, -100, 100);
    const Model core = random_model(dense, 100);
    for (int i = 0; i < dense; ++i)
        for (int j = i; j < dense; ++j)
            model.set(i, j, core.get(i, j));
    for (int i = dense; i < dense + tail; ++i) {
        model.set(i, i, -7);
        model.set(i - 1, i, 10);
    }
    return problem_of(model);
}

TEST(TRACE, tells_energies_of_the_problem_where_another_is_searched) {
    const Problem problem = problem_with_a_tail(40, 20);
    std::vector<std::string> lines;
    SolveOptions options{.trials = 300, .companion = 0};
    options.trace.write = [&](const std::string& line) { lines.push_back(line); };
    const Result result = solve(problem, options);
    ASSERT_LT(result.preparation.size, problem.size);
    ASSERT_GT(result.preparation.size, 0);
    const std::string best = "\"best\":" + std::to_string(result.energy) + ",";
    const std::size_t islands = lines.back().find("\"islands\":[");
    ASSERT_NE(islands, std::string::npos);
    EXPECT_NE(lines.back().find(best, islands), std::string::npos)
        << "an island has it too: " << lines.back();
}

TEST(TRACE, what_its_receiver_throws_ends_the_search) {
    SolveOptions options{.time_limit = 20, .presolve = PresolveEffort::OFF};
    int lines = 0;
    options.trace.write = [&](const std::string&) {
        if (++lines == 2) throw std::runtime_error("enough");
    };
    EXPECT_THROW(solve(random_problem(40, 1), options), std::runtime_error);
    EXPECT_EQ(lines, 2);
}

}  // namespace
}  // namespace orvex::toolkit::test
