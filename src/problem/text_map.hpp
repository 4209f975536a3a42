// The maps from text to text in which models, solutions, parameters and solvers keep what has a
// name, and what these have in common: looking a key up never adds it, and the order of what is
// written is the map's own.
#pragma once

#include <iosfwd>
#include <string>
#include <unordered_map>

namespace orvex {

using TEXT_MAP = std::unordered_map<std::string, std::string>;

/** The value of a key, or the empty string when it is absent. */
std::string value_or_empty(const TEXT_MAP& map, const std::string& key);

/** Writes attributes as key=value with a delimiter between two, and ends the line if any. */
void print_attributes(const TEXT_MAP& map, char delimiter, std::ostream& out);

/**
 * Writes settings as key=value, without those of empty value, and ends the line unless the map is
 * empty. Between two is the delimiter, whole, or a blank when it is empty.
 */
void print_settings(const TEXT_MAP& map, const std::string& delimiter, std::ostream& out);

}  // namespace orvex
