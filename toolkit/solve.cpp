#include "toolkit/solve.hpp"

#include <algorithm>
#include <chrono>
#include <limits>
#include <stdexcept>
#include <utility>

#include "toolkit/model/energy.hpp"
#include "toolkit/model/memory.hpp"
#include "toolkit/run/run_settings.hpp"
#include "toolkit/run/watcher.hpp"
#include "toolkit/settings/check_settings.hpp"

namespace orvex::toolkit {
namespace {

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

std::string of_problem(const Problem& problem) {
    return problem.file.empty() ? "" : problem.file + ": ";
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
    if (Watcher::in_event())
        throw std::logic_error("solve() inside an event of a search would wait for itself");
    if (!problem.model) throw InputError("the problem has no model");
    expect_settings(options.settings);
    expect_bits(options.starts, "start", problem.size);
    expect_bits(options.hints, "hint", problem.size);
}

// ---- plan ----------------------------------------------------------------------------------

void expect_memory(const Problem& problem, const Plan& plan, Events& events) {
    const std::uint64_t needed = problem.model_bytes() + plan.host_bytes();
    const std::string need = of_problem(problem) + "a run needs " + bytes_text(needed);
    const auto machine = static_cast<std::uint64_t>(machine_memory());
    const auto left = static_cast<std::uint64_t>(free_memory());
    if (needed > machine)
        throw MemoryShortage(need + " of memory; this machine has " + bytes_text(machine));
    // What the settings ask for is the caller's to lower.
    if (plan.search_bytes > left)
        throw MemoryShortage(
            of_problem(problem) + "pools and blocks of these settings need " +
            bytes_text(plan.search_bytes) + " of memory, of which " + bytes_text(left) +
            " are free; a smaller pool_size, or fewer islands and blocks, need less");
    // The model is there already.
    if (plan.host_bytes() > left)
        events.warned(need + " of memory, of which " + bytes_text(left + problem.model_bytes()) +
                      " are free");
    for (const Device& device : devices())
        if (plan.device_bytes > device.memory)
            throw MemoryShortage(of_problem(problem) + "a run needs " +
                                 bytes_text(plan.device_bytes) + " of a device's memory; " +
                                 device.name + " has " + bytes_text(device.memory));
}

Plan plan_of(const Problem& problem, const RunSettings& settings, Events& events) {
    const std::optional<Plan> plan =
        problem.plan(settings.arithmetic_bits, plan_request_of(settings));
    if (!plan)
        throw InputError(of_problem(problem) + "this build of the library cannot solve " +
                         std::to_string(problem.size) + " variables with weights of " +
                         std::to_string(problem.width) + " bits and energies of " +
                         std::to_string(settings.arithmetic_bits));
    if (plan->devices == 0)
        throw NoDevice(
            "this build of the library searches on GPUs, and there is none that it can use: no GPU "
            "is visible, or its driver is missing or too old. A build for processors needs none");
    if (plan->islands == 0)
        throw InputError("islands_per_gpu and blocks_per_island give a shape that cannot run");
    expect_memory(problem, *plan, events);
    return *plan;
}

/** The starts with their energies, the best first. */
std::vector<Found> scored(const Problem& problem, const std::vector<Sol>& starts) {
    std::vector<Found> found;
    for (const Sol& start : starts)
        found.push_back(
            {0, static_cast<long>(exact_energy(*problem.model, start, problem.size)), start});
    std::stable_sort(found.begin(), found.end(),
                     [](const Found& a, const Found& b) { return a.energy < b.energy; });
    return found;
}

// ---- run -----------------------------------------------------------------------------------

Sol run(const Problem& problem, const RunSettings& settings, Watcher& watcher) {
    Param param;
    for (const auto& [key, value] : settings.params)
        param.set(key, value);
    param.set(watcher);
    const Solver solver(false);
    if (watcher.history().empty()) return solver(*problem.model, param);
    const Sol start = watcher.history().front().solution;
    return solver(*problem.model, param, start);
}

// ---- verify --------------------------------------------------------------------------------

/** Adds up the energy of the library's result and compares it with what the library reports. */
void verify(const Problem& problem, const Sol& solution) {
    const Wide exact = exact_energy(*problem.model, solution, problem.size);
    const long reported = std::stol(solution.get("energy"));
    // A run that was ended before its first result reports the start solution and no energy.
    const bool nothing_found =
        solution.get("tts").empty() && reported == std::numeric_limits<long>::max();
    if (exact != reported && !nothing_found)
        throw EnergyMismatch("Internal error: the run reports the energy " +
                             std::to_string(reported) + ", but its solution has the energy " +
                             to_string(exact));
}

/** A start may be better than what a short run has found since. */
void put_bits(Sol& solution, const Found& best) {
    std::copy_n(best.solution.impl().data.get(), solution.impl().words, solution.impl().data.get());
    solution.set("energy", std::to_string(best.energy));
}

}  // namespace

Result solve(const Problem& problem, const SolveOptions& options, Events& events) {
    const Clock::time_point begin = Clock::now();
    expect_sound(problem, options);
    const RunSettings settings = settings_for(options, problem);
    const Plan plan = plan_of(problem, settings, events);
    events.planned(plan, settings.params);
    Watcher watcher(problem, {settings.time_limit, settings.abort, settings.target},
                    scored(problem, options.starts), options.hints, events);

    const LibraryLock library;
    problem.residency.claim(library);
    const Clock::time_point entered = Clock::now();
    Sol solution = run(problem, settings, watcher);
    const double in_library = seconds_since(entered);
    watcher.rethrow();

    verify(problem, solution);
    const double search_time = std::stod(solution.get("runtime"));
    const double load_time =
        std::chrono::duration<double>(entered - begin).count() + in_library - search_time;
    const std::string found_time = solution.get("tts");
    watcher.take(solution, found_time.empty() ? search_time : std::stod(found_time));
    const Found& best = watcher.history().back();
    put_bits(solution, best);
    const long energy = best.energy;
    const Ending ending = watcher.ending().value_or(ending_of(settings, energy, search_time));
    return {.solution = std::move(solution),
            .energy = energy,
            .ending = ending,
            .history = watcher.history(),
            .plan = plan,
            .parameters = settings.params,
            .load_time = load_time,
            .search_time = search_time};
}

Result solve(const Problem& problem, const SolveOptions& options) {
    Events silent;
    return solve(problem, options, silent);
}

}  // namespace orvex::toolkit
