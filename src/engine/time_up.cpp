#include "engine/time_up.hpp"

#include <chrono>
#include <utility>

#include "engine/phase_threads.hpp"

namespace orvex::engine {

TIME_UP::TIME_UP(bool limited, std::int64_t end, std::function<void()> act) {
    if (!limited) return;
    using CLOCK = std::chrono::system_clock;
    const CLOCK::time_point moment(
        std::chrono::duration_cast<CLOCK::duration>(std::chrono::nanoseconds(end)));
    thread_ = started_thread([this, moment, act = std::move(act)] {
        std::unique_lock lock(mutex_);
        if (!over_.wait_until(lock, moment, [this] { return is_over_; })) act();
    });
}

TIME_UP::~TIME_UP() {
    if (!thread_.joinable()) return;
    {
        const std::lock_guard lock(mutex_);
        is_over_ = true;
    }
    over_.notify_one();
    thread_.join();
}

}  // namespace orvex::engine
