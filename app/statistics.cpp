#include "app/statistics.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>

namespace orvex::cli {
namespace {

constexpr double SUCCESS = 0.99;
constexpr double NORMAL_QUANTILE = 1.959963984540054;  // of 97.5 %
constexpr int FEWEST_SUCCESSES = 5;
constexpr int SAMPLES = 2000;
constexpr double NEVER = std::numeric_limits<double>::infinity();

double repetitions(double share) {
    return share >= SUCCESS ? 1 : std::log(1 - SUCCESS) / std::log(1 - share);
}

/** The runs as times, of which those that did not come to the target are infinite. */
std::vector<double> all_times(const TimesToTarget& times) {
    std::vector<double> all = times.reached;
    all.resize(static_cast<std::size_t>(times.runs), NEVER);
    return all;
}

/** As many of the runs as there are, with repetition. */
TimesToTarget drawn(const std::vector<double>& all, std::mt19937_64& random) {
    TimesToTarget sample{{}, static_cast<int>(all.size())};
    for (std::size_t k = 0; k < all.size(); ++k) {
        // Not uniform_int_distribution, whose draws each library makes in its own way; the rest of
        // 2^64 by some runs is nothing.
        const double time = all[random() % all.size()];
        if (time != NEVER) sample.reached.push_back(time);
    }
    std::sort(sample.reached.begin(), sample.reached.end());
    return sample;
}

}  // namespace

Interval interval_of_share(int successes, int trials) {
    const double n = trials;
    const double share = successes / n;
    const double z2 = NORMAL_QUANTILE * NORMAL_QUANTILE;
    const double middle = (share + z2 / (2 * n)) / (1 + z2 / n);
    const double half =
        NORMAL_QUANTILE / (1 + z2 / n) * std::sqrt(share * (1 - share) / n + z2 / (4 * n * n));
    return {successes == 0 ? 0 : middle - half, successes == trials ? 1 : middle + half};
}

std::optional<double> quantile(const TimesToTarget& times, double share) {
    const std::vector<double> all = all_times(times);
    const double place = share * static_cast<double>(all.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const double part = place - std::floor(place);
    double value = all[below];
    if (part > 0) value += part * (all[below + 1] - value);
    if (!std::isfinite(value)) return std::nullopt;
    return value;
}

std::optional<RepeatedRuns> tts99(const TimesToTarget& times) {
    std::optional<RepeatedRuns> best;
    for (std::size_t k = 0; k < times.reached.size(); ++k) {
        const double share = static_cast<double>(k + 1) / times.runs;
        const double seconds = times.reached[k] * repetitions(share);
        if (!best || seconds < best->seconds) best = {seconds, times.reached[k]};
    }
    return best;
}

std::optional<Interval> interval_of_tts99(const TimesToTarget& times) {
    if (times.reached.size() < FEWEST_SUCCESSES) return std::nullopt;
    const std::vector<double> all = all_times(times);
    std::mt19937_64 random(1);
    std::vector<double> values;
    for (int k = 0; k < SAMPLES; ++k) {
        const std::optional<RepeatedRuns> value = tts99(drawn(all, random));
        values.push_back(value ? value->seconds : NEVER);
    }
    std::sort(values.begin(), values.end());
    const Interval interval{values[SAMPLES / 40], values[SAMPLES - 1 - SAMPLES / 40]};
    if (interval.high == NEVER) return std::nullopt;
    return interval;
}

}  // namespace orvex::cli
