// The option of Model::print and Sol::print: one text that names a section and may end in a
// delimiter. Parameters and solvers have no sections and take their text whole as the delimiter.
#pragma once

#include <string>

namespace orvex {

/** A print option taken apart. */
struct PRINT_OPTION {
    std::string section;   ///< empty when all is wanted
    char delimiter = ' ';  ///< between two items

    /** A last character that is not a letter is the delimiter; what is before it is the section. */
    explicit PRINT_OPTION(const std::string& option);

    /** Whether a section is to be written: it is named, or none is. */
    bool wants(const std::string& name) const { return section.empty() || section == name; }
};

}  // namespace orvex
