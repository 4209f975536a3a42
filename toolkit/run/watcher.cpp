#include "toolkit/run/watcher.hpp"

#include <algorithm>
#include <atomic>
#include <string>
#include <utility>

#include "toolkit/model/energy.hpp"

namespace orvex::toolkit {
namespace {

// Each event pushes the alarm back, so this is also the longest that an event is waited for while
// results come in.
constexpr double ALARM_SECONDS = 0.02;
constexpr double PULSE_SECONDS = 0.08;  // with a tick, less than a tenth of a second
constexpr std::chrono::milliseconds TICK{10};

// A run that is to end waits for what its blocks still work on: some hundredths of a second with
// the settings that are chosen here, but as long as the caller's own settings say. Then they are
// told to leave. Where there is no solution yet, the first one is waited for somewhat longer.
constexpr double PATIENCE = 0.5;
constexpr double PATIENCE_FOR_THE_FIRST = 2;

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

/** Does what tells the caller's events, which may fail. */
template <class ACTION>
void Watcher::tell(const ACTION& action) {
    inside_event = true;
    try {
        action();
    } catch (...) {
        if (!failure_) failure_ = std::current_exception();
        steering_.stop();
    }
    inside_event = false;
    settle_end();
    last_event_ = elapsed();
}

void Watcher::callback(const std::string& event) {
    const std::lock_guard lock(mutex_);
    tell([&] { handle(event); });
    request();
}

void Watcher::tick() {
    const std::lock_guard lock(mutex_);
    if (!began_) return;
    if (elapsed() - last_event_ >= PULSE_SECONDS)
        tell([&] {
            moment_.elapsed = elapsed();
            events_.pulsed(moment_, steering_);
        });
    if (overdue()) std::atomic_ref(impl().end_at_once).store(1, std::memory_order_relaxed);
}

void Watcher::handle(const std::string& event) {
    if (event == "init") {
        start_ = Clock::now();
        began_ = true;
        set("new");
        moment_.flips = flips();
        events_.began(moment_, steering_);
        return;
    }
    moment_.elapsed = elapsed();
    moment_.flips = flips();
    const std::size_t known = history_.size();
    if (event == "new") take(get(), found_time(get()));
    if (history_.size() > known)
        events_.improved(moment_, history_.back().solution, steering_);
    else
        events_.pulsed(moment_, steering_);
}

void Watcher::settle_end() {
    if (limits_.target && moment_.has_best && moment_.best <= *limits_.target)
        steering_.stop(Ending::TARGET);
    if (limits_.abort && elapsed() >= *limits_.abort) steering_.stop(Ending::TIME_LIMIT);
    if (steering_.ending_ && !end_due_) end_due_ = elapsed();
}

/** Whether the run should have ended some time ago. */
bool Watcher::overdue() const {
    std::optional<double> due = end_due_;
    if (limits_.shown > 0) due = std::min(due.value_or(limits_.shown), limits_.shown);
    return due && elapsed() - *due >= (moment_.has_best ? PATIENCE : PATIENCE_FOR_THE_FIRST);
}

/** What has been asked for is asked for again at each event: a run takes one request at a time. */
void Watcher::request() {
    if (steering_.ending_) {
        set("abort");
        return;
    }
    for (const Sol& hint : std::exchange(steering_.hints_, {}))
        hints_.push_back(hint);
    for (const auto& [key, value] : std::exchange(steering_.changes_, {}))
        set(key, value);
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

/** When the library found its best, which is some time before it tells. */
double Watcher::found_time(const Sol& solution) const {
    const std::string seconds = solution.get("tts");
    return seconds.empty() ? elapsed() : std::min(std::stod(seconds), elapsed());
}

double Watcher::elapsed() const {
    return std::chrono::duration<double>(Clock::now() - start_).count();
}

/** From the last best on, which most of the bits agree with. */
long Watcher::energy_of(const Sol& solution) const {
    const Model& model = *problem_.model;
    if (history_.empty()) return static_cast<long>(exact_energy(model, solution, problem_.size));
    const Found& last = history_.back();
    return static_cast<long>(last.energy +
                             energy_change(model, last.solution, solution, problem_.size));
}

Pulse::Pulse(Watcher& watcher)
    : thread_([this, &watcher] {
          std::unique_lock lock(mutex_);
          while (!changed_.wait_for(lock, TICK, [&] { return over_; }))
              watcher.tick();
      }) {}

Pulse::~Pulse() {
    {
        const std::lock_guard lock(mutex_);
        over_ = true;
    }
    changed_.notify_one();
    thread_.join();
}

}  // namespace orvex::toolkit
