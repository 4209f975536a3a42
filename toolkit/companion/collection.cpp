#include "toolkit/companion/collection.hpp"

#include <algorithm>
#include <iterator>

namespace orvex::toolkit {
namespace {

constexpr std::size_t MOST_BYTES = std::size_t{256} << 20;

}  // namespace

Collection::Collection(std::size_t count, std::size_t size)
    : count_(std::min(count, MOST_BYTES / std::max<std::size_t>(size, 1))) {}

bool Collection::wants(Wide energy) const {
    if (count_ == 0) return false;
    const std::lock_guard lock(mutex_);
    return kept_.size() < count_ || energy < std::prev(kept_.end())->first;
}

void Collection::take(const Solution& solution) {
    if (!wants(solution.energy)) return;
    const std::lock_guard lock(mutex_);
    kept_.emplace(solution.energy, solution.bits);
    if (kept_.size() > count_) kept_.erase(std::prev(kept_.end()));
}

std::vector<Solution> Collection::solutions() const {
    const std::lock_guard lock(mutex_);
    std::vector<Solution> solutions;
    for (const auto& [energy, bits] : kept_)
        solutions.push_back({bits, energy});
    return solutions;
}

}  // namespace orvex::toolkit
