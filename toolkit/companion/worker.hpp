// The work of one thread: an elite solution is changed again and again, and in time another is
// raised from nothing and the two are united. Invariant: the best that the thread ever had is
// published or still an elite.
#pragma once

#include <chrono>
#include <cstdint>
#include <random>

#include "toolkit/companion/exchange.hpp"
#include "toolkit/companion/groups.hpp"
#include "toolkit/companion/merge.hpp"
#include "toolkit/model/sparse_qubo.hpp"

namespace orvex::toolkit {

class Route;

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

    /** Makes the elite a solution that owes nothing to an earlier one, for about so much work. */
    virtual Progress begin(double work) = 0;
    /** Tries to make the elite better; never makes it worse. */
    virtual Progress step() = 0;
    /** What a solution that was offered is, as this worker wants it. */
    virtual Bits accepted(const Bits& offer) { return offer; }
    /** Work of the first solution, which is to be there soon. */
    virtual double first_work() const = 0;
    /** Whether the elite has been worked on enough: it is united with the older one, or another is
     * raised. */
    virtual bool enough() const = 0;
    /** Work to raise another with; 0 for none. */
    virtual double next_work() const = 0;

    /**
     * Merges another solution, or how it differs, into the elite; it may be worth keeping itself.
     *
     * @return what the elite gained
     */
    template <class OTHER>
    Wide merge(const OTHER& other) {
        const Merged merged = merger_.merge(elite_, other);
        collect_merged(merged.loss);
        return merged.gain;
    }

    /** Whether the elite is still alone, beside an older one. */
    bool alone() const { return alone_; }
    /** Work on the elite since it was raised. */
    double spent() const { return spent_; }
    /** That of raising it. */
    double raised_with() const { return raised_with_; }
    /** Work since it last gained. */
    double idle() const { return idle_; }
    /** Work on all elites before. */
    double spent_before() const { return spent_before_; }
    /** Work that the time left is good for, at the pace so far. */
    double work_left() const;

    bool stopping() const { return exchange_->stopping(); }
    void count(std::int64_t attempts) { exchange_->count(attempts); }

    const SparseQubo* qubo_;
    std::mt19937_64 random_;
    Merger merger_;
    Solution elite_;

  private:
    void take_offers();
    void publish_when_due();
    void collect_merged(Wide loss);
    void raise(double work);
    void unite();

    Exchange* exchange_;
    int number_;
    bool symmetric_;       ///< whether every solution's complement has its energy
    bool merged_ = false;  ///< whether an offer has a part in the elite
    Solution rival_;       ///< the older elite, while the new one is alone
    bool alone_ = false;
    double raised_with_ = 0, spent_ = 0, idle_ = 0, spent_before_ = 0;
    std::chrono::steady_clock::time_point due_{};  ///< when to publish again
};

/** Reheats and merges: for sparse models. */
void reheat(const SparseQubo& qubo, Exchange& exchange, int number, std::uint64_t seed);

/** Moves the 1s of groups; where the model is a route, travels. */
void shift(const SparseQubo& qubo, const Groups& groups, Exchange& exchange, int number,
           std::uint64_t seed);

/** Makes a tour shorter by moves of its own. */
void travel(const SparseQubo& qubo, const Route& route, Exchange& exchange, int number,
            std::uint64_t seed);

}  // namespace orvex::toolkit
