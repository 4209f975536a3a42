// What a command has found out, as named values in the order in which they are shown: as aligned
// text, as one JSON object, or as key=value lines. The names are the same in all three.
#pragma once

#include <ostream>

#include <nlohmann/json.hpp>

#include "app/cli.hpp"
#include "toolkit/model/bounds.hpp"
#include "toolkit/model/convention.hpp"

namespace orvex::cli {

/** To be made as Report::object(): one that becomes an object with its first value cannot be taken
 * apart where that value lacks memory. */
using Report = nlohmann::ordered_json;

/** A whole number, which may be wider than 64 bits: a number in JSON all the same. */
Report number(Wide wide);

/** A number of a model, such as an energy, in the file's own numbers. */
Report own_number(const Convention& convention, Wide number);

/** A real number, in the fewest digits that give it back. */
Report number(double real);

/** What the numbers of a file mean, as "format", "index_base", "factor" and so on. */
void add_convention(const Convention& convention, Report& report);

/** One line for each value that is text, number or truth; lists of plain values on one line. */
void print_text(const Report& report, std::ostream& out);

/** One object on one line. */
void print_json(const Report& report, std::ostream& out);

/** key=value lines; a list of lists gives a line for each of them, its elements joined by commas.
 */
void print_key_values(const Report& report, std::ostream& out);

}  // namespace orvex::cli
