// What the companion's threads and the caller share: the best solution, the solutions that the
// caller offers, and the wish to stop. Invariant: the energy of the best was added up from its
// bits.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <limits>
#include <mutex>
#include <optional>
#include <vector>

#include "toolkit/companion/collection.hpp"
#include "toolkit/companion/merge.hpp"
#include "toolkit/model/sparse_qubo.hpp"

namespace orvex::toolkit {

/** The companion's best solution. */
struct CompanionBest {
    Bits bits;
    Wide energy;  ///< added up from the bits
    bool merged;  ///< whether a solution that was offered has a part in it
    double time;  ///< seconds after the start
};

/** Every function may be called by any thread. */
class Exchange {
  public:
    /**
     * @param qubo outlives the exchange
     * @param solutions that are kept beside the best
     */
    Exchange(const SparseQubo& qubo, int workers, std::size_t solutions = 0);

    /** Times count from now on. @param time_limit seconds, to plan with */
    void begin(double time_limit);
    double seconds() const;
    /** Until the time limit; 0 after it. */
    double seconds_left() const;

    bool stopping() const { return stopping_.load(std::memory_order_relaxed); }
    void stop();
    /** What stopping() tells, to look at elsewhere. */
    const std::atomic<bool>& stop_flag() const { return stopping_; }

    /**
     * Tells a worker's solution, if it is the best; adds up its energy. @throws std::logic_error if
     * the energy is not what the worker took it to be
     */
    void publish(const Solution& solution, bool merged);

    /** The best that workers came by, for whoever wants several. */
    Collection& collection() { return collection_; }
    const Collection& collection() const { return collection_; }

    /** Energy of the best so far; the highest number before there is one. */
    Wide best_energy() const;

    /** The best if its energy is below. */
    std::optional<CompanionBest> better_than(Wide energy) const;

    /** Waits until the best is below, or the time is over, or a stop. @return whether it is */
    bool wait_for_better(Wide energy, double seconds) const;

    /** Keeps a solution for every worker; of many the oldest are dropped. */
    void offer(const Bits& bits);

    /** What was offered since this worker last asked, the newest last. */
    std::vector<Bits> offered(int worker);

    /** Keeps the first failure of a worker and stops the rest. */
    void fail(std::exception_ptr failure);
    /** Throws it, once. */
    void rethrow();

    /** Work done, for whoever wants to compare. */
    void count(std::int64_t attempts) { attempts_.fetch_add(attempts, std::memory_order_relaxed); }
    std::int64_t attempts() const { return attempts_.load(std::memory_order_relaxed); }

  private:
    const SparseQubo* qubo_;
    std::chrono::steady_clock::time_point begin_;
    double time_limit_ = std::numeric_limits<double>::infinity();
    std::atomic<bool> stopping_{false};
    std::atomic<std::int64_t> attempts_{0};
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::optional<CompanionBest> best_;
    std::vector<std::vector<Bits>> offers_;  ///< of each worker
    Collection collection_;
    std::exception_ptr failure_;
};

}  // namespace orvex::toolkit
