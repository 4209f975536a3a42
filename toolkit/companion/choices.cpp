#include "toolkit/companion/choices.hpp"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace orvex::toolkit {
namespace {

/** Counts are of about this share of all work so far, the last. */
constexpr double MEMORY = 0.3;

/** Share of the work in memory that the expectation for a value is worth before it is taken. */
constexpr double PRIOR = 0.03;

/** Keeps the distribution of a rate one, where nothing has been gained for long. */
constexpr double LEAST_SHAPE = 0.1;

/** What a play counts for the values beside it. */
constexpr double NEARBY = 0.25;

/** A gain counts as this many usual ones at most. */
constexpr double MOST_GAINS = 10;

}  // namespace

Choices::Choices(std::size_t values, bool alike) : arms_(values), alike_(alike) {
    assert(!arms_.empty());
}

std::size_t Choices::draw(std::mt19937_64& random) const {
    const double prior = all_.work > 0 ? PRIOR * all_.work : 1;
    // What is not known of a value yet is expected to be like all values of late.
    const double shape = std::max(PRIOR * all_.gains, LEAST_SHAPE);
    std::size_t best = 0;
    double highest = -1;
    for (std::size_t k = 0; k < arms_.size(); ++k) {
        std::gamma_distribution<double> rate(arms_[k].gains + shape, 1 / (arms_[k].work + prior));
        const double drawn = rate(random);
        if (drawn <= highest) continue;
        highest = drawn;
        best = k;
    }
    return best;
}

void Choices::learn(std::size_t value, double gain, double work) {
    assert(gain >= 0 && work > 0 && value < arms_.size());
    if (gain > 0) gain_size_ = gain_size_ > 0 ? gain_size_ + (gain - gain_size_) * 0.1 : gain;
    const double gains = gain > 0 ? std::min(gain / gain_size_, MOST_GAINS) : 0;
    total_ += work;
    const double left = std::exp(-work / (MEMORY * total_));
    all_.gains = all_.gains * left + gains;
    all_.work = all_.work * left + work;
    for (Arm& each : arms_) {
        each.gains *= left;
        each.work *= left;
    }
    const auto share = [&](std::size_t k, double part) {
        if (k >= arms_.size()) return;
        arms_[k].gains += part * gains;
        arms_[k].work += part * work;
    };
    share(value, 1);
    if (!alike_) return;
    // A step below 0 wraps around and is outside as well.
    share(value + 1, NEARBY);
    share(value - 1, NEARBY);
}

}  // namespace orvex::toolkit
