// Solutions as text in files.
#pragma once

#include <string>

#include <orvex/orvex.hpp>

namespace orvex::toolkit {

/** The bits as digits, the first variable first. */
std::string digits_of(const Sol& solution, int size);

/**
 * Reads a solution from the first line of a file, as --output writes it; what follows is not read.
 *
 * @param size number of variables, and so of digits
 * @throws InputError when the file cannot be read or its first line is anything else
 */
Sol read_solution(const std::string& file, int size);

}  // namespace orvex::toolkit
