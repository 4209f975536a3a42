// Lookup and printing of the maps from text to text.
#include "problem/text_map.hpp"

#include <ostream>

namespace orvex {

std::string value_or_empty(const TEXT_MAP& map, const std::string& key) {
    const auto found = map.find(key);
    return found == map.end() ? std::string() : found->second;
}

void print_attributes(const TEXT_MAP& map, char delimiter, std::ostream& out) {
    if (map.empty()) return;
    bool first = true;
    for (const auto& [key, value] : map) {
        if (!first) out << delimiter;
        out << key << '=' << value;
        first = false;
    }
    out << std::endl;
}

void print_settings(const TEXT_MAP& map, const std::string& delimiter, std::ostream& out) {
    if (map.empty()) return;
    const std::string between = delimiter.empty() ? " " : delimiter;
    bool first = true;
    for (const auto& [key, value] : map) {
        if (value.empty()) continue;
        if (!first) out << between;
        out << key << '=' << value;
        first = false;
    }
    out << std::endl;
}

}  // namespace orvex
