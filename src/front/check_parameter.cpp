// Settings are checked here by the table that runs read them by, and with the conversions that they
// are read with: what passes never ends the process.
#include "front/check_parameter.hpp"

#include <algorithm>
#include <numeric>
#include <vector>

#include "orvex/plan.hpp"

#include "engine/parameter_table.hpp"
#include "engine/values.hpp"

namespace orvex {

namespace {

// ---- what is wanted ------------------------------------------------------------------------

std::string from_to(const ParameterRange& range) {
    return "from " + std::string(range.least) + " to " + std::string(range.most);
}

std::string listed(std::span<const std::string_view> words) {
    std::string list;
    for (const std::string_view word : words)
        list += (list.empty() ? "" : ", ") + std::string(word);
    return list;
}

std::string wanted_pair(const ParameterValue& first, const ParameterValue& second) {
    const std::string noun =
        first.kind == ParameterKind::INTEGER ? "two integers " : "two numbers ";
    const std::string one = from_to(first.sensible), other = from_to(second.sensible);
    return noun + (one == other ? one : one + " and " + other);
}

// ---- whether it is given -------------------------------------------------------------------

template <class T>
T bound(std::string_view text) {
    T value{};
    std::size_t pos = 0;
    engine::parse_string_pos(std::string(text), pos, value);
    return value;
}

/** The next number of the text lies within the range; none does that is not a number. */
template <class T>
bool takes_number(const ParameterRange& range, const std::string& text, std::size_t& pos) {
    T value{};
    return engine::parse_string_pos(text, pos, value) && value >= bound<T>(range.least) &&
           value <= bound<T>(range.most);
}

bool takes_word(std::span<const std::string_view> words, const std::string& text,
                std::size_t& pos) {
    const std::string word = engine::next_token(text, pos);
    return std::find(words.begin(), words.end(), word) != words.end();
}

/** A beginning of nothing would be taken for the first name. */
bool takes_name(std::span<const std::string_view> names, const std::string& text) {
    return !text.empty() && std::any_of(names.begin(), names.end(), [&](std::string_view name) {
        return name.starts_with(text);
    });
}

bool takes(const ParameterValue& wanted, const std::string& text, std::size_t& pos) {
    switch (wanted.kind) {
        case ParameterKind::INTEGER:
            return takes_number<long>(wanted.sensible, text, pos);
        case ParameterKind::NUMBER:
            return takes_number<double>(wanted.sensible, text, pos);
        case ParameterKind::WORD:
            return takes_word(wanted.words, text, pos);
        case ParameterKind::NAME:
            return takes_name(wanted.words, text);
        case ParameterKind::TEXT:
            return true;
    }
    return false;
}

/** Whether a run on this machine has that many devices, beyond what the range says. */
bool has_devices(const std::string& count) {
    return bound<long>(count) <= static_cast<long>(devices().size());
}

// ---- keys that are not there ---------------------------------------------------------------

/** Letters to insert, to remove or to replace until the words are equal. */
std::size_t edit_distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

std::string nearest_key(std::string_view key) {
    const std::span<const Parameter> all = parameters();
    return std::string(
        std::min_element(all.begin(), all.end(), [&](const Parameter& a, const Parameter& b) {
            return edit_distance(key, a.key) < edit_distance(key, b.key);
        })->key);
}

}  // namespace

std::string wanted_value(const Parameter& parameter) {
    const ParameterValue& first = parameter.first;
    if (parameter.second) return wanted_pair(first, *parameter.second);
    switch (first.kind) {
        case ParameterKind::INTEGER:
            return "an integer " + from_to(first.sensible);
        case ParameterKind::NUMBER:
            return "a number " + from_to(first.sensible);
        case ParameterKind::WORD:
            return "one of " + listed(first.words);
        case ParameterKind::NAME:
            return "the name, or its beginning, of one of " + listed(first.words);
        case ParameterKind::TEXT:
            return "a text";
    }
    return "";
}

std::string check_parameter(std::string_view key, std::string_view value) {
    const engine::PARAMETER_ROW* const row = engine::find_parameter(key);
    if (!row)
        return "there is no parameter \"" + std::string(key) + "\"; did you mean \"" +
               nearest_key(key) + "\"?";
    const Parameter& parameter = row->told;
    const std::string text(value), given = ", not \"" + std::string(value) + "\"";
    std::size_t pos = 0;
    if (!takes(parameter.first, text, pos) ||
        (parameter.second && !takes(*parameter.second, text, pos)))
        return std::string(key) + " must be " + wanted_value(parameter) + given;
    if (key == "gpus" && !has_devices(text)) return "gpus must not be more than there are" + given;
    return "";
}

}  // namespace orvex
