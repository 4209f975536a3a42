// One-hot groups as a caller writes them down: a line for each group, with the numbers of its
// variables. "#" begins a comment; a line that begins with "<=" names a group of which at most one
// variable is 1, every other line one of which exactly one is.
#pragma once

#include <string>

#include "toolkit/companion/groups.hpp"

namespace orvex::toolkit {

/**
 * @param file plain or compressed with gzip
 * @param index_base number of the first variable, as the problem's file counts
 * @param size number of variables of the problem
 * @throws InputError when anything in it is wrong
 */
Groups read_groups(const std::string& file, int index_base, int size);

}  // namespace orvex::toolkit
