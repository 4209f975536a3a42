// The document on parameters says what the table says, row by row.
#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "front/check_parameter.hpp"

namespace orvex {
namespace {

std::string document() {
    std::ifstream file(ORVEX_PARAMETERS_DOCUMENT);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/** The lines that begin with a key. */
std::vector<std::string> rows_of(const std::string& text) {
    std::vector<std::string> rows;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with("| `")) rows.push_back(line);
    return rows;
}

std::string row_for(const Parameter& parameter) {
    const std::string_view standard =
        parameter.default_words.empty() ? parameter.default_value : parameter.default_words;
    std::string row = "| `";
    row.append(parameter.key).append("` | ").append(wanted_value(parameter));
    row.append(" | ").append(standard).append(standard.empty() ? "| " : " | ");
    return row.append(parameter.help).append(" |");
}

/** All names in quotes, as a sentence lists them. */
std::string quoted(std::span<const std::string_view> names) {
    std::string list;
    for (const std::string_view name : names)
        list.append(list.empty() ? "\"" : ", \"").append(name).append("\"");
    return list;
}

std::string in_one_line(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

TEST(ParametersDocument, HasARowForEachRowOfTheTable) {
    std::vector<std::string> rows;
    for (const Parameter& parameter : parameters())
        rows.push_back(row_for(parameter));
    EXPECT_THAT(rows_of(document()), testing::ElementsAreArray(rows));
}

TEST(ParametersDocument, ListsTheNames) {
    const std::string text = in_one_line(document());
    EXPECT_THAT(text, testing::HasSubstr("Flip rules: " + quoted(flip_rules()) + "."));
    EXPECT_THAT(text, testing::HasSubstr("Generators: " + quoted(generators()) + "."));
}

}  // namespace
}  // namespace orvex
