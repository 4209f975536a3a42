#include "toolkit/run/companion_run.hpp"

#include <algorithm>
#include <chrono>
#include <limits>
#include <thread>

namespace orvex::toolkit {
namespace {

/** A caller hears of the search this often, however many bests there are. */
constexpr double PULSE_SECONDS = 0.02;

}  // namespace

std::optional<Sol> take_best(Record& record, Companion& companion, Wide& known) {
    const std::optional<Companion::Best> best = companion.better_than(known);
    if (!best) return std::nullopt;
    known = best->energy;
    Sol found = solution_of(best->bits);
    record.take(found, best->merged ? Source::MERGE : Source::COMPANION,
                std::min(best->time, record.elapsed()));
    return found;
}

void run_companion(Record& record, Companion& companion, Trace& trace) {
    Wide known = std::numeric_limits<Wide>::max();
    companion.start();
    record.begin();
    while (!record.ending()) {
        for (const Sol& hint : record.take_hints())
            companion.offer(bits_of(hint));
        const double wait = std::min(record.left().value_or(PULSE_SECONDS), PULSE_SECONDS);
        std::this_thread::sleep_for(std::chrono::duration<double>(wait));
        take_best(record, companion, known);
        record.count(companion.attempted_flips());
        record.tell();
        trace.look(record, {}, &companion);
    }
    companion.stop();
    take_best(record, companion, known);
    // The first anneal of a large model may take longer than the limit.
    if (record.history().empty())
        record.take(Sol(record.view().searched().size), Source::COMPANION);
}

}  // namespace orvex::toolkit
