// The work of one thread: an elite solution is changed again and again, and where that brings
// nothing any more, another is raised from nothing and merged into it. Invariant: the best that the
// thread ever had is published or still an elite.
#pragma once

#include <chrono>
#include <cstdint>
#include <random>

#include "toolkit/companion/exchange.hpp"
#include "toolkit/companion/groups.hpp"
#include "toolkit/companion/merge.hpp"
#include "toolkit/model/sparse_qubo.hpp"

namespace orvex::toolkit {

class Worker {
  public:
    /** @param number of this worker in the exchange */
    Worker(const SparseQubo& qubo, Exchange& exchange, int number, std::uint64_t seed);
    virtual ~Worker() = default;

    /** Works until the exchange stops. */
    void run();

  protected:
    /** What a step brought: gain in energy and work for it, this in a unit of the worker's own. */
    struct Progress {
        double gain = 0;
        double work = 0;
    };

    /** Makes the elite a solution that owes nothing to an earlier one. */
    virtual Progress begin() = 0;
    /** Tries to make the elite better; never makes it worse. */
    virtual Progress step() = 0;
    /** What a solution that was offered is, as this worker wants it. */
    virtual Bits accepted(const Bits& offer) { return offer; }
    /** Work that a solution is worth at least before it counts as stuck. */
    virtual double patience() const = 0;

    bool stopping() const { return exchange_->stopping(); }
    void count(std::int64_t attempts) { exchange_->count(attempts); }

    const SparseQubo* qubo_;
    std::mt19937_64 random_;
    Merger merger_;
    Solution elite_;

  private:
    void take_offers();
    void publish_when_due();
    void raise();
    void unite();

    Exchange* exchange_;
    int number_;
    bool symmetric_;       ///< whether every solution's complement has its energy
    bool merged_ = false;  ///< whether an offer has a part in the elite
    Solution rival_;       ///< the older elite, while a new one is raised
    bool raising_ = false;
    double spent_ = 0, idle_ = 0;  ///< work on the elite: all, and since the last gain
    double share_ = 0;             ///< work that the rival had
    std::chrono::steady_clock::time_point due_{};  ///< when to publish again
};

/** Reheats and merges: for sparse models. */
void reheat(const SparseQubo& qubo, Exchange& exchange, int number, std::uint64_t seed);

/** Moves the 1s of groups. */
void shift(const SparseQubo& qubo, const Groups& groups, Exchange& exchange, int number,
           std::uint64_t seed);

}  // namespace orvex::toolkit
