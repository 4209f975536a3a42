#include "toolkit/run/run_settings.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {
namespace {

/** A number as the library reads it; what is not a number it refuses itself. */
long number_of(const std::string& text) {
    return std::strtol(text.c_str(), nullptr, 10);
}

/** The library counts whole seconds: it gets the next ones, and the run is ended in time from
 * outside. */
void set_time_limit(RunSettings& settings, double seconds) {
    if (!(seconds >= 0 && seconds <= std::numeric_limits<std::uint32_t>::max()))
        throw InputError("the time limit must be from 0 (none) to 4294967295 seconds");
    if (seconds == 0) return;
    const double whole = std::ceil(seconds);
    settings.params["time_limit"] = std::to_string(static_cast<long>(whole));
    settings.time_limit = seconds;
    if (seconds != whole) settings.abort = seconds;
}

bool has_stop_condition(const SolveOptions& options) {
    if (options.time_limit || options.target || options.trials) return true;
    return std::any_of(options.settings.begin(), options.settings.end(), [](const auto& setting) {
        return setting.first == "time_limit" || setting.first == "target_energy" ||
               setting.first == "trial_limit";
    });
}

void override_by(RunSettings& settings, const std::string& key, const std::string& value) {
    settings.params[key] = value;
    if (key == "time_limit") {
        settings.time_limit = static_cast<double>(static_cast<std::uint32_t>(number_of(value)));
        settings.abort.reset();
    } else if (key == "target_energy") {
        settings.target = number_of(value);
    } else if (key == "trial_limit") {
        settings.trials = number_of(value);
    } else if (key == "arithmetic_bits") {
        settings.arithmetic_bits = static_cast<int>(number_of(value));
    }
}

/** The library would end the process where an energy leaves its width. */
void expect_proven(const RunSettings& settings, const Problem& problem, int proven) {
    if (proven > 64)
        throw InputError("energies may lie between " + to_string(problem.bound.lowest_energy) +
                         " and " + to_string(problem.bound.highest_energy) +
                         ", which does not fit into 64 bits");
    const int bits = std::max(settings.arithmetic_bits, problem.width == 64 ? 64 : 32);
    if (bits < proven)
        throw InputError("arithmetic_bits=" + std::to_string(bits) +
                         " is not enough: energies of this problem may need " +
                         std::to_string(proven) + " bits");
}

}  // namespace

RunSettings settings_for(const SolveOptions& options, const Problem& problem) {
    RunSettings settings;
    if (options.time_limit) set_time_limit(settings, *options.time_limit);
    if (!has_stop_condition(options)) set_time_limit(settings, DEFAULT_TIME_LIMIT);
    if (options.target) {
        settings.target = options.target;
        settings.params["target_energy"] = std::to_string(*options.target);
    }
    if (options.trials) {
        if (*options.trials < 1) throw InputError("the number of trials must be at least 1");
        settings.trials = *options.trials;
        settings.params["trial_limit"] = std::to_string(*options.trials);
    }
    const int proven = problem.proven_bits();
    settings.arithmetic_bits = std::min(proven, 64);
    settings.params["arithmetic_bits"] = std::to_string(settings.arithmetic_bits);
    const auto given = [&](const std::string& key) {
        return options.settings.contains(key) || (options.engine_cycles && key == "search_cycles");
    };
    settings.params.merge(choose_settings(problem.size, problem.couplings, given));

    for (const auto& [key, value] : options.settings)
        override_by(settings, key, value);
    expect_proven(settings, problem, proven);
    return settings;
}

PlanRequest plan_request_of(const RunSettings& settings) {
    const auto number = [&](const char* key, int without) {
        const auto found = settings.params.find(key);
        return found == settings.params.end() ? without
                                              : static_cast<int>(number_of(found->second));
    };
    return {.gpus = number("gpus", 0),
            .islands_per_gpu = number("islands_per_gpu", 0),
            .blocks_per_island = number("blocks_per_island", 0),
            .pool_size = number("pool_size", PlanRequest{}.pool_size)};
}

Ending ending_of(const RunSettings& settings, long energy, double runtime) {
    if (settings.target && energy <= *settings.target) return Ending::TARGET;
    if (settings.time_limit > 0 && runtime >= settings.time_limit) return Ending::TIME_LIMIT;
    return settings.trials > 0 ? Ending::TRIAL_LIMIT : Ending::ENDED;
}

}  // namespace orvex::toolkit
