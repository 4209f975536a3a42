// How the model that is searched looks from the caller's problem. The search may work on what
// presolve has left, but a caller sees solutions and energies of the problem alone. Invariant: a
// solution that comes back is never worse than what it was made of, in either direction.
#pragma once

#include <optional>

#include "toolkit/companion/groups.hpp"
#include "toolkit/model/problem.hpp"
#include "toolkit/presolve/presolve.hpp"

namespace orvex::toolkit {

class View {
  public:
    /** The problem is searched as it is. */
    explicit View(const Problem& problem) : problem_(problem) {}

    /** What presolve has left of the problem is searched. */
    View(const Problem& problem, Presolved presolved);

    /** The caller's. */
    const Problem& problem() const { return problem_; }

    /** The one that is searched. */
    const Problem& searched() const { return reduced_ ? *reduced_ : problem_; }

    /** What presolve did, if it was asked. */
    const Presolved* presolved() const { return presolved_ ? &*presolved_ : nullptr; }

    /** Groups of the problem, as far as they are groups of the searched model too. */
    Groups searched_groups(const Groups& groups) const;

    Sol original_of(const Sol& searched) const;
    Sol searched_of(const Sol& original) const;

    /** The energy that a searched solution must reach so that the problem's is at most this. */
    Wide searched_energy(Wide energy) const;

    /** The energy of the problem to which an energy of the searched model belongs. */
    Wide original_energy(Wide searched) const;

  private:
    const Problem& problem_;
    std::optional<Presolved> presolved_;
    std::optional<Problem> reduced_;
};

}  // namespace orvex::toolkit
