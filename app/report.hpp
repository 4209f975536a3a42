// What a command has found out, as named values in the order in which they are shown: as aligned
// text, as one JSON object, as a table of comma-separated values, or as key=value lines. The names
// are the same in all of them.
#pragma once

#include <ostream>
#include <vector>

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

/** A value as print_text shows it. */
std::string value_text(const Report& value);

/** What the numbers of a file mean, as "format", "index_base", "factor" and so on. */
void add_convention(const Convention& convention, Report& report);

/** One line for each value that is text, number or truth; lists of plain values on one line. */
void print_text(const Report& report, std::ostream& out);

/** One object on one line. */
void print_json(const Report& report, std::ostream& out);

/** A line of names, then a line of values for each report, by RFC 4180 but for the lines' ends; a
 * list is one value, with blanks. All reports have the names of the first. */
void print_csv(const std::vector<Report>& reports, std::ostream& out);

/** How a command's result is written. */
enum class Form { TEXT, JSON, CSV };

/** @param summary what is shown as text */
void print(const Report& report, const Report& summary, Form form, std::ostream& out);
inline void print(const Report& report, Form form, std::ostream& out) {
    print(report, report, form, out);
}

/** key=value lines; a list of lists gives a line for each of them, its elements joined by commas.
 */
void print_key_values(const Report& report, std::ostream& out);

}  // namespace orvex::cli
