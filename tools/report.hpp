// What a command has found out, as named values in the order in which they are shown: as aligned
// text, as one JSON object, or as key=value lines. The names are the same in all three.
#pragma once

#include <ostream>

#include <nlohmann/json.hpp>

namespace orvex::cli {

using Report = nlohmann::ordered_json;

/** One line for each value that is text, number or truth; lists of plain values on one line. */
void print_text(const Report& report, std::ostream& out);

/** One object on one line. */
void print_json(const Report& report, std::ostream& out);

/** key=value lines; a list gives a line for each of its elements. */
void print_key_values(const Report& report, std::ostream& out);

}  // namespace orvex::cli
