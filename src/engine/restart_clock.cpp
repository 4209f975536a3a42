#include "engine/restart_clock.hpp"

#include <cassert>
#include <chrono>
#include <cmath>
#include <limits>

#include "engine/relaxed.hpp"

namespace orvex::engine {

std::int64_t now() {
    const auto since_epoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(since_epoch).count();
}

unsigned long time4random() {
    return static_cast<unsigned long>(now());
}

std::int64_t nanoseconds(double seconds) {
    constexpr double LONGEST = 200.0 * 365.25 * 86400.0;
    if (std::isnan(seconds)) return 0;
    return static_cast<std::int64_t>(std::fmin(std::fmax(seconds, -LONGEST), LONGEST) * 1e9);
}

RESTART_CLOCK::RESTART_CLOCK(double limit_, double t0_, double b_, double nobest_)
    : limit(limit_),
      t0(t0_),
      b(b_),
      nobest(nobest_),
      start(now()),
      end(limit_ > 0 ? start + nanoseconds(limit_) : std::numeric_limits<std::int64_t>::max()) {
    assert(end >= start && limit_ >= 0);
    nextPeriod();
    assert(count == 1);
}

void RESTART_CLOCK::nextPeriod() {
    const std::int64_t present = now();
    double d = t0 * std::pow(b, count);
    if (limit > 0) {
        const double rest = limit - static_cast<double>(present - start) / 1e9;
        if (d > rest * 0.5) d = rest;
    }
    assert(count >= 0 && (limit <= 0 || end >= start));
    set_relaxed(next_restart, present + nanoseconds(d));
    set_relaxed(nobest_until, present + nanoseconds(d * nobest));
    ++count;
}

double RESTART_CLOCK::elapsed() const {
    return static_cast<double>(now() - start) / 1e9;
}

}  // namespace orvex::engine
