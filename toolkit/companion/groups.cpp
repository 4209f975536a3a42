#include "toolkit/companion/groups.hpp"

#include <algorithm>
#include <set>
#include <string>
#include <utility>

#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {
namespace {

std::string named(std::size_t group) {
    return "group " + std::to_string(group);
}

}  // namespace

void expect_groups(const Groups& groups, int size) {
    if (groups.members.size() != groups.exactly_one.size())
        throw InputError("there are " + std::to_string(groups.members.size()) +
                         " groups, and for " + std::to_string(groups.exactly_one.size()) +
                         " of them it is said whether exactly one member is 1");
    constexpr std::size_t NONE = static_cast<std::size_t>(-1);
    std::vector<std::pair<std::size_t, std::size_t>> homes(
        static_cast<std::size_t>(std::max(size, 0)), {NONE, NONE});
    std::set<std::pair<std::size_t, std::size_t>> crossings;
    for (std::size_t g = 0; g < groups.members.size(); ++g) {
        if (groups.members[g].size() < 2) throw InputError(named(g) + " has fewer than 2 members");
        for (const std::int32_t i : groups.members[g]) {
            if (i < 0 || i >= size)
                throw InputError(named(g) + ": there is no variable " + std::to_string(i) +
                                 " among " + std::to_string(size));
            auto& [first, second] = homes[static_cast<std::size_t>(i)];
            if (first == g || second == g)
                throw InputError(named(g) + ": variable " + std::to_string(i) + " is there twice");
            if (second != NONE)
                throw InputError("variable " + std::to_string(i) +
                                 " is in more than two groups: " + std::to_string(first) + ", " +
                                 std::to_string(second) + " and " + std::to_string(g));
            if (first == NONE) {
                first = g;
                continue;
            }
            second = g;
            if (!crossings.emplace(first, g).second)
                throw InputError("the groups " + std::to_string(first) + " and " +
                                 std::to_string(g) + " have more than one variable in common");
        }
    }
}

namespace {

/** Below this share of the variables in groups, what was found is chance and no structure. */
constexpr double LEAST_SHARE = 0.25;

/** Cliques of two are no groups: any two variables that exclude each other would be one. */
constexpr std::size_t LEAST_MEMBERS = 3;

class Finder {
  public:
    explicit Finder(const SparseQubo& qubo)
        : qubo_(&qubo), gains_(qubo.linear.size()), homes_(qubo.linear.size()) {
        for (std::int32_t i = 0; i < qubo.size(); ++i) {
            Wide gain = -static_cast<Wide>(qubo.linear[at(i)]);
            for (const std::int64_t weight : qubo.weights_of(i))
                if (weight < 0) gain -= weight;
            gains_[at(i)] = gain;
        }
    }

    Groups find() {
        // Two rounds: a variable of a permutation is in a group of each family.
        for (int round = 0; round < 2; ++round)
            for (std::int32_t i = 0; i < qubo_->size(); ++i)
                if (homes_[at(i)].size() <= static_cast<std::size_t>(round)) grow(i);
        const auto housed = std::count_if(homes_.begin(), homes_.end(),
                                          [](const auto& homes) { return !homes.empty(); });
        if (static_cast<double>(housed) < LEAST_SHARE * qubo_->size()) return {};
        return std::move(groups_);
    }

  private:
    static std::size_t at(std::int32_t i) { return static_cast<std::size_t>(i); }

    /** Whether a 1 at either end gains nothing that the coupling does not take back. */
    bool excludes(std::int32_t i, std::int32_t j, std::int64_t weight) const {
        return weight > 0 && gains_[at(i)] > 0 && gains_[at(j)] > 0 && weight >= gains_[at(i)] &&
               weight >= gains_[at(j)];
    }

    bool share_a_group(std::int32_t i, std::int32_t j) const {
        for (const std::size_t home : homes_[at(i)])
            if (std::find(homes_[at(j)].begin(), homes_[at(j)].end(), home) != homes_[at(j)].end())
                return true;
        return false;
    }

    std::int64_t weight_of(std::int32_t i, std::int32_t j) const {
        const auto neighbours = qubo_->neighbours_of(i);
        const auto found = std::lower_bound(neighbours.begin(), neighbours.end(), j);
        if (found == neighbours.end() || *found != j) return 0;
        return qubo_->weights_of(i)[static_cast<std::size_t>(found - neighbours.begin())];
    }

    /** The clique around a variable that its strongest couplings begin. */
    void grow(std::int32_t seed) {
        std::vector<std::pair<std::int64_t, std::int32_t>> candidates;
        const auto neighbours = qubo_->neighbours_of(seed);
        for (std::size_t k = 0; k < neighbours.size(); ++k) {
            const std::int32_t j = neighbours[k];
            const std::int64_t weight = qubo_->weights_of(seed)[k];
            if (homes_[at(j)].size() < 2 && excludes(seed, j, weight) && !share_a_group(seed, j))
                candidates.emplace_back(-weight, j);
        }
        std::sort(candidates.begin(), candidates.end());
        std::vector<std::int32_t> members{seed};
        for (const auto& [weight, j] : candidates) {
            const bool fits =
                std::all_of(members.begin() + 1, members.end(), [&, j = j](std::int32_t member) {
                    return excludes(j, member, weight_of(j, member)) && !share_a_group(j, member);
                });
            if (fits) members.push_back(j);
        }
        if (members.size() < LEAST_MEMBERS) return;
        for (const std::int32_t i : members)
            homes_[at(i)].push_back(groups_.members.size());
        groups_.exactly_one.push_back(wants_one(members));
        std::sort(members.begin(), members.end());
        groups_.members.push_back(std::move(members));
    }

    /**
     * A penalty A (sum of x - 1)^2 has -A for each 1 and 2 A for a pair: a 1 that brings half of
     * what a second costs is a constraint's, not a price's.
     */
    bool wants_one(const std::vector<std::int32_t>& members) const {
        for (std::size_t k = 1; k < members.size(); ++k)
            if (2 * gains_[at(members[k])] < weight_of(members[0], members[k])) return false;
        return true;
    }

    const SparseQubo* qubo_;
    std::vector<Wide> gains_;  ///< what a 1 could bring at most
    std::vector<std::vector<std::size_t>> homes_;
    Groups groups_;
};

}  // namespace

Groups find_groups(const SparseQubo& qubo) {
    return Finder(qubo).find();
}

}  // namespace orvex::toolkit
