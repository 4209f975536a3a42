// The choice of a band, as functions of a table: the entry points apply them to the table of this
// build.
#pragma once

#include <string>
#include <vector>

#include "orvex/registry.hpp"

namespace qubo_multi {

using BAND_TABLE = std::vector<Band>;

/** The bands of this build. */
const BAND_TABLE& band_table();

/**
 * The band of least size, then narrowest weights, then narrowest energies, of those that hold at
 * least what is wanted; of equal bands the first. Null when none does.
 */
const Band* smallest_band(const BAND_TABLE& table, int size, int matrix_bits, int arith_bits);

/** What is said when no band of a table holds what is wanted. */
std::string refusal_text(const BAND_TABLE& table, int size, int matrix_bits, int arith_bits);

/** The smallest band of this build; ends the process with the refusal text when there is none. */
const Band& find_band(int size, int matrix_bits, int arith_bits);

/**
 * The width of energies that a run asks for: the parameter "arithmetic_bits", 0 if that is no
 * number; without it 64 for a model of 64-bit weights and 32 for others.
 */
int requested_arith_bits(const orvex::Param::Impl& param, int model_bits);

/** The widths of energies in a table, ascending, joined by ", ". */
std::string arith_bits_list(const BAND_TABLE& table);

}  // namespace qubo_multi
