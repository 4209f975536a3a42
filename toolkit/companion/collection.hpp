// The best distinct solutions that searching came by, for a caller who wants more than the best of
// all. Invariant: no two have the same bits, and none that was left out is better than one that is
// kept.
#pragma once

#include <cstddef>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

#include "toolkit/companion/merge.hpp"

namespace orvex::toolkit {

/** Every function may be called by any thread. */
class Collection {
  public:
    /**
     * @param count of solutions, at most; fewer of large models, so that they fit into 256 MB
     * @param size of the model
     */
    Collection(std::size_t count, std::size_t size);

    /** Whether it is worth making a solution of this energy known. */
    bool wants(Wide energy) const;

    /** Keeps the solution if it is among the best and new. */
    void take(const Solution& solution);

    /** What is kept, the best first. */
    std::vector<Solution> solutions() const;

  private:
    const std::size_t count_;
    mutable std::mutex mutex_;
    std::set<std::pair<Wide, Bits>> kept_;
};

}  // namespace orvex::toolkit
