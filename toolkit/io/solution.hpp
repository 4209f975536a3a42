// Solutions outside the library: their exact energy, and as text in files.
#pragma once

#include <string>

#include <orvex/orvex.hpp>

#include "toolkit/model/bounds.hpp"

namespace orvex::toolkit {

/** The energy of a solution, added up from the model's weights without any rounding or overflow. */
Wide exact_energy(const Model& model, const Sol& solution, int size);

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
