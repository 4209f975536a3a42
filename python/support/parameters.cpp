// The library's table of parameters as text, so that the package has no table of its own.
#include "orvex/parameters.hpp"

#include <string>

#include "support.hpp"

namespace {

const char* name_of(orvex::ParameterKind kind) {
    switch (kind) {
        case orvex::ParameterKind::INTEGER:
            return "integer";
        case orvex::ParameterKind::NUMBER:
            return "number";
        case orvex::ParameterKind::WORD:
            return "word";
        case orvex::ParameterKind::NAME:
            return "name";
        case orvex::ParameterKind::TEXT:
            return "text";
    }
    return "";
}

std::string line_of(std::string_view key, const orvex::ParameterValue& value) {
    std::string line(key);
    line.append("\t").append(name_of(value.kind)).append("\t").append(value.settles);
    line.append("\t").append(value.sensible.least).append("\t").append(value.sensible.most);
    for (const std::string_view word : value.words)
        line.append("\t").append(word);
    return line + "\n";
}

}  // namespace

/**
 * A line for each value of each parameter, two where the value is a pair: key, kind, what it
 * settles, least and most sensible number, and the words to choose from, separated by tabs.
 */
ORVEX_PYTHON_API const char* orvex_python_parameters() {
    static const std::string text = [] {
        std::string lines;
        for (const orvex::Parameter& parameter : orvex::parameters()) {
            lines += line_of(parameter.key, parameter.first);
            if (parameter.second) lines += line_of(parameter.key, *parameter.second);
        }
        return lines;
    }();
    return text.c_str();
}

/** What the library says is wrong with a setting; empty if nothing. */
ORVEX_PYTHON_API const char* orvex_python_check_parameter(const char* key, const char* value) {
    thread_local std::string text;
    text = orvex::check_parameter(key, value);
    return text.c_str();
}
