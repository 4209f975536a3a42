#include "platform/cpu/signal.hpp"

#include <array>

namespace orvex::platform {

void SIGNAL::notify() {
    epoch_.fetch_add(1);
    if (sleepers_.load() == 0) return;
    // A sleeper counted here either holds the mutex and has yet to look at the epoch, or waits.
    const std::lock_guard lock(mutex_);
    changed_.notify_all();
}

void SIGNAL::wait(std::uint32_t seen) {
    sleepers_.fetch_add(1);
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return epoch_.load() != seen; });
    }
    sleepers_.fetch_sub(1);
}

void SIGNAL::wait_for(std::uint32_t seen, std::chrono::microseconds limit) {
    sleepers_.fetch_add(1);
    {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, limit, [&] { return epoch_.load() != seen; });
    }
    sleepers_.fetch_sub(1);
}

// The signals are never destroyed: a thread that ends the process finds the others asleep on them,
// and the destructor of a condition variable waits for its sleepers.
SIGNAL& host_wrote() {
    static SIGNAL& signal = *new SIGNAL;
    return signal;
}

SIGNAL& block_wrote(const void* address) {
    static std::array<SIGNAL, 64>& signals = *new std::array<SIGNAL, 64>;
    const auto key = reinterpret_cast<std::uintptr_t>(address) / alignof(std::uint64_t);
    return signals[key * 0x9E3779B97F4A7C15u >> 58];
}

}  // namespace orvex::platform
