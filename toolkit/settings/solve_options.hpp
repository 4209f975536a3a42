// What a caller may say of a search before it begins.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <orvex/orvex.hpp>

#include "toolkit/companion/groups.hpp"
#include "toolkit/presolve/presolve.hpp"
#include "toolkit/settings/search_settings.hpp"

namespace orvex::toolkit {

/** Seconds that a search takes when nothing is said about when it ends. */
inline constexpr double DEFAULT_TIME_LIMIT = 10;

/** How a problem is searched. What is left open is chosen by the problem's structure. */
struct SolveOptions {
    std::optional<double> time_limit{};  ///< seconds, as exact as results come in; 0: no limit
    std::optional<long> target{};        ///< ends at this energy or below
    std::optional<long> trials{};        ///< ends after this many start instances, at least 1

    PresolveEffort presolve = PresolveEffort::AUTO;  ///< exact reductions before the search

    /**
     * Share of the processors that the companion gets, from 0 (none of them) to 1 (all of them, and
     * the library does not search); none: chosen by the problem's structure.
     */
    std::optional<double> companion{};
    std::optional<Groups> groups{};  ///< one-hot groups; none: those that are found in the problem

    /**
     * Parameters of the library (docs/parameters.md), by key. They go before what the members above
     * say and before what would be chosen.
     */
    Settings settings{};
    std::uint64_t seed = 1;  ///< of the companion's random numbers; the library's are the clock's
    bool engine_cycles = false;  ///< leaves an open "search_cycles" to the library

    /**
     * Solutions that count as found when the search begins. The best is searched from at once, the
     * others are given as hints.
     */
    std::vector<Sol> starts{};
    std::vector<Sol> hints{};  ///< solutions for the search to start instances from
};

}  // namespace orvex::toolkit
