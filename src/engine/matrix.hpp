// How a matrix record is filled from a model and what energy it gives a solution. A band's record
// (WMAT) has its size in its type; what is done with it knows the size as a number and is compiled
// once per element type. The columns of a row are in row order (see SHAPE), the rows are not.
#pragma once

#include <cstdint>

#include "orvex/model.hpp"

#include "engine/device/model_rows.hpp"
#include "engine/device/shape.hpp"

namespace orvex::engine {

/** Refuses a model that is too large for the band. */
void check_model_fits(int n, int band_size);

/** Fills all S rows and the diagonal from the model's n variables, as device::write_rows does; a
 * model that is too large is refused. */
template <class E>
void load_rows(E* rows, E* diagonal, int n, const device::SHAPE& shape, const Model::Impl& model,
               bool zeros);

/**
 * The energy of a solution, computed from the matrix alone in 64 bits: a check on the energies that
 * blocks keep up to date. Bits from n on are not looked at.
 */
template <class E>
std::int64_t energy_of_bits(const E* rows, int n, const device::SHAPE& shape,
                            const std::uint64_t* bits);

}  // namespace orvex::engine
