// A problem: weights, with what is known about them. Invariant: the facts hold for the weights,
// which cannot be changed any more; so a caller can settle before a run what the library would end
// the process for.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <orvex/orvex.hpp>
#include <orvex/plan.hpp>

#include "toolkit/model/bounds.hpp"
#include "toolkit/model/convention.hpp"
#include "toolkit/model/couplings.hpp"
#include "toolkit/model/residency.hpp"
#include "toolkit/model/weights.hpp"

namespace orvex::toolkit {

/** Coefficients that the weights of a problem were rounded from. */
struct RealCoefficients {
    std::vector<std::uint32_t> pairs;  ///< the two variables of each, side by side
    std::vector<double> values;
};

/** Weights with what its file, or whoever else stated it, tells about it. */
struct Problem {
    std::string file;                              ///< empty where there is none
    int size = 0;                                  ///< number of variables
    int width = 0;                                 ///< bits of a weight in the model
    long entries = 0;                              ///< entries in the file
    long nonzero = 0;                              ///< pairs whose weight is not zero
    long smallest = 0, largest = 0;                ///< of the header
    long smallest_weight = 0, largest_weight = 0;  ///< of the entries
    Bound bound{};                                 ///< of energies and deltas
    Couplings couplings;                           ///< as far as they decide on the search
    Convention convention;                         ///< what the file's own numbers mean
    std::vector<std::string> warnings;             ///< what is odd, but harmless
    Weights weights;
    std::shared_ptr<const RealCoefficients> reals;  ///< null where no weight was rounded
    Residency residency;                            ///< whether the library has it loaded

    /** Share of the pairs, each variable's with itself included, whose weight is not zero. */
    double density() const;

    /** Bytes of the matrix that the library searches. */
    std::uint64_t model_bytes() const { return weights.matrix_bytes(); }

    /**
     * The width of energies that is proven to be enough: 32, 64, or 128 where not even 64 bits are
     * proven to be.
     */
    int proven_bits() const;

    /** What a run with this width of energies takes; none if no band of this build holds it. */
    std::optional<Plan> plan(int arithmetic_bits, PlanRequest parameters = {}) const;
};

/**
 * A problem of a caller's own model, whose weights are all looked at once.
 *
 * @throws InputError when the model has no variables or too many
 */
Problem problem_of(std::unique_ptr<const Model> model);

/** The same of a copy, which the library makes of models below 4 GiB only. */
Problem problem_of(const Model& model);

/**
 * A problem of a sparse QUBO, whose matrix is made only if the library is to search it.
 *
 * @throws InputError when there are no variables or too many
 */
Problem problem_of(SparseQubo qubo);

/**
 * The width of a model's weights. The lowest weight of 32 bits has no negative there, so a flip
 * that subtracts it would add it: such a model is stored with 64 bits.
 */
int weight_width(long smallest, long largest);

}  // namespace orvex::toolkit
