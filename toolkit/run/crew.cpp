#include "toolkit/run/crew.hpp"

#include <algorithm>
#include <cmath>
#include <sched.h>
#include <string>
#include <thread>
#include <vector>

#include <orvex/plan.hpp>

#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {
namespace {

constexpr double FEW_NEIGHBOURS = 40;
constexpr double SPARSE = 0.1;  // of the other variables

constexpr double MOST_OF_ALL = 0.9;  // of the variables
constexpr double SHARE_TO_MERGE = 0.25;

/** Whether the library's blocks run on the host's processors too. */
bool blocks_on_host(const Problem& searched) {
    const std::optional<Plan> plan = searched.plan(64);
    return plan && plan->device_bytes == 0;
}

/** Processors that this thread, and what it starts, may run on. */
int allowed_processors() {
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof(set), &set) == 0) return CPU_COUNT(&set);
    return static_cast<int>(std::thread::hardware_concurrency());
}

int host_processors(bool blocks_on_host) {
    // A device that is there may still fail to tell of itself.
    const std::vector<Device> found = blocks_on_host ? devices() : std::vector<Device>{};
    const int processors = !found.empty() ? found.front().multiprocessors : allowed_processors();
    return std::max(processors, 1);
}

double share_of(const SolveOptions& options, const Problem& searched, const Groups& groups) {
    if (!options.companion) return choose_companion_share(searched, groups);
    if (!(*options.companion >= 0 && *options.companion <= 1))
        throw InputError("the companion's share of the processors must be from 0 to 1");
    return *options.companion;
}

/** Whether no connected component has most of the variables. */
bool falls_apart(const SparseQubo& qubo) {
    const auto size = static_cast<std::size_t>(qubo.size());
    const auto most = static_cast<std::size_t>(MOST_OF_ALL * static_cast<double>(size));
    std::vector<bool> seen(size);
    std::vector<std::int32_t> component;
    for (std::int32_t seed = 0; seed < qubo.size(); ++seed) {
        if (seen[static_cast<std::size_t>(seed)]) continue;
        component.assign(1, seed);
        seen[static_cast<std::size_t>(seed)] = true;
        for (std::size_t next = 0; next < component.size(); ++next)
            for (const std::int32_t j : qubo.neighbours_of(component[next])) {
                if (seen[static_cast<std::size_t>(j)]) continue;
                seen[static_cast<std::size_t>(j)] = true;
                component.push_back(j);
            }
        if (component.size() > most) return false;
    }
    return true;
}

}  // namespace

double choose_companion_share(const Problem& searched, const Groups& groups) {
    if (searched.size > MAX_SIZE) return 1;
    if (!groups.members.empty()) return 1;
    const double neighbours =
        2.0 * static_cast<double>(searched.couplings.count) / std::max(searched.size, 1);
    if (neighbours <= std::min(FEW_NEIGHBOURS, SPARSE * searched.size)) return 1;
    return searched.weights.stated_sparse() && falls_apart(searched.weights.sparse())
               ? SHARE_TO_MERGE
               : 0;
}

Crew crew_for(const SolveOptions& options, const Problem& searched, const Groups& groups) {
    const double share = share_of(options, searched, groups);
    Crew crew;
    crew.shares_processors = blocks_on_host(searched);
    crew.processors = host_processors(crew.shares_processors);
    crew.companion_threads =
        share == 0 ? 0 : std::max(1, static_cast<int>(std::lround(share * crew.processors)));
    crew.has_library = share < 1;
    // Instances are the library's, and so is what ends after a number of them.
    const bool counts_trials = options.trials || options.settings.contains("trial_limit");
    if (counts_trials && !options.companion) crew.has_library = true;
    if (!crew.has_library && counts_trials)
        throw InputError("a limit of trials needs the library's search: the companion has none");
    if (crew.has_library && searched.size > MAX_SIZE)
        throw InputError("presolve leaves " + std::to_string(searched.size) +
                         " variables, of which the library searches " + std::to_string(MAX_SIZE) +
                         " at most; the companion can search them alone (companion=1)");
    return crew;
}

void make_room(const Crew& crew, Settings& parameters) {
    if (crew.companion_threads == 0 || !crew.shares_processors) return;
    if (parameters.contains("islands_per_gpu") || parameters.contains("blocks_per_island")) return;
    const int blocks = std::max(1, crew.processors - crew.companion_threads);
    parameters.emplace("islands_per_gpu", "1");
    parameters.emplace("blocks_per_island", std::to_string(blocks));
}

}  // namespace orvex::toolkit
