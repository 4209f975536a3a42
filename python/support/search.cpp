// Searches: options in, events while one runs, the result out.
#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

#include "support.hpp"

using namespace orvex::python;
using namespace orvex::toolkit;

/**
 * What happens in a search, told on a thread of the library.
 *
 * @param seconds since the search began
 * @param flips that it has made so far
 * @param energy, words of a new best; words is null where there is none
 */
using ORVEX_PYTHON_EVENT = void (*)(Steering* steering, double seconds, std::int64_t flips,
                                    std::int64_t energy, const std::uint64_t* words);

/** Receives a line of the trace, on a thread of the library. */
using ORVEX_PYTHON_TRACE = void (*)(const char* line);

/** What a search brought, beside solutions and texts. */
struct ORVEX_PYTHON_SUMMARY {
    double load_time, search_time;
    std::int64_t found;      ///< entries of the history
    std::int64_t solutions;  ///< distinct good ones
    const char* ending;
    const char* checkpoint_failure;  ///< empty where there is none
};

namespace {

constexpr Result* NO_RESULT = nullptr;

/**
 * Forwards what the library's threads tell, and not that a search begins: that comes on the thread
 * that holds the library. Python may let go of a problem whenever it runs, and a problem's end asks
 * whether the library is free.
 */
class Forwarder : public Events {
  public:
    explicit Forwarder(ORVEX_PYTHON_EVENT event) : event_(event) {}

    void improved(const Moment& moment, const orvex::Sol& solution, Steering& steering) override {
        event_(&steering, moment.best_time, moment.flips, moment.best, solution.impl().data.get());
    }
    void pulsed(const Moment& moment, Steering& steering) override {
        event_(&steering, moment.elapsed, moment.flips, 0, nullptr);
    }

  private:
    ORVEX_PYTHON_EVENT event_;
};

}  // namespace

namespace orvex::python {

namespace {

Groups groups_of(const ORVEX_PYTHON_OPTIONS& given) {
    Groups groups;
    const std::int32_t* member = given.group_members;
    for (int g = 0; g < given.groups; member += given.group_sizes[g++])
        groups.members.emplace_back(member, member + given.group_sizes[g]);
    groups.exactly_one.assign(groups.members.size(), true);
    return groups;
}

}  // namespace

Sol solution_of(int size, const std::uint64_t* words) {
    Sol solution(size);
    std::copy_n(words, solution.impl().words, solution.impl().data.get());
    return solution;
}

SolveOptions options_of(const Problem& problem, const ORVEX_PYTHON_OPTIONS& given) {
    SolveOptions options;
    if (given.time_limit != nullptr) options.time_limit = *given.time_limit;
    if (given.target != nullptr) options.target = *given.target;
    if (given.trials != nullptr) options.trials = *given.trials;
    for (const char* const* text = given.settings; *text != nullptr; text += 2)
        options.settings[text[0]] = text[1];
    options.engine_cycles = given.engine_cycles != 0;
    options.seed = given.seed;
    options.presolve = given.presolve == 0   ? PresolveEffort::OFF
                       : given.presolve == 1 ? PresolveEffort::AUTO
                                             : PresolveEffort::FULL;
    if (given.companion != nullptr) options.companion = *given.companion;
    if (given.groups >= 0) options.groups = groups_of(given);
    const std::uint64_t* words = given.words;
    const auto take = [&](std::vector<Sol>& solutions, int count) {
        for (; count > 0; --count, words += (problem.size + 63) / 64)
            solutions.push_back(solution_of(problem.size, words));
    };
    take(options.starts, given.starts);
    take(options.hints, given.hints);
    if (given.checkpoint != nullptr) options.checkpoint = given.checkpoint;
    options.solutions = given.solutions;
    return options;
}

}  // namespace orvex::python

/** @param trace null if nobody wants one */
ORVEX_PYTHON_API Result* orvex_python_solve(const Problem* problem,
                                            const ORVEX_PYTHON_OPTIONS* options,
                                            ORVEX_PYTHON_EVENT event, ORVEX_PYTHON_TRACE trace) {
    return guarded(NO_RESULT, [&] {
        Forwarder forwarder(event);
        SolveOptions solving = options_of(*problem, *options);
        if (trace != nullptr)
            solving.trace = {.write = [trace](const std::string& line) { trace(line.c_str()); },
                             .model_numbers = true};
        return std::make_unique<Result>(solve(*problem, solving, forwarder)).release();
    });
}

/** Ends the search, within an event. */
ORVEX_PYTHON_API void orvex_python_stop(Steering* steering) {
    steering->stop();
}

/** Gives the search a solution to start instances from, within an event. */
ORVEX_PYTHON_API void orvex_python_hint(Steering* steering, const Problem* problem,
                                        const std::uint64_t* words) {
    steering->hint(solution_of(problem->size, words));
}

/** Changes a setting of the search, within an event; the package has checked it. */
ORVEX_PYTHON_API void orvex_python_change(Steering* steering, const char* key, const char* value) {
    static_cast<void>(guarded(1, [&] {
        steering->change(key, value);
        return 0;
    }));
}

ORVEX_PYTHON_API void orvex_python_summary(const Result* result, ORVEX_PYTHON_SUMMARY* summary) {
    *summary = {.load_time = result->load_time,
                .search_time = result->search_time,
                .found = static_cast<std::int64_t>(result->history.size()),
                .solutions = static_cast<std::int64_t>(result->solutions.size()),
                .ending = text_of(result->ending),
                .checkpoint_failure = result->checkpoint_failure.c_str()};
}

/** The bits of an entry of the history. */
ORVEX_PYTHON_API const std::uint64_t* orvex_python_found(const Result* result, std::int64_t index,
                                                         double* seconds, std::int64_t* energy) {
    const Found& found = result->history[static_cast<std::size_t>(index)];
    *seconds = found.time;
    *energy = found.energy;
    return found.solution.impl().data.get();
}

/** The bits of one of the distinct good solutions. */
ORVEX_PYTHON_API const std::uint64_t* orvex_python_solution(const Result* result,
                                                            std::int64_t index) {
    return result->solutions[static_cast<std::size_t>(index)].solution.impl().data.get();
}

/** What the run and the library tell of themselves; empty where there is nothing to tell. */
ORVEX_PYTHON_API const char* orvex_python_info(const Result* result, const char* key) {
    thread_local std::string text;
    const std::string_view name = key;
    if (name == "found_by")
        text = text_of(result->history.back().source);
    else if (name == "bound")
        text = result->bound ? to_string(*result->bound) : "";
    else if (name == "searched_size")
        text = std::to_string(result->preparation.size);
    else if (name == "searched_couplings")
        text = std::to_string(result->preparation.couplings);
    else if (name == "presolve_time")
        text = std::to_string(result->preparation.presolve_time);
    else if (name == "groups")
        text = std::to_string(result->preparation.groups);
    else if (name == "companion_threads")
        text = std::to_string(result->preparation.companion_threads);
    else if (name == "companion_flips")
        text = std::to_string(result->companion_flips);
    else
        text = result->solution.get(key);
    return text.c_str();
}

ORVEX_PYTHON_API void orvex_python_free_result(Result* result) {
    delete result;
}
