#include "app/run_settings.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "app/exit_status.hpp"
#include "toolkit/errors.hpp"
#include "toolkit/settings/search_settings.hpp"

namespace orvex::cli {
namespace {

/** A number as the library reads it; what is no number it refuses itself. */
long number_of(const std::string& text) {
    return std::strtol(text.c_str(), nullptr, 10);
}

/** The library counts whole seconds: it gets the next ones, and the run is ended in time from here.
 */
void set_time_limit(RunSettings& settings, double seconds) {
    if (!(seconds >= 0 && seconds <= std::numeric_limits<std::uint32_t>::max()))
        throw InputError("--time-limit must be from 0 (none) to 4294967295 seconds");
    if (seconds == 0) return;
    const double whole = std::ceil(seconds);
    settings.params["time_limit"] = std::to_string(static_cast<long>(whole));
    settings.time_limit = seconds;
    if (seconds != whole) settings.limits.abort = seconds;
}

bool has_stop_condition(const SolveOptions& options) {
    if (options.time_limit || options.target || options.trials) return true;
    for (const auto& [key, value] : options.params)
        if (key == "time_limit" || key == "target_energy" || key == "trial_limit") return true;
    return false;
}

void override_by(RunSettings& settings, const std::string& key, const std::string& value) {
    settings.params[key] = value;
    if (key == "time_limit") {
        settings.time_limit = static_cast<double>(static_cast<std::uint32_t>(number_of(value)));
        settings.limits.abort.reset();
    } else if (key == "target_energy") {
        settings.target = number_of(value);
    } else if (key == "trial_limit") {
        settings.trials = number_of(value);
    } else if (key == "arithmetic_bits") {
        settings.arithmetic_bits = static_cast<int>(number_of(value));
    } else if (key == "verbose") {
        settings.own_display = number_of(value) <= 0;
    }
}

}  // namespace

RunSettings settings_for(const SolveOptions& options, const Problem& problem, int proven_bits) {
    RunSettings settings;
    if (options.time_limit) set_time_limit(settings, *options.time_limit);
    if (!has_stop_condition(options))
        set_time_limit(settings, static_cast<double>(DEFAULT_TIME_LIMIT));
    if (options.target) {
        settings.target = options.target;
        settings.params["target_energy"] = std::to_string(*options.target);
    }
    if (options.trials) {
        if (*options.trials < 1) throw InputError("--trials must be at least 1");
        settings.trials = *options.trials;
        settings.params["trial_limit"] = std::to_string(*options.trials);
    }
    settings.arithmetic_bits = std::min(proven_bits, 64);
    settings.params["arithmetic_bits"] = std::to_string(settings.arithmetic_bits);
    const auto given = [&](const std::string& key) {
        return std::any_of(options.params.begin(), options.params.end(),
                           [&](const auto& param) { return param.first == key; });
    };
    settings.params.merge(choose_settings(problem.size, problem.couplings, given));

    for (const auto& [key, value] : options.params)
        override_by(settings, key, value);

    settings.limits.shown = settings.time_limit;
    settings.limits.target = settings.target;
    if (std::max(settings.arithmetic_bits, problem.width == 64 ? 64 : 32) < proven_bits)
        settings.warnings.push_back(
            "the arithmetic is not proven to be wide enough for this model; if it is not, the run "
            "ends with a message about overflow");
    return settings;
}

std::string status_of(const RunSettings& settings, Watcher::Stop stop, long energy,
                      double runtime) {
    switch (stop) {
        case Watcher::Stop::INTERRUPT:
            return "interrupted";
        case Watcher::Stop::DEADLINE:
            return "time limit";
        case Watcher::Stop::TARGET:
            return "target reached";
        case Watcher::Stop::NONE:
            break;
    }
    if (settings.target && energy <= *settings.target) return "target reached";
    if (settings.time_limit > 0 && runtime >= settings.time_limit) return "time limit";
    return settings.trials > 0 ? "trial limit" : "ended";
}

std::vector<std::pair<std::string, std::string>> parse_params(
    const std::vector<std::string>& words) {
    std::vector<std::pair<std::string, std::string>> params;
    for (const std::string& word : words) {
        const std::size_t equals = word.find('=');
        if (equals == std::string::npos || equals == 0)
            throw InputError("--param takes key=value, not \"" + word + "\"");
        params.emplace_back(word.substr(0, equals), word.substr(equals + 1));
    }
    return params;
}

}  // namespace orvex::cli
