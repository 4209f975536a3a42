// Tells when the time of a run is up, while its threads are at work: results, at which they look at
// the clock, may come seconds apart.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

namespace orvex::engine {

/** Calls `act` on a thread of its own when the time has come, unless it was destroyed before. */
class TIME_UP {
  public:
    /** `end` is in nanoseconds of the system clock, and counts only if `limited`. */
    TIME_UP(bool limited, std::int64_t end, std::function<void()> act);
    ~TIME_UP();
    TIME_UP(const TIME_UP&) = delete;
    TIME_UP& operator=(const TIME_UP&) = delete;

  private:
    std::mutex mutex_;
    std::condition_variable over_;
    bool is_over_ = false;
    std::thread thread_;
};

}  // namespace orvex::engine
