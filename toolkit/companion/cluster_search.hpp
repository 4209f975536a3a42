// Anneals over clusters of replicas (clusters.hpp), in lanes as the model itself is annealed.
// Invariant: what comes out never raises the elite's energy, as the clusters' model has exact
// energies and starts where nothing is flipped.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <vector>

#include "toolkit/companion/clusters.hpp"
#include "toolkit/companion/lanes.hpp"
#include "toolkit/companion/narrowing.hpp"
#include "toolkit/model/sparse_qubo.hpp"

namespace orvex::toolkit {

/** Has working memory, so each thread needs one of its own. */
class ClusterSearch {
  public:
    /** Both outlive the search. @param stop once it is set, a search ends without a result */
    ClusterSearch(const SparseQubo& qubo, const std::atomic<bool>& stop);

    /** Whether there can be clusters; else no search is to be begun. */
    bool possible() const { return clusters_.possible(); }

    /**
     * Cools the clusters from hot to nothing.
     *
     * @param bits of the elite
     * @param variables in which replicas may differ from it, each once
     * @param flips for each of them a word with a bit for each replica: whether it differs there
     * @param hot the first temperature, in the unit of the model's weights
     * @param attempts of each lane, about
     * @param randoms are drawn from
     * @param[out] differing variables whose flips do not raise the energy; none after a stop
     * @return attempts of each lane, as many as were made
     */
    double search(const Bits& bits, std::span<const std::int32_t> variables,
                  std::span<const std::uint64_t> flips, double hot, double attempts,
                  Randoms& randoms, std::vector<std::int32_t>& differing);

  private:
    template <class T>
    Bits cooled(const SparseQubo& model, const Narrowing& narrowing, double hot, int length,
                Randoms& randoms) const;

    bool stopping() const { return stop_->load(std::memory_order_relaxed); }

    const std::atomic<bool>* stop_;
    Clusters clusters_;
};

}  // namespace orvex::toolkit
