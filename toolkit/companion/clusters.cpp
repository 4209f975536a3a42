#include "toolkit/companion/clusters.hpp"

#include <algorithm>
#include <cassert>
#include <utility>

namespace orvex::toolkit {
namespace {

std::size_t at(std::int32_t i) {
    return static_cast<std::size_t>(i);
}

/** Whether the magnitudes of all weights add up to less than 2^62. */
bool sums_fit(const SparseQubo& qubo) {
    Wide sum = 0;
    const auto add = [&sum](const std::vector<std::int64_t>& weights) {
        for (const std::int64_t weight : weights)
            sum += weight < 0 ? -static_cast<Wide>(weight) : static_cast<Wide>(weight);
    };
    add(qubo.linear);
    add(qubo.weights);
    return sum < Wide{1} << 62;
}

}  // namespace

Clusters::Clusters(const SparseQubo& qubo)
    : qubo_(&qubo),
      possible_(sums_fit(qubo)),
      cluster_of_(qubo.linear.size(), -1),
      word_of_(qubo.linear.size(), 0) {}

void Clusters::gather(std::span<const std::int32_t> variables,
                      std::span<const std::uint64_t> flips) {
    for (const std::int32_t i : members_)
        cluster_of_[at(i)] = -1;
    members_.clear();
    starts_.assign(1, 0);
    for (std::size_t p = 0; p < variables.size(); ++p)
        word_of_[at(variables[p])] = flips[p];
    for (const std::int32_t seed : variables) {
        const std::uint64_t word = word_of_[at(seed)];
        if (word == 0 || cluster_of_[at(seed)] >= 0) continue;
        const auto cluster = static_cast<std::int32_t>(starts_.size() - 1);
        const auto take = [&](std::int32_t i) {
            if (word_of_[at(i)] != word || cluster_of_[at(i)] >= 0) return;
            cluster_of_[at(i)] = cluster;
            members_.push_back(i);
        };
        take(seed);
        for (std::size_t next = starts_.back(); next < members_.size(); ++next)
            for (const std::int32_t i : qubo_->neighbours_of(members_[next]))
                take(i);
        starts_.push_back(members_.size());
    }
    for (const std::int32_t i : variables)
        word_of_[at(i)] = 0;
}

SparseQubo Clusters::form(const Bits& bits, std::span<const std::int32_t> variables,
                          std::span<const std::uint64_t> flips) {
    assert(possible_ && variables.size() == flips.size());
    gather(variables, flips);
    const std::size_t count = starts_.size() - 1;
    constexpr std::size_t NONE = ~std::size_t{0};
    place_of_.assign(count, NONE);
    std::vector<std::int64_t> linears;
    std::vector<Coupling> couplings;
    for (std::size_t c = 0; c < count; ++c) {
        std::int64_t linear = 0;
        std::int64_t inside_twice = 0;
        const std::size_t begin = couplings.size();
        for (std::size_t m = starts_[c]; m < starts_[c + 1]; ++m) {
            const std::int32_t i = members_[m];
            const auto neighbours = qubo_->neighbours_of(i);
            const auto weights = qubo_->weights_of(i);
            std::int64_t field = qubo_->linear[at(i)];
            const bool one = bits[at(i)] != 0;
            for (std::size_t k = 0; k < neighbours.size(); ++k) {
                const std::size_t j = at(neighbours[k]);
                if (bits[j] != 0) field += weights[k];
                const std::int32_t other = cluster_of_[j];
                if (other < static_cast<std::int32_t>(c)) continue;  // none, or counted from there
                const std::int64_t both = one == (bits[j] != 0) ? weights[k] : -weights[k];
                if (at(other) == c) {
                    inside_twice += both;
                    continue;
                }
                std::size_t& place = place_of_[at(other)];
                if (place == NONE) {
                    place = couplings.size();
                    couplings.push_back({static_cast<std::int32_t>(c), other, 0});
                }
                couplings[place].weight += both;
            }
            linear += one ? -field : field;
        }
        for (std::size_t k = begin; k < couplings.size(); ++k)
            place_of_[at(couplings[k].j)] = NONE;
        linears.push_back(linear + inside_twice / 2);
    }
    return sparse_qubo(std::move(linears), std::move(couplings));
}

void Clusters::expand(const Bits& flipped, std::vector<std::int32_t>& variables) const {
    variables.clear();
    for (std::size_t c = 0; c < flipped.size(); ++c)
        if (flipped[c] != 0)
            variables.insert(variables.end(),
                             members_.begin() + static_cast<std::ptrdiff_t>(starts_[c]),
                             members_.begin() + static_cast<std::ptrdiff_t>(starts_[c + 1]));
}

}  // namespace orvex::toolkit
