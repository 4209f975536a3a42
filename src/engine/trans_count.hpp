// Counts the traffic of all islands together and keeps to the trial limit.
#pragma once

#include <atomic>

namespace orvex::engine {

class TRANS_COUNT {
  public:
    /** Asks for a ticket for one more instance. A refused ticket stays counted. */
    bool request(long trial_limit) {
        requested_.fetch_add(1);
        return trial_limit == 0 || trial_limit >= requested_.load();
    }

    /** Adds n results if n is positive; returns all that have come so far. */
    long received(int n) { return n > 0 ? received_.fetch_add(n) + n : received_.load(); }

  private:
    std::atomic<long> requested_{0};
    std::atomic<long> received_{0};
};

}  // namespace orvex::engine
