#include "toolkit/run/watcher.hpp"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include "toolkit/run/companion_run.hpp"

namespace orvex::toolkit {
namespace {

// Each event pushes the alarm back, so this is also the longest that an event is waited for while
// results come in.
constexpr double ALARM_SECONDS = 0.02;

}  // namespace

Watcher::Watcher(Record& record, Companion* companion)
    : record_(record), companion_(companion), known_(std::numeric_limits<Wide>::max()) {}

void Watcher::callback(const std::string& event) {
    try {
        handle(event);
    } catch (...) {
        if (!failure_) failure_ = std::current_exception();
        record_.end(Ending::STOPPED);
    }
    request();
}

void Watcher::handle(const std::string& event) {
    if (event == "init") {
        set("new");
        record_.begin(flips());
        if (companion_ != nullptr) companion_->start();
        return;
    }
    exchange(event == "new");
    record_.tell(flips());
}

/** The library's new best goes to the companion, and the companion's to the library. */
void Watcher::exchange(bool is_new) {
    if (is_new) {
        const Sol found = get();
        record_.take(found, Source::SEARCH);
        if (companion_ != nullptr) companion_->offer(bits_of(found));
    }
    if (companion_ == nullptr) return;
    if (std::optional<Sol> best = take_best(record_, *companion_, known_))
        hints_.push_back(std::move(*best));
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
    if (failure_) std::rethrow_exception(failure_);
}

}  // namespace orvex::toolkit
