#include "toolkit/companion/choices.hpp"

#include <algorithm>
#include <cassert>

namespace orvex::toolkit {
namespace {

/** What stays of all counts after a play. */
constexpr double FADING = 0.997;

/** Plays of mean work that the expectation before any play is worth. */
constexpr double PRIOR_PLAYS = 1;

/** Keeps the distribution of a rate one, where nothing has been gained for long. */
constexpr double LEAST_SHAPE = 0.05;

/** What a play counts for the settings one step beside it on the grid. */
constexpr double NEARBY = 0.25;

}  // namespace

Choices::Choices(std::size_t regions, std::size_t heats, std::size_t lengths)
    : regions_(regions), heats_(heats), lengths_(lengths), arms_(regions * heats * lengths) {
    assert(!arms_.empty());
}

Choice Choices::draw(std::mt19937_64& random) const {
    // What is not known of a setting yet is expected to be like all settings of late.
    const double usual = all_.work > 0 ? all_.gains * work_size_ / all_.work : 0;
    const double shape = std::max(usual * PRIOR_PLAYS, LEAST_SHAPE);
    std::size_t best = 0;
    double highest = -1;
    for (std::size_t k = 0; k < arms_.size(); ++k) {
        const double work = work_size_ > 0 ? arms_[k].work / work_size_ : 0;
        std::gamma_distribution<double> rate(arms_[k].gains + shape, 1 / (work + PRIOR_PLAYS));
        const double drawn = rate(random);
        if (drawn <= highest) continue;
        highest = drawn;
        best = k;
    }
    return {best / lengths_ / heats_, best / lengths_ % heats_, best % lengths_};
}

void Choices::learn(const Choice& choice, double gain, double work) {
    assert(gain >= 0 && work > 0);
    const auto towards = [](double& mean, double value) {
        mean = mean > 0 ? mean + (value - mean) * 0.05 : value;
    };
    if (gain > 0) towards(gain_size_, gain);
    towards(work_size_, work);
    const double gains = gain > 0 ? std::min(gain / gain_size_, 3.0) : 0;
    all_.gains = all_.gains * FADING + gains;
    all_.work = all_.work * FADING + work;
    for (Arm& each : arms_) {
        each.gains *= FADING;
        each.work *= FADING;
    }
    const auto share = [&](std::size_t region, std::size_t heat, std::size_t length, double part) {
        if (region >= regions_ || heat >= heats_ || length >= lengths_) return;
        Arm& one = arm(region, heat, length);
        one.gains += part * gains;
        one.work += part * work;
    };
    const auto& [region, heat, length] = choice;
    share(region, heat, length, 1);
    // A step below 0 wraps around and is outside as well.
    share(region + 1, heat, length, NEARBY);
    share(region - 1, heat, length, NEARBY);
    share(region, heat + 1, length, NEARBY);
    share(region, heat - 1, length, NEARBY);
    share(region, heat, length + 1, NEARBY);
    share(region, heat, length - 1, NEARBY);
}

}  // namespace orvex::toolkit
