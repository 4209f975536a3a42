#include "toolkit/run/view.hpp"

#include <utility>

namespace orvex::toolkit {

View::View(const Problem& problem, Presolved presolved)
    : problem_(problem), presolved_(std::move(presolved)) {
    if (presolved_->reduced_size() == problem.size) return;  // nothing was taken out
    if (presolved_->optimal())
        reduced_.emplace();
    else
        reduced_ = problem_of(SparseQubo(presolved_->reduced()));
    reduced_->file = problem.file;
}

Sol View::original_of(const Sol& searched) const {
    return reduced_ ? solution_of(presolved_->restore(bits_of(searched))) : searched;
}

Sol View::searched_of(const Sol& original) const {
    return reduced_ ? solution_of(presolved_->project(bits_of(original))) : original;
}

Groups View::searched_groups(const Groups& groups) const {
    if (!reduced_) return groups;
    const std::vector<int> origin = presolved_->origin();
    std::vector<std::int32_t> left(static_cast<std::size_t>(problem_.size), -1);
    for (std::size_t k = 0; k < origin.size(); ++k)
        left[static_cast<std::size_t>(origin[k])] = static_cast<std::int32_t>(k);
    Groups mapped;
    for (std::size_t g = 0; g < groups.members.size(); ++g) {
        std::vector<std::int32_t> members;
        for (const std::int32_t variable : groups.members[g])
            if (const std::int32_t k = left[static_cast<std::size_t>(variable)]; k >= 0)
                members.push_back(k);
        if (members.size() < 2) continue;
        // Where a member is gone, the 1 of the group may have gone with it.
        mapped.exactly_one.push_back(groups.exactly_one[g] &&
                                     members.size() == groups.members[g].size());
        mapped.members.push_back(std::move(members));
    }
    return mapped;
}

Wide View::searched_energy(Wide energy) const {
    return reduced_ ? energy * presolved_->factor() - presolved_->offset() : energy;
}

Wide View::original_energy(Wide searched) const {
    return reduced_ ? (searched + presolved_->offset()) / presolved_->factor() : searched;
}

}  // namespace orvex::toolkit
