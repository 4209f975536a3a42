// Takes a print option apart.
#include "problem/print_option.hpp"

#include <cctype>

namespace orvex {

PRINT_OPTION::PRINT_OPTION(const std::string& option) : section(option) {
    if (section.empty() || std::isalpha(static_cast<unsigned char>(section.back()))) return;
    delimiter = section.back();
    section.pop_back();
}

}  // namespace orvex
