// Exact reductions before the search. A sparse model is mostly taken apart by rules that each keep
// an optimum: what is left is a smaller model, or nothing, and then the answer is proven.
// Invariant: the way back gives for every solution of the reduced model one of the original that
// has at most the energy that it represents, and an optimum for an optimum.
#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "toolkit/model/bounds.hpp"
#include "toolkit/model/sparse_qubo.hpp"
#include "toolkit/presolve/way_back.hpp"

namespace orvex::toolkit {

/** How much is tried. */
enum class PresolveEffort {
    OFF,   ///< nothing: the reduced model is the original
    AUTO,  ///< the cheap rules; the dear ones while the model is sparse enough for them to find
           ///< much
    FULL,  ///< all rules, with much larger tables
};

struct PresolveOptions {
    PresolveEffort effort = PresolveEffort::AUTO;
    /** Seconds after which no dear rule begins anything more; 0: no limit. Cheap rules always run.
     */
    double time_limit = 0;
    /** Bytes for the tables of a dynamic programme. */
    std::uint64_t memory = std::uint64_t{256} << 20;
};

/** What a rule did. */
struct RuleUse {
    const char* rule;    ///< its name
    long nodes = 0;      ///< variables that it took out
    double seconds = 0;  ///< that it took
};

/** A reduced model with the way back to the original. */
class Presolved : public WayBack {
  public:
    Presolved(WayBack way_back, SparseQubo reduced, std::optional<Wide> bound,
              std::vector<RuleUse> rules)
        : WayBack(std::move(way_back)),
          reduced_(std::move(reduced)),
          bound_(bound),
          rules_(std::move(rules)) {}

    /** The model that is left; it may have no variables. */
    const SparseQubo& reduced() const { return reduced_; }

    /** Whether nothing is left, so that `restore({})` is a proven optimum. */
    bool optimal() const { return reduced_.size() == 0; }

    /**
     * No energy of the original is below this, if anything is known; the optimum where optimal().
     */
    std::optional<Wide> bound() const { return bound_; }

    /** A row for each rule that was tried. */
    const std::vector<RuleUse>& rules() const { return rules_; }

  private:
    SparseQubo reduced_;
    std::optional<Wide> bound_;
    std::vector<RuleUse> rules_;
};

/**
 * Reduces a model. A model whose weights add up to more than 2^61 is left as it is; so is one whose
 * reduced model would need wider energies than it does itself.
 */
Presolved presolve(const SparseQubo& qubo, const PresolveOptions& options = {});

}  // namespace orvex::toolkit
