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

Groups find_groups(const SparseQubo&) {
    return {};
}

}  // namespace orvex::toolkit
