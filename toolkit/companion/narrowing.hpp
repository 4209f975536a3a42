// How a model's weights become as narrow as lanes can be, and parts of it with them. Invariant: the
// width is proven by the largest magnitude that any field of any state has; only weights whose
// fields would not fit into 63 bits lose precision, and those are for the sweeps alone: what they
// find is judged by the weights themselves.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "toolkit/companion/lanes.hpp"
#include "toolkit/model/bounds.hpp"
#include "toolkit/model/sparse_qubo.hpp"

namespace orvex::toolkit {

/** What the weights of a model are divided by for the lanes, and how wide these are. */
struct Narrowing {
    Wide unit = 1;          ///< the weights' greatest common divisor, or a power of 2
    int bytes = 8;          ///< of a lane
    bool by_table = false;  ///< whether all deltas are at most 15 units
    double scale = 1;       ///< typical strength of a variable's couplings, in units

    /** A weight in units, rounded. */
    std::int64_t narrowed(Wide weight) const;
};

Narrowing narrowing_of(const SparseQubo& qubo);

/** The whole model for lanes. */
template <class T>
Part<T> whole_of(const SparseQubo& qubo, const Narrowing& narrowing);

/** Cuts parts out of a model; has working memory, so each thread needs one of its own. */
template <class T>
class Cutter {
  public:
    /** @param whole outlives the cutter */
    explicit Cutter(const Part<T>& whole);

    /**
     * Variables around a random one, in the order of a breadth-first search; where a connected
     * component ends early, around another.
     */
    void choose(std::size_t size, std::mt19937_64& random, std::vector<std::int32_t>& variables);

    /** The part of these variables, the others standing as in `bits`. */
    void cut(const std::vector<std::int32_t>& variables, const Bits& bits, Part<T>& part);

  private:
    const Part<T>* whole_;
    std::vector<std::int32_t> places_;  ///< of each variable in a part; -1: outside
};

}  // namespace orvex::toolkit
