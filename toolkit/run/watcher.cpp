#include "toolkit/run/watcher.hpp"

#include <algorithm>
#include <string>
#include <utility>

namespace orvex::toolkit {
namespace {

// Each event pushes the alarm back, so this is also the longest that an event is waited for while
// results come in.
constexpr double ALARM_SECONDS = 0.02;

thread_local bool inside_event = false;

}  // namespace

Watcher::Watcher(const Problem& problem, const Limits& limits, std::vector<Found> starts,
                 const std::vector<Sol>& hints, Events& events)
    : problem_(problem), limits_(limits), events_(events) {
    moment_.limit = limits.shown;
    if (!starts.empty()) {
        moment_.has_best = true;
        moment_.best = starts.front().energy;
        for (std::size_t k = 1; k < starts.size(); ++k)
            hints_.push_back(starts[k].solution);
        history_.push_back(std::move(starts.front()));
    }
    hints_.insert(hints_.end(), hints.begin(), hints.end());
}

bool Watcher::in_event() {
    return inside_event;
}

void Watcher::callback(const std::string& event) {
    inside_event = true;
    try {
        handle(event);
    } catch (...) {
        if (!failure_) failure_ = std::current_exception();
        steering_.stop();
    }
    inside_event = false;
    request();
}

void Watcher::handle(const std::string& event) {
    if (event == "init") {
        start_ = Clock::now();
        set("new");
        moment_.flips = flips();
        events_.began(moment_, steering_);
    } else {
        moment_.elapsed = elapsed();
        moment_.flips = flips();
        const std::size_t known = history_.size();
        if (event == "new") take(get(), moment_.elapsed);
        if (history_.size() > known)
            events_.improved(moment_, history_.back().solution, steering_);
        else
            events_.pulsed(moment_, steering_);
    }
    if (limits_.target && moment_.has_best && moment_.best <= *limits_.target)
        steering_.stop(Ending::TARGET);
    if (limits_.abort && moment_.elapsed >= *limits_.abort) steering_.stop(Ending::TIME_LIMIT);
}

/** What has been asked for is asked for again at each event: a run takes one request at a time. */
void Watcher::request() {
    if (steering_.ending_) {
        set("abort");
        return;
    }
    for (const Sol& hint : std::exchange(steering_.hints_, {}))
        hints_.push_back(hint);
    if (!hints_.empty()) {
        set(hints_.front());
        hints_.pop_front();
    }
    double delay = ALARM_SECONDS;
    if (limits_.abort) delay = std::clamp(*limits_.abort - elapsed(), 0.0, delay);
    set("alarm", std::to_string(delay));
}

void Watcher::rethrow() const {
    if (failure_) std::rethrow_exception(failure_);
}

void Watcher::take(const Sol& solution, double time) {
    const long energy = energy_of(solution);
    if (!history_.empty() && energy >= history_.back().energy) return;
    history_.push_back({time, energy, solution});
    moment_.has_best = true;
    moment_.best = energy;
    moment_.best_time = time;
}

double Watcher::elapsed() const {
    return std::chrono::duration<double>(Clock::now() - start_).count();
}

/** From the last best on, which most of the bits agree with. */
long Watcher::energy_of(const Sol& solution) const {
    const Weights& weights = problem_.weights;
    if (history_.empty()) return static_cast<long>(weights.energy(solution));
    const Found& last = history_.back();
    return static_cast<long>(last.energy + weights.energy_change(last.solution, solution));
}

}  // namespace orvex::toolkit
