// What an island of a run has done so far, told to the receiver of the run's events.
#pragma once

#include <array>
#include <limits>

#include "orvex/export.hpp"

namespace orvex {

/** An island, as the results tell of it that have come back to it. */
struct IslandState {
    /** The energy that means "none yet". */
    static constexpr long NO_ENERGY = std::numeric_limits<long>::max();

    long current = NO_ENERGY;     ///< lowest energy since its last restart, among those below 0
    long best = NO_ENERGY;        ///< lowest energy of the run, among those below 0
    long results = 0;             ///< instances that have come back
    long flips = 0;               ///< of these
    std::array<long, 5> rules{};  ///< results of each flip rule, in the order of flip_rules()
    std::array<long, 10> generators{};  ///< and of each generator, in the order of generators()
};

}  // namespace orvex
