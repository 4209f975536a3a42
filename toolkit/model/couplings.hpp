// What the choice of search settings goes by: the weights of the pairs of two different variables.
#pragma once

#include <algorithm>

#include "toolkit/model/bounds.hpp"

namespace orvex::toolkit {

struct Couplings {
    long count = 0;     ///< that are not 0
    Wide positive = 0;  ///< sum of the positive ones
    Wide negative = 0;  ///< sum of the negative ones
    Wide largest = 0;   ///< largest magnitude

    /** A coupling that was `before` is `after` now. */
    void change(long before, long after) {
        count += (after != 0) - (before != 0);
        (before < 0 ? negative : positive) -= before;
        (after < 0 ? negative : positive) += after;
        largest = std::max(largest, after < 0 ? -Wide{after} : Wide{after});
    }

    /** All magnitudes are the same, as in an unweighted graph. */
    bool unit() const { return count > 0 && positive - negative == largest * count; }

    /** Nearly all are penalties, as where constraints are written into the objective. */
    bool penalties() const { return -negative < positive / 10; }
};

}  // namespace orvex::toolkit
