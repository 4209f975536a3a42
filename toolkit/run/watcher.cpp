#include "toolkit/run/watcher.hpp"

#include <algorithm>
#include <atomic>
#include <limits>
#include <string>
#include <utility>

#include "toolkit/run/companion_run.hpp"

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

/** When the library found its best, which is some time before it tells. */
double found_time(const Sol& solution, double now) {
    const std::string seconds = solution.get("tts");
    return seconds.empty() ? now : std::min(std::stod(seconds), now);
}

}  // namespace

Watcher::Watcher(Record& record, Companion* companion, Trace* trace)
    : record_(record),
      companion_(companion),
      trace_(trace != nullptr && trace->wanted() ? trace : nullptr),
      known_(std::numeric_limits<Wide>::max()) {}

/** Does what tells the caller's events, which may fail. */
template <class ACTION>
void Watcher::guarded(const ACTION& action) {
    try {
        action();
    } catch (...) {
        if (!failure_) failure_ = std::current_exception();
        record_.end(Ending::STOPPED);
    }
    last_event_ = record_.elapsed();
    if (record_.ending() && !end_due_) end_due_ = last_event_;
}

void Watcher::callback(const std::string& event) {
    const std::lock_guard lock(mutex_);
    guarded([&] { handle(event); });
    request();
}

void Watcher::tick() {
    const std::lock_guard lock(mutex_);
    if (!began_) return;
    if (record_.elapsed() - last_event_ >= PULSE_SECONDS)
        guarded([&] {
            exchange(false);
            tell();
        });
    if (overdue()) std::atomic_ref(impl().end_at_once).store(1, std::memory_order_relaxed);
}

void Watcher::handle(const std::string& event) {
    if (event == "init") {
        set("new");
        record_.begin();
        began_ = true;
        if (companion_ != nullptr) companion_->start();
        return;
    }
    record_.count(flips());
    if (trace_ != nullptr) seen_islands_ = islands();
    exchange(event == "new");
    tell();
}

void Watcher::tell() {
    record_.tell();
    if (trace_ != nullptr) trace_->look(record_, seen_islands_, companion_);
}

/** The library's new best goes to the companion, and the companion's to the library. */
void Watcher::exchange(bool is_new) {
    if (is_new) {
        const Sol found = get();
        record_.take(found, Source::SEARCH, found_time(found, record_.elapsed()));
        if (companion_ != nullptr) companion_->offer(bits_of(found));
    }
    if (companion_ == nullptr) return;
    if (std::optional<Sol> best = take_best(record_, *companion_, known_))
        hints_.push_back(std::move(*best));
}

/** Whether the run should have ended some time ago. */
bool Watcher::overdue() const {
    std::optional<double> due = end_due_;
    if (const double limit = record_.limit(); limit > 0) due = std::min(due.value_or(limit), limit);
    const double patience = record_.history().empty() ? PATIENCE_FOR_THE_FIRST : PATIENCE;
    return due && record_.elapsed() - *due >= patience;
}

/** What has been asked for is asked for again at each event: a run takes one request at a time. */
void Watcher::request() {
    if (record_.ending()) {
        set("abort");
        return;
    }
    for (Sol& hint : record_.take_hints()) {
        if (companion_ != nullptr) companion_->offer(bits_of(hint));
        hints_.push_back(std::move(hint));
    }
    for (const auto& [key, value] : record_.take_changes())
        set(key, value);
    if (!hints_.empty()) {
        set(hints_.front());
        hints_.pop_front();
    }
    set("alarm", std::to_string(std::min(record_.left().value_or(ALARM_SECONDS), ALARM_SECONDS)));
}

void Watcher::finish() {
    if (companion_ != nullptr) {
        companion_->stop();
        take_best(record_, *companion_, known_);
    }
    if (trace_ != nullptr) trace_->keep(islands());
    if (failure_) std::rethrow_exception(failure_);
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
