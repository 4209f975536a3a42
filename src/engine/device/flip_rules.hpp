// The table of flip rules: what there is to know of a rule without knowing how it works. Names, the
// progress display, settings and every loop over all rules go by it. Invariant: a rule is at
// the position that is the number under which it travels.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "engine/device/records.hpp"

namespace orvex::device {

struct FLIP_RULE {
    ALGORITHM number;
    std::string_view name;  ///< its first letter is the code in the progress display
    bool searches;          ///< flips until the budget is spent; others make one pass over all bits
};

inline constexpr std::array FLIP_RULES = {
    FLIP_RULE{MAX_MIN, "MaxMin", true}, FLIP_RULE{POSITIVE_MIN, "PositiveMin", true},
    FLIP_RULE{CYCLIC_MIN, "CyclicMin", true}, FLIP_RULE{RANDOM_MIN, "RandomMin", true},
    FLIP_RULE{TWO_NEIGHBOR, "TwoNeighbor", false}};

static_assert([] {
    for (std::size_t i = 0; i < FLIP_RULES.size(); ++i)
        if (FLIP_RULES[i].number != static_cast<ALGORITHM>(i)) return false;
    return true;
}());

}  // namespace orvex::device
