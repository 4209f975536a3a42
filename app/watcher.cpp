#include "app/watcher.hpp"

#include <algorithm>
#include <string>

#include "app/interrupt.hpp"

namespace orvex::cli {
namespace {

// Each event pushes the alarm back, so this is also the longest that an event is waited for while
// results come in.
constexpr double ALARM_SECONDS = 0.1;

}  // namespace

void Watcher::callback(const std::string& event) {
    try {
        handle(event);
    } catch (...) {
        // What failed is the display, for want of memory; the search can go on without it.
    }
}

// The requests come first: whatever becomes of the display, they stand.
void Watcher::handle(const std::string& event) {
    const bool improved = event == "new";
    if (event == "init") {
        start_ = Clock::now();
        moment_.limit = limits_.shown;
        set("new");
    }
    moment_.elapsed = elapsed();
    moment_.flips = flips();
    if (improved) {
        moment_.has_best = true;
        moment_.best = std::stol(get().get("energy"));
        moment_.best_time = moment_.elapsed;
    }

    double delay = ALARM_SECONDS;
    if (limits_.abort) delay = std::clamp(*limits_.abort - moment_.elapsed, 0.0, delay);
    set("alarm", std::to_string(delay));
    stop_ = reason_to_stop();
    if (stop_ != Stop::NONE) set("abort");

    if (event == "init")
        progress_.begin(moment_);
    else
        progress_.update(moment_, improved);
}

double Watcher::elapsed() const {
    return std::chrono::duration<double>(Clock::now() - start_).count();
}

Watcher::Stop Watcher::reason_to_stop() const {
    if (interrupted()) return Stop::INTERRUPT;
    if (limits_.target && moment_.has_best && moment_.best <= *limits_.target) return Stop::TARGET;
    if (limits_.abort && moment_.elapsed >= *limits_.abort) return Stop::DEADLINE;
    return Stop::NONE;
}

}  // namespace orvex::cli
