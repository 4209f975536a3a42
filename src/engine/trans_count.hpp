// Counts the traffic of all islands together and keeps to the trial limit.
#pragma once

#include <atomic>

namespace orvex::engine {

class TRANS_COUNT {
  public:
    /**
     * Asks for a ticket for one more instance. A refused ticket stays counted. What counts is what
     * the addition itself made of the counter: of islands that ask at the same moment, as many as
     * the limit are granted, where a second look at the counter could refuse them all and end a run
     * of a few trials without one.
     */
    bool request(long trial_limit) {
        const long number = requested_.fetch_add(1) + 1;
        return trial_limit == 0 || trial_limit >= number;
    }

    /** Adds n results if n is positive; returns all that have come so far. */
    long received(int n) { return n > 0 ? received_.fetch_add(n) + n : received_.load(); }

  private:
    std::atomic<long> requested_{0};
    std::atomic<long> received_{0};
};

}  // namespace orvex::engine
