// Takes from another solution what is better there. Two solutions differ in a set of variables,
// which falls into connected components of the coupling graph. Invariant: the result is the best of
// all combinations of the two solutions' components, and its energy is exact.
//
// Proof. Let D be the set of variables in which the other solution differs, and s[i] = 1 - 2 x[i]
// what a flip adds to x[i]. Flipping a subset F of D changes the energy by
//     sum over i in F of s[i] f[i]  +  sum over pairs i < j in F of W[i][j] s[i] s[j],
// where f[i] = W[i][i] + sum over j != i of W[i][j] x[j] is taken before. A pair counts only where
// W[i][j] is not 0, that is inside one component, so the change of a union of components is the sum
// of their changes, and the best union takes each component whose change is below 0. Those of
// change 0 are taken as well: they cost nothing and let the solution wander over its plateau.
//
// This is partition crossover on the variable interaction graph (Whitley, Hains, Howe, "Tunneling
// between optima", GECCO 2009; Tinos, Whitley, Chicano, "Partition crossover for pseudo-boolean
// optimization", FOGA 2015), and the limit at zero temperature of the cluster moves between
// replicas of Houdayer (Eur. Phys. J. B 22, 2001) and Zhu, Ochoa, Katzgraber (PRL 115, 2015).
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "toolkit/model/bounds.hpp"
#include "toolkit/model/sparse_qubo.hpp"

namespace orvex::toolkit {

/** A bit vector with its energy. */
struct Solution {
    Bits bits;
    Wide energy = 0;
};

/** What a merge brought. */
struct Merged {
    Wide gain = 0;       ///< energy before less energy after, never negative
    Wide loss = 0;       ///< what the refused components would have added
    int components = 0;  ///< of the difference
    int kept = 0;        ///< of them taken from the other solution
    int refused = 0;     ///< of them worse there
};

/** Merges solutions of one model; has working memory, so each thread needs one of its own. */
class Merger {
  public:
    /**
     * @param qubo outlives the merger
     * @param stop outlives it too; once it is set, what has not been judged yet is left as it is
     */
    explicit Merger(const SparseQubo& qubo, const std::atomic<bool>* stop = nullptr);

    /**
     * Takes the components of the other solution that are not worse.
     *
     * @param elite what is merged into; its energy stays exact
     * @param other as many bits
     */
    Merged merge(Solution& elite, const Bits& other);

    /** The same where the other solution differs in these variables, each named once. */
    Merged merge(Solution& elite, std::span<const std::int32_t> differing);

    /** Variables of the components that the last merge refused. */
    std::span<const std::int32_t> refused() const { return refused_; }

  private:
    /**
     * Gathers the component of a variable.
     *
     * @return what flipping all of it adds to the energy; none if a stop came first
     */
    std::optional<Wide> gather(const Bits& bits, std::int32_t seed);

    const SparseQubo* qubo_;
    const std::atomic<bool>* stop_;
    std::vector<std::int32_t> differing_;
    std::vector<std::int32_t> component_;
    std::vector<std::int32_t> refused_;
    std::vector<std::uint8_t> marks_;  ///< of a variable: 1 if it differs, 2 once it is gathered
};

}  // namespace orvex::toolkit
