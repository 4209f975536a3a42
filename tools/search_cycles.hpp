// The one place that decides how long an instance is searched: how many flips it may take in all
// and how many of them make one search.
#pragma once

#include <string>

#include "model_file.hpp"

namespace orvex::cli {

/**
 * The value of the parameter "search_cycles" for a model: two numbers separated by a blank.
 *
 * @return empty, for every model: the engine's own rule (as many flips as there are variables,
 *     searches of a fifth of that) stands
 */
inline std::string choose_search_cycles(const Problem&) {
    return "";
}

}  // namespace orvex::cli
