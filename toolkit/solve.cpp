#include "toolkit/solve.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <utility>

#include "toolkit/companion/companion.hpp"
#include "toolkit/run/checkpoint_writer.hpp"
#include "toolkit/run/companion_run.hpp"
#include "toolkit/run/distinct.hpp"
#include "toolkit/run/library_run.hpp"
#include "toolkit/run/prepare.hpp"
#include "toolkit/run/record.hpp"
#include "toolkit/run/run_settings.hpp"
#include "toolkit/run/trace.hpp"
#include "toolkit/settings/check_settings.hpp"

namespace orvex::toolkit {
namespace {

using Clock = std::chrono::steady_clock;
using Limits = std::numeric_limits<long>;

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// ---- open ----------------------------------------------------------------------------------

void expect_bits(const std::vector<Sol>& solutions, const char* name, int size) {
    for (std::size_t k = 0; k < solutions.size(); ++k)
        if (const int bits = solutions[k].impl().bits; bits != size)
            throw InputError(std::string(name) + " " + std::to_string(k) + " has " +
                             std::to_string(bits) + " bits; the problem has " +
                             std::to_string(size) + " variables");
}

void expect_sound(const Problem& problem, const SolveOptions& options) {
    if (Record::in_event())
        throw std::logic_error("solve() inside an event of a search would wait for itself");
    if (problem.weights.empty()) throw InputError("the problem has no weights");
    if (problem.bound.lowest_energy < Limits::min() || problem.bound.highest_energy > Limits::max())
        throw InputError("energies may lie between " + to_string(problem.bound.lowest_energy) +
                         " and " + to_string(problem.bound.highest_energy) +
                         ", which does not fit into 64 bits");
    expect_settings(options.settings);
    expect_bits(options.starts, "start", problem.size);
    expect_bits(options.hints, "hint", problem.size);
    if (options.solutions < 1) throw InputError("at least one solution must be wanted");
    if (options.groups) expect_groups(*options.groups, problem.size);
}

/** The starts and what is resumed, with their energies, the best first. */
std::vector<Found> starts_of(const Problem& problem, const SolveOptions& options) {
    std::vector<Found> found;
    if (!options.resume.empty())
        for (const Kept& kept : read_checkpoint(options.resume, problem))
            found.push_back({0, kept.energy, solution_of(kept, problem.size), Source::START});
    for (const Sol& start : options.starts)
        found.push_back(
            {0, static_cast<long>(problem.weights.energy(start)), start, Source::START});
    std::stable_sort(found.begin(), found.end(),
                     [](const Found& a, const Found& b) { return a.energy < b.energy; });
    return found;
}

// ---- settle --------------------------------------------------------------------------------

/** The caller's options in the terms of the searched model. */
SolveOptions searched_options(const View& view, SolveOptions options) {
    const auto translated = [&](long energy) {
        const Wide searched = view.searched_energy(energy);
        return static_cast<long>(std::clamp(searched, Wide{Limits::min()}, Wide{Limits::max()}));
    };
    if (options.target) options.target = translated(*options.target);
    const auto given = options.settings.find("target_energy");
    if (given != options.settings.end())
        given->second = std::to_string(translated(std::strtol(given->second.c_str(), nullptr, 10)));
    return options;
}

Record::Limits limits_of(const RunSettings& settings, const SolveOptions& options, const View& view,
                         const Crew& crew) {
    Record::Limits limits{.shown = settings.time_limit, .abort = settings.abort};
    // The library ends a run at whole seconds by itself.
    if (!crew.has_library && settings.time_limit > 0) limits.abort = settings.time_limit;
    limits.target = options.target;
    const auto given = options.settings.find("target_energy");
    if (given != options.settings.end())
        limits.target = std::strtol(given->second.c_str(), nullptr, 10);
    if (view.presolved() != nullptr) limits.bound = view.presolved()->bound();
    return limits;
}

// ---- tell ----------------------------------------------------------------------------------

std::string seconds_text(double seconds) {
    char text[64];
    std::snprintf(text, sizeof(text), "%.6f", seconds);
    return text;
}

/** The best solution of the record, with what a run of the library tells, or what takes its place.
 */
Sol told(const Record& record, const Sol* librarys, double search_time) {
    const Found& best = record.history().back();
    Sol solution = best.solution;
    Sol::Impl& to = solution.impl();
    if (librarys != nullptr) {
        to.attrs = librarys->impl().attrs;
        to.env = librarys->impl().env;
        to.log << librarys->impl().log.str();
    } else {
        to.attrs = {{"runtime", seconds_text(search_time)}, {"kernel_time", seconds_text(0)}};
        to.env = {{"total_flips", "0"}};
        to.env["version"] = Solver(false).get("version");
    }
    solution.set("solver", "orvex");
    solution.set("size", std::to_string(to.bits));
    solution.set("energy", std::to_string(best.energy));
    solution.set("tts", seconds_text(best.time));
    return solution;
}

/** How many solutions are worth keeping for the end: none where the best is enough. */
int beside_best(const SolveOptions& options) {
    return options.solutions == 1 ? 0 : options.solutions;
}

// ---- search --------------------------------------------------------------------------------

Result search(const Problem& problem, const SolveOptions& options, std::vector<Found> starts,
              Events& events) {
    const Clock::time_point begin = Clock::now();
    const Prepared prepared = prepare(problem, options);
    const View& view = prepared.view;
    const Crew& crew = prepared.crew;
    const Problem& searched = view.searched();
    const bool anything_left = searched.size > 0;
    RunSettings settings = anything_left ? settings_for(searched_options(view, options), searched)
                                         : settings_for(options, problem);
    make_room(crew, settings.params);
    const Record::Limits limits = limits_of(settings, options, view, crew);
    Record record(view, limits, std::move(starts), options.hints, events);

    Trace trace(options.trace, view);

    Result result;
    result.preparation = prepared.told;
    events.prepared(result.preparation);
    std::optional<Companion> companion;
    if (crew.companion_threads > 0)
        companion.emplace(
            searched.weights.sparse(),
            CompanionOptions{
                .threads = crew.companion_threads,
                .seed = options.seed,
                .groups = prepared.groups,
                .time_limit = limits.shown > 0 ? limits.shown : CompanionOptions{}.time_limit,
                .solutions = beside_best(options)});
    std::optional<Sol> start, librarys;
    std::vector<Sol> good;
    if (!record.history().empty()) start = view.searched_of(record.history().front().solution);
    // Of many offers the oldest are dropped, which are the worst.
    if (companion && !crew.has_library)
        for (const Sol& hint : record.take_hints())
            companion->offer(bits_of(hint));
    if (start && companion) companion->offer(bits_of(*start));

    const Clock::time_point searching = Clock::now();
    if (!anything_left) {
        trace.begin(options, record, result.preparation, nullptr, {});
        record.begin();
        record.take(Sol(0), Source::PRESOLVE);
        record.tell();
        result.search_time = seconds_since(searching);
    } else if (crew.has_library) {
        result.plan = plan_of(searched, settings, events);
        result.parameters = settings.params;
        if (limits.target) result.parameters["target_energy"] = std::to_string(*limits.target);
        events.planned(*result.plan, result.parameters);
        trace.begin(options, record, result.preparation, &*result.plan, result.parameters);
        LibraryResult run =
            run_library(searched, settings, start ? &*start : nullptr, beside_best(options), record,
                        companion ? &*companion : nullptr, trace);
        librarys = std::move(run.solution);
        good = std::move(run.pool);
        result.search_time = run.search_time;
    } else {
        trace.begin(options, record, result.preparation, nullptr, {});
        run_companion(record, *companion, trace);
        result.search_time = seconds_since(searching);
    }
    result.load_time = seconds_since(begin) - result.search_time;

    result.solution = told(record, librarys ? &*librarys : nullptr, result.search_time);
    result.history = record.bests_in_time();
    result.energy = result.history.back().energy;
    if (companion)
        for (const Solution& solution : companion->solutions())
            good.push_back(solution_of(solution.bits));
    result.solutions = best_distinct(record, good, options.solutions);
    result.bound = limits.bound;
    settings.target = limits.target;
    result.ending =
        record.ending().value_or(ending_of(settings, result.energy, result.search_time));
    if (limits.bound && result.energy <= *limits.bound) result.ending = Ending::OPTIMAL;
    if (companion) result.companion_flips = companion->attempted_flips();
    trace.end(
        record,
        {result.ending, result.history.back(), result.bound, result.load_time, result.search_time},
        companion ? &*companion : nullptr);
    return result;
}

}  // namespace

Result solve(const Problem& problem, const SolveOptions& options, Events& events) {
    expect_sound(problem, options);
    std::vector<Found> starts = starts_of(problem, options);
    if (options.checkpoint.empty()) return search(problem, options, std::move(starts), events);
    CheckpointWriter writer(options.checkpoint, problem);
    for (const Found& start : starts)
        writer.note(start.energy, start.solution);
    CheckpointEvents noting(events, writer);
    Result result = search(problem, options, std::move(starts), noting);
    writer.note(result.energy, result.solution);  // some come in with the end alone
    result.checkpoint_failure = writer.finish();
    return result;
}

Result solve(const Problem& problem, const SolveOptions& options) {
    Events silent;
    return solve(problem, options, silent);
}

}  // namespace orvex::toolkit
