#include "toolkit/run/library_run.hpp"

#include <chrono>
#include <limits>
#include <string>
#include <utility>

#include "toolkit/model/errors.hpp"
#include "toolkit/model/memory.hpp"
#include "toolkit/run/watcher.hpp"

namespace orvex::toolkit {
namespace {

std::string of_problem(const Problem& problem) {
    return problem.file.empty() ? "" : problem.file + ": ";
}

void expect_memory(const Problem& searched, const Plan& plan, Events& events) {
    const std::uint64_t needed = searched.model_bytes() + plan.host_bytes();
    const std::string need = of_problem(searched) + "a run needs " + bytes_text(needed);
    const auto machine = static_cast<std::uint64_t>(machine_memory());
    const auto left = static_cast<std::uint64_t>(free_memory());
    if (needed > machine)
        throw MemoryShortage(need + " of memory; this machine has " + bytes_text(machine));
    // What the settings ask for is the caller's to lower.
    if (plan.search_bytes > left)
        throw MemoryShortage(
            of_problem(searched) + "pools and blocks of these settings need " +
            bytes_text(plan.search_bytes) + " of memory, of which " + bytes_text(left) +
            " are free; a smaller pool_size, or fewer islands and blocks, need less");
    // The model is there already.
    if (plan.host_bytes() > left)
        events.warned(need + " of memory, of which " + bytes_text(left + searched.model_bytes()) +
                      " are free");
    for (const Device& device : devices())
        if (plan.device_bytes > device.memory)
            throw MemoryShortage(of_problem(searched) + "a run needs " +
                                 bytes_text(plan.device_bytes) + " of a device's memory; " +
                                 device.name + " has " + bytes_text(device.memory));
}

/** Adds up the energy of the library's result and compares it with what the library reports. */
void verify(const Problem& searched, const Sol& solution) {
    const Wide exact = searched.weights.energy(solution);
    const long reported = std::stol(solution.get("energy"));
    // A run that was ended before its first result reports the start solution and no energy.
    const bool nothing_found =
        solution.get("tts").empty() && reported == std::numeric_limits<long>::max();
    if (exact != reported && !nothing_found)
        throw EnergyMismatch("Internal error: the run reports the energy " +
                             std::to_string(reported) + ", but its solution has the energy " +
                             to_string(exact));
}

}  // namespace

Plan plan_of(const Problem& searched, const RunSettings& settings, Events& events) {
    const std::optional<Plan> plan =
        searched.plan(settings.arithmetic_bits, plan_request_of(settings));
    if (!plan)
        throw InputError(of_problem(searched) + "this build of the library cannot solve " +
                         std::to_string(searched.size) + " variables with weights of " +
                         std::to_string(searched.width) + " bits and energies of " +
                         std::to_string(settings.arithmetic_bits));
    if (plan->devices == 0)
        throw NoDevice(
            "this build of the library searches on GPUs, and there is none that it can use: no GPU "
            "is visible, or its driver is missing or too old. A build for processors needs none");
    if (plan->islands == 0)
        throw InputError("islands_per_gpu and blocks_per_island give a shape that cannot run");
    expect_memory(searched, *plan, events);
    return *plan;
}

LibraryResult run_library(const Problem& searched, const RunSettings& settings, const Sol* start,
                          int solutions, Record& record, Companion* companion, Trace& trace) {
    Param param;
    for (const auto& [key, value] : settings.params)
        param.set(key, value);
    Watcher watcher(record, companion, &trace);
    watcher.want_solutions(solutions);
    param.set(watcher);

    const LibraryLock library;
    searched.residency.claim(library);
    const auto entered = std::chrono::steady_clock::now();
    const Solver solver(false);
    Sol solution = [&] {
        const Pulse pulse(watcher);
        const Model& model = searched.weights.matrix();
        return start == nullptr ? solver(model, param) : solver(model, param, *start);
    }();
    const std::chrono::duration<double> in_library = std::chrono::steady_clock::now() - entered;
    watcher.finish();

    verify(searched, solution);
    const double search_time = std::stod(solution.get("runtime"));
    const std::string found_time = solution.get("tts");
    record.take(solution, Source::SEARCH, found_time.empty() ? search_time : std::stod(found_time));
    return {.solution = std::move(solution),
            .load_time = in_library.count() - search_time,
            .search_time = search_time,
            .pool = watcher.solutions()};
}

}  // namespace orvex::toolkit
