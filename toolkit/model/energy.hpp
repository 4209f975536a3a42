// Energies of bit vectors, added up from the model's weights without any rounding or overflow.
#pragma once

#include <orvex/orvex.hpp>

#include "toolkit/model/bounds.hpp"

namespace orvex::toolkit {

/** The energy of a solution. @param size number of variables */
Wide exact_energy(const Model& model, const Sol& solution, int size);

/** The energy of `to` less that of `from`; costs a row of the matrix for each bit that differs. */
Wide energy_change(const Model& model, const Sol& from, const Sol& to, int size);

}  // namespace orvex::toolkit
