#include "toolkit/run/prepare.hpp"

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

namespace orvex::toolkit {
namespace {

using Clock = std::chrono::steady_clock;

/** The lists of a dense model take more than its matrix: only constraints in it are worth them. */
bool may_have_groups(const Problem& searched) {
    constexpr int MOST = 4096;
    return searched.weights.stated_sparse() ||
           (searched.couplings.penalties() && searched.size <= MOST);
}

/** Moves of groups leave out what is in none, so few groups are worth less than none. */
bool cover_most(const Groups& groups, int size) {
    std::vector<bool> covered(static_cast<std::size_t>(size));
    for (const auto& members : groups.members)
        for (const std::int32_t variable : members)
            covered[static_cast<std::size_t>(variable)] = true;
    return 2 * std::count(covered.begin(), covered.end(), true) >= size;
}

/** In a dense model the rules find nothing. */
bool worth_presolving(const Problem& problem, PresolveEffort effort) {
    constexpr int SMALL = 512;
    if (effort == PresolveEffort::OFF) return false;
    return effort == PresolveEffort::FULL || problem.weights.stated_sparse() ||
           problem.size <= SMALL;
}

View view_of(const Problem& problem, const SolveOptions& options) {
    if (!worth_presolving(problem, options.presolve)) return View(problem);
    constexpr double SHARE_OF_TIME = 0.1;  // at most: where rules find nothing they end early
    const double limit = options.time_limit.value_or(DEFAULT_TIME_LIMIT);
    const bool full = options.presolve == PresolveEffort::FULL;
    Presolved presolved =
        presolve(problem.weights.sparse(),
                 {.effort = options.presolve, .time_limit = full ? 0 : SHARE_OF_TIME * limit});
    return View(problem, std::move(presolved));
}

/** The caller's groups, or those that are found, in the variables of the searched model. */
Groups groups_of(const View& view, const SolveOptions& options) {
    if (options.companion == 0.0) return {};
    if (options.groups) return view.searched_groups(*options.groups);
    const Problem& searched = view.searched();
    if (!may_have_groups(searched)) return {};
    Groups groups = find_groups(searched.weights.sparse());
    return cover_most(groups, searched.size) ? std::move(groups) : Groups{};
}

}  // namespace

Prepared prepare(const Problem& problem, const SolveOptions& options) {
    const Clock::time_point begin = Clock::now();
    Prepared prepared{.view = view_of(problem, options), .groups = {}, .crew = {}, .told = {}};
    const Problem& searched = prepared.view.searched();
    Preparation& told = prepared.told;
    told.size = searched.size;
    told.couplings = searched.couplings.count;
    told.presolve_time = std::chrono::duration<double>(Clock::now() - begin).count();
    if (const Presolved* presolved = prepared.view.presolved()) told.rules = presolved->rules();
    if (searched.size == 0) {
        prepared.crew.has_library = told.has_library = false;
        return prepared;
    }
    prepared.groups = groups_of(prepared.view, options);
    prepared.crew = crew_for(options, searched, prepared.groups);
    told.groups = static_cast<long>(prepared.groups.members.size());
    told.companion_threads = prepared.crew.companion_threads;
    told.has_library = prepared.crew.has_library;
    return prepared;
}

}  // namespace orvex::toolkit
