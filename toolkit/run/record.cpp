#include "toolkit/run/record.hpp"

#include <algorithm>
#include <utility>

namespace orvex::toolkit {
namespace {

thread_local bool inside_event = false;

/** Marks the thread for as long as the caller has it. */
struct EventScope {
    EventScope() { inside_event = true; }
    ~EventScope() { inside_event = false; }
};

}  // namespace

Record::Record(const View& view, const Limits& limits, std::vector<Found> starts,
               const std::vector<Sol>& hints, Events& events)
    : view_(view), limits_(limits), events_(events) {
    moment_.limit = limits.shown;
    for (const Sol& hint : hints)
        steering_.hint(hint);
    for (std::size_t k = starts.size(); k > 1; --k)  // the worst first, which may be dropped first
        steering_.hint(starts[k - 1].solution);
    if (starts.empty()) return;
    moment_.has_best = true;
    moment_.best = starts.front().energy;
    history_.push_back(std::move(starts.front()));
    told_ = 1;
}

bool Record::in_event() {
    return inside_event;
}

void Record::begin() {
    start_ = Clock::now();
    {
        const EventScope scope;
        events_.began(moment_, steering_);
    }
    look_at_limits();
}

void Record::take(const Sol& searched, Source source, double time) {
    Sol solution = view_.original_of(searched);
    const long energy = energy_of(solution);
    if (!history_.empty() && energy >= history_.back().energy) return;
    history_.push_back({time, energy, std::move(solution), source});
    moment_.has_best = true;
    moment_.best = energy;
    moment_.best_time = time;
    moment_.source = source;
}

void Record::tell() {
    moment_.elapsed = elapsed();
    {
        const EventScope scope;
        if (history_.size() > told_)
            events_.improved(moment_, history_.back().solution, steering_);
        else
            events_.pulsed(moment_, steering_);
    }
    told_ = history_.size();
    look_at_limits();
}

void Record::look_at_limits() {
    if (limits_.bound && moment_.has_best && moment_.best <= *limits_.bound)
        steering_.stop(Ending::OPTIMAL);
    if (limits_.target && moment_.has_best && moment_.best <= *limits_.target)
        steering_.stop(Ending::TARGET);
    if (limits_.abort && moment_.elapsed >= *limits_.abort) steering_.stop(Ending::TIME_LIMIT);
}

std::vector<Sol> Record::take_hints() {
    std::vector<Sol> hints = std::exchange(steering_.hints_, {});
    for (Sol& hint : hints)
        hint = view_.searched_of(hint);
    return hints;
}

std::vector<std::pair<std::string, std::string>> Record::take_changes() {
    return std::exchange(steering_.changes_, {});
}

std::vector<Found> Record::bests_in_time() const {
    std::vector<Found> bests;
    for (const Found& found : history_) {
        while (!bests.empty() && bests.back().time > found.time)
            bests.pop_back();
        bests.push_back(found);
    }
    return bests;
}

double Record::elapsed() const {
    return std::chrono::duration<double>(Clock::now() - start_).count();
}

std::optional<double> Record::left() const {
    if (!limits_.abort) return std::nullopt;
    return std::max(0.0, *limits_.abort - elapsed());
}

/** From the last best on, which most of the bits agree with. */
long Record::energy_of(const Sol& solution) const {
    const Weights& weights = view_.problem().weights;
    if (history_.empty()) return static_cast<long>(weights.energy(solution));
    const Found& last = history_.back();
    return static_cast<long>(last.energy + weights.energy_change(last.solution, solution));
}

}  // namespace orvex::toolkit
