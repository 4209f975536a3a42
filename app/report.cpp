#include "app/report.hpp"

#include <algorithm>
#include <iomanip>
#include <string>

namespace orvex::cli {
namespace {

/** How a number is kept that the library of JSON cannot: as an object of its digits. */
constexpr const char* DIGITS = "digits";

bool is_digits(const Report& value) {
    return value.is_object() && value.size() == 1 && value.contains(DIGITS);
}

void print_members(const Report& object, std::ostream& out);

/** JSON, with numbers as their digits. */
void print_value(const Report& value, std::ostream& out) {
    if (is_digits(value)) {
        out << value_text(value);
    } else if (value.is_object()) {
        print_members(value, out);
    } else if (value.is_array()) {
        out << '[';
        for (std::size_t k = 0; k < value.size(); ++k) {
            if (k > 0) out << ',';
            print_value(value[k], out);
        }
        out << ']';
    } else {
        // A file's name need not be UTF-8; what is not is replaced.
        out << value.dump(-1, ' ', false, Report::error_handler_t::replace);
    }
}

void print_members(const Report& object, std::ostream& out) {
    std::string separator = "{";
    for (const auto& [key, value] : object.items()) {
        out << separator << '"' << key << "\":";
        print_value(value, out);
        separator = ",";
    }
    out << '}';
}

std::string csv_field(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (const char c : text)
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + '"';
}

std::string label_of(std::string key) {
    std::replace(key.begin(), key.end(), '_', ' ');
    return key;
}

}  // namespace

std::string value_text(const Report& value) {
    if (is_digits(value)) return value[DIGITS].get<std::string>();
    if (value.is_string()) return value.get<std::string>();
    if (value.is_null()) return "none";
    if (!value.is_array()) return value.dump();
    std::string text;
    for (const Report& element : value) {
        if (!text.empty()) text += ' ';
        text += value_text(element);
    }
    return text;
}

Report number(Wide wide) {
    const auto narrow = static_cast<long>(wide);
    return narrow == wide ? Report(narrow) : Report{{DIGITS, to_string(wide)}};
}

Report own_number(const Convention& convention, Wide wide) {
    return convention.scaled() ? Report{{DIGITS, convention.own_text(wide)}} : number(wide);
}

Report number(double real) {
    return Report{{DIGITS, to_string(real)}};
}

void add_convention(const Convention& convention, Report& report) {
    report["format"] = convention.format;
    report["index_base"] = convention.index_base;
    report["factor"] = convention.factor;
    report["sense"] = convention.sense();
    report["offset"] = convention.scaled() ? Report{{DIGITS, convention.offset_text()}}
                                           : number(convention.offset);
    report["equation"] = convention.equation();
    if (convention.scaled()) {
        report["scale"] = number(convention.scale);
        report["largest_error"] = number(convention.largest_error);
    }
    if (!convention.note.empty()) report["note"] = convention.note;
}

void print_text(const Report& report, std::ostream& out) {
    std::size_t width = 0;
    for (const auto& [key, value] : report.items())
        width = std::max(width, key.size());
    for (const auto& [key, value] : report.items())
        out << std::left << std::setw(static_cast<int>(width) + 2) << label_of(key)
            << value_text(value) << "\n";
    out << std::flush;
}

void print_json(const Report& report, std::ostream& out) {
    print_members(report, out);
    out << std::endl;
}

void print_csv(const std::vector<Report>& reports, std::ostream& out) {
    const char* separator = "";
    for (const auto& [key, value] : reports.front().items()) {
        out << separator << csv_field(key);
        separator = ",";
    }
    out << "\n";
    for (const Report& report : reports) {
        separator = "";
        for (const auto& [key, value] : report.items()) {
            out << separator << (value.is_null() ? "" : csv_field(value_text(value)));
            separator = ",";
        }
        out << "\n";
    }
    out << std::flush;
}

void print(const Report& report, const Report& summary, Form form, std::ostream& out) {
    if (form == Form::JSON)
        print_json(report, out);
    else if (form == Form::CSV)
        print_csv({report}, out);
    else
        print_text(summary, out);
}

void print_key_values(const Report& report, std::ostream& out) {
    for (const auto& [key, value] : report.items()) {
        const bool lists = value.is_array() && !value.empty() && value[0].is_array();
        if (!lists) {
            out << key << "=" << value_text(value) << "\n";
            continue;
        }
        for (const Report& list : value) {
            std::string line;
            for (const Report& element : list)
                line += (line.empty() ? "" : ",") + value_text(element);
            out << key << "=" << line << "\n";
        }
    }
}

}  // namespace orvex::cli
