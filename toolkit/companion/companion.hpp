// A second way to search beside the library: threads that work on the structure of a model. Where
// couplings are few, parts of a good solution are heated and cooled again, and what became better
// is kept part by part; where one-hot groups are known, their 1s are moved. Invariant: no thread
// runs before start() or after stop(), and every energy told was added up from its bits.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "toolkit/companion/exchange.hpp"
#include "toolkit/companion/groups.hpp"
#include "toolkit/model/bounds.hpp"
#include "toolkit/model/sparse_qubo.hpp"

namespace orvex::toolkit {

/** What a companion works with. */
struct CompanionOptions {
    int threads = 1;         ///< at least 1
    std::uint64_t seed = 1;  ///< the threads draw different numbers from it
    Groups groups{};         ///< one-hot groups, where any are known: see find_groups()
    /** Seconds after which it will be stopped, if that is known: it plans with them, and goes on.
     */
    double time_limit = std::numeric_limits<double>::infinity();
    int solutions = 0;  ///< distinct ones to keep beside the best
};

/** A search on threads of its own, in exchange with whoever started it. */
class Companion {
  public:
    using Best = CompanionBest;

    /**
     * @param qubo outlives the companion
     * @throws InputError when there are no threads or no variables, too many couplings (2^31), or
     *     the groups are wrong
     * @throws std::bad_alloc
     */
    Companion(const SparseQubo& qubo, CompanionOptions options);
    Companion(const Companion&) = delete;
    Companion& operator=(const Companion&) = delete;
    ~Companion();

    /** Starts the threads; once. @throws std::system_error when that fails */
    void start();

    /**
     * Gives it a solution to work with: a start, or a best of another search. May be called by any
     * thread, before the start too.
     *
     * @throws InputError when it has not as many bits as the model has variables
     */
    void offer(const Bits& solution);

    /** Its best, if its energy is below. May be called by any thread. */
    std::optional<Best> better_than(Wide energy) const;

    /** Energy of its best; the highest number before there is one. May be called by any thread. */
    Wide best_energy() const { return exchange_.best_energy(); }

    /**
     * Waits until its best is below the energy, at most that many seconds. Ends early when the
     * companion stops. May be called by any thread.
     *
     * @return whether its best is below
     */
    bool wait_for_better(Wide energy, double seconds) const;

    /**
     * Ends the threads and waits for them, some hundredths of a second. May be called twice.
     *
     * @throws what ended a thread, if that was an exception
     */
    void stop();

    /** The best distinct solutions that it came by, as many as it was to keep, the best first. */
    std::vector<Solution> solutions() const { return exchange_.collection().solutions(); }

    /** Flips that were tried, of single bits or as a move of several. */
    long attempted_flips() const;

  private:
    void work(int worker);
    void join();

    const SparseQubo* qubo_;
    CompanionOptions options_;
    Exchange exchange_;
    std::vector<std::thread> threads_;
};

}  // namespace orvex::toolkit
