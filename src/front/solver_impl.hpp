// What all solvers stand for: what this build can solve, and its description as text. Invariant: it
// is read from the table of bands whenever a solver is built, and so never says less than that.
#pragma once

#include <set>
#include <string>
#include <unordered_map>
#include <utility>

#include "orvex/solver.hpp"

namespace orvex {

struct Solver::Impl {
    int selected_size = 0;  ///< size of the smallest pair that held the last model
    int selected_bits = 0;  ///< width of weights of that pair
    std::set<int> sizes;    ///< the sizes of all bands
    std::set<int> bits;     ///< the widths of weights of all bands
    std::set<std::pair<int, int>> size_bits;            ///< all pairs of the two
    std::unordered_map<std::string, std::string> info;  ///< the description
    std::set<std::string> names;

    /** The one of this process, built by the first call. */
    static Impl& get_instance();

    /** Enters what the table of bands has. */
    void take_bands();

    /** Writes the description; ends the process when no band was entered. */
    void describe();

    /**
     * Notes the smallest pair that holds a model; ends the process when none does. It looks at size
     * and weights alone: the width of energies counts when the band itself is chosen.
     */
    void set_qubo_program_sb(const Model& model);
};

}  // namespace orvex
