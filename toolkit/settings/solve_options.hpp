// What a caller may say of a search before it begins.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <orvex/orvex.hpp>

#include "toolkit/companion/groups.hpp"
#include "toolkit/presolve/presolve.hpp"
#include "toolkit/settings/search_settings.hpp"

namespace orvex::toolkit {

/** Seconds that a search takes when nothing is said about when it ends. */
inline constexpr double DEFAULT_TIME_LIMIT = 10;

/** Where the trace of a run goes. */
struct TraceOptions {
    /**
     * Receives each line of the trace (docs/traces.md), without its end, on threads that are not
     * the caller's, one line at a time; empty: no trace is made. What it throws ends the search and
     * is thrown by solve().
     */
    std::function<void(const std::string& line)> write{};
    /** Energies as the integers that the problem has, not in the numbers of its file. */
    bool model_numbers = false;
};

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
     * Distinct good solutions that are wanted, at least 1: the best of the pools and of the history
     * at the end, or of what the companion came by.
     */
    int solutions = 1;

    /**
     * Solutions that count as found when the search begins. The best is searched from at once, the
     * others are given as hints.
     */
    std::vector<Sol> starts{};
    std::vector<Sol> hints{};  ///< solutions for the search to start instances from

    /**
     * File that holds the best solutions while the search goes on, for another to resume from:
     * toolkit/run/checkpoint.hpp. One of the same problem that is there already is kept up. Empty:
     * none.
     */
    std::string checkpoint{};
    std::string resume{};  ///< checkpoint whose solutions are further starts; empty: none

    TraceOptions trace{};  ///< what the run does, second by second, for whoever looks at it later
};

}  // namespace orvex::toolkit
