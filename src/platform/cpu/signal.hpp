// How sleepers are woken: workers that wait for an instance, host threads that wait for a result.
// A signal is an epoch that only rises. A sleeper notes the epoch, looks for work, and sleeps only
// while the epoch is the one noted, so that a write between look and sleep is never missed.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace orvex::platform {

class SIGNAL {
  public:
    std::uint32_t epoch() const { return epoch_.load(std::memory_order_acquire); }

    /** Raises the epoch. Costs two atomic operations while nobody sleeps. */
    void notify();

    /** Sleeps until the epoch differs from `seen`. */
    void wait(std::uint32_t seen);

    /** The same, for `limit` at most. */
    void wait_for(std::uint32_t seen, std::chrono::microseconds limit);

  private:
    std::atomic<std::uint32_t> epoch_{0};
    std::atomic<int> sleepers_{0};
    std::mutex mutex_;
    std::condition_variable changed_;
};

/** Raised by every write of the host to device memory that a waiting block may look for. */
SIGNAL& host_wrote();

/** Raised when a block has written the word at `address`. Words may share a signal. */
SIGNAL& block_wrote(const void* address);

}  // namespace orvex::platform
