// The one place that decides how a model is searched when the user says nothing: how many flips an
// instance may take and how many of them make one search, and for large sparse models the pool and
// the rule. With the few blocks of a CPU this decides the time to a good solution more than
// anything else; docs/performance.md has the measurements that it rests on.
#pragma once

#include <algorithm>
#include <initializer_list>
#include <map>
#include <string>

#include "toolkit/model/couplings.hpp"

namespace orvex::toolkit {

/** Parameters by their keys. */
using Settings = std::map<std::string, std::string>;

/**
 * The value of the parameter "search_cycles" for a model of `size` variables: two numbers separated
 * by a blank.
 *
 * - Unweighted graphs have many solutions of nearly the same energy between which a long search
 *   wanders: 30 flips for each variable, in searches of a tenth of the variables.
 * - Constraints make high walls around each solution, and new start instances find more than long
 *   searches: the engine's own rule (one flip for each variable, searches of a fifth), empty.
 * - Else many short searches from one instance are best: 10 flips for each variable, in searches
 *   of 3 in 100 variables.
 *
 * An instance is cut short where its flips, at the cost of a dense row each, would keep a block
 * busy for more than about a tenth of a second: a run ends only when its blocks have handed in.
 */
inline std::string choose_search_cycles(int size, const Couplings& couplings) {
    constexpr long FLIPS_TIMES_SIZE = 500'000'000;
    const bool unit = couplings.unit();
    if (!unit && couplings.penalties()) return "";
    const long n = std::max(size, 1);
    const long flips = std::min((unit ? 30 : 10) * n, std::max(n, FLIPS_TIMES_SIZE / n));
    const long steps = (unit ? 10 : 3) * n / 100;
    return std::to_string(std::max(flips, 100L)) + " " + std::to_string(std::max(steps, 20L));
}

/**
 * What is chosen beside the parameters that the user gives; given(key) tells which these are.
 *
 * - "search_cycles", as above.
 * - Large models of few neighbours each: in the seconds of a run their blocks do some hundred
 *   instances, too few to fill large pools again after every restart. Pools of ten, no restarts.
 * - Of these, unweighted graphs with hardly more edges than a tree: long searches by "CyclicMin"
 *   without tabus, whose step costs a tenth of the others' there since it draws nothing.
 */
template <class GIVEN>
Settings choose_settings(int size, const Couplings& couplings, GIVEN given) {
    const auto free = [&](std::initializer_list<const char*> keys) {
        return std::none_of(keys.begin(), keys.end(), given);
    };
    Settings chosen;
    const bool free_cycles =
        free({"search_cycles", "search_cycles_factor", "batch_factor", "annealing_factor"});
    const std::string cycles = choose_search_cycles(size, couplings);
    if (free_cycles && !cycles.empty()) chosen["search_cycles"] = cycles;

    if (size < 5000 || couplings.count >= 8L * size) return chosen;
    if (free({"pool_size"})) chosen["pool_size"] = "10";
    if (free({"restart_t0", "restart_b", "restart_duration", "restart_nobest"}))
        chosen["restart_t0"] = "0";

    if (!couplings.unit() || 2 * couplings.count > 3L * size) return chosen;
    if (free_cycles && free({"fix_algorithm", "exclude_algorithm", "tabu_cycles"})) {
        chosen["fix_algorithm"] = "CyclicMin";
        chosen["tabu_cycles"] = "0";
        chosen["search_cycles"] = std::to_string(3L * size) + " " + std::to_string(size);
    }
    return chosen;
}

}  // namespace orvex::toolkit
