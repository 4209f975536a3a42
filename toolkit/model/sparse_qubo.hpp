// A QUBO without a matrix: each variable's linear term and the list of its couplings, as the rooms
// that work on a model's structure walk it. Memory grows with the number of couplings, and the
// number of variables is not limited by a band. Invariant: every coupling is there from both ends
// with one weight that is not 0, the neighbours of a variable ascend, and none is its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "toolkit/model/bounds.hpp"

namespace orvex {
class Model;
class Sol;
}  // namespace orvex

namespace orvex::toolkit {

/** A bit vector, one variable in each byte: 0 or 1. */
using Bits = std::vector<std::uint8_t>;

/** A weight for a pair of different variables. */
struct Coupling {
    std::int32_t i, j;
    std::int64_t weight;
};

/** Minimise the sum of linear[i] x[i] and of weight x[i] x[j] over each coupling once. */
struct SparseQubo {
    std::vector<std::int64_t> linear;      ///< of each variable
    std::vector<std::size_t> starts{0};    ///< of each variable's couplings, and their end
    std::vector<std::int32_t> neighbours;  ///< the other ends, variable after variable
    std::vector<std::int64_t> weights;     ///< of these couplings

    int size() const { return static_cast<int>(linear.size()); }

    /** Number of couplings, each counted once. */
    std::size_t couplings() const { return neighbours.size() / 2; }

    std::size_t degree(int i) const {
        const auto at = static_cast<std::size_t>(i);
        return starts[at + 1] - starts[at];
    }
    std::span<const std::int32_t> neighbours_of(int i) const {
        return {neighbours.data() + starts[static_cast<std::size_t>(i)], degree(i)};
    }
    std::span<const std::int64_t> weights_of(int i) const {
        return {weights.data() + starts[static_cast<std::size_t>(i)], degree(i)};
    }
};

/**
 * The QUBO of these terms. Several couplings of one pair are added up; sums of 0 are left out.
 *
 * @param linear of each variable
 * @param couplings in any order, each pair in either order
 * @throws InputError when a variable is not there, a coupling's variables are the same, or a sum
 *     does not fit into 64 bits
 */
SparseQubo sparse_qubo(std::vector<std::int64_t> linear, std::vector<Coupling> couplings);

/** The same of a model's matrix, whose every element is looked at. */
SparseQubo sparse_qubo(const Model& model);

/** The exact energy of a bit vector. */
Wide energy_of(const SparseQubo& qubo, const Bits& bits);

/** The bits of a solution, and a solution of these bits. */
Bits bits_of(const Sol& solution);
Sol solution_of(const Bits& bits);

}  // namespace orvex::toolkit
