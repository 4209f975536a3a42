// What a result achieves for its island and for the run, and what the display shows of it.
#include <cassert>
#include <cstdio>
#include <mutex>

#include "engine/display.hpp"
#include "engine/island.hpp"
#include "engine/relaxed.hpp"

namespace orvex::engine {

/** Ties never replace: the first finder's record and time stand. */
void ISLAND::regBest(int) {
    assert(id >= 0 && recv_buf);
    const INSTANCE& result = *recv_buf;
    if (last_generation < result.generation) set_relaxed(current.energy, device::NO_ENERGY);
    if (run.time_limit != 0 && now() >= run.restart_clock->end) set_relaxed(run.stop_code, 1);

    bool new_current = false;
    if (result.energy < current.energy && result.generation == generation) {
        current.copyRelaxed(result);
        new_current = true;
        if (result.energy < best.energy) best.copyRelaxed(result);
    }

    const std::lock_guard lock(run.band.allbest_mtx);
    const bool new_best = result.energy < run.allisland->allbest->energy;
    if (new_best) makeBest(result);
    run.callback_func(new_best ? "new" : "alarm", *this);
    if ((new_current || new_best) && run.verbose >= 1) showProgress(new_best);
    assert(run.allisland->allbest->energy <= result.energy);
    assert(best.energy <= 0 && (best.energy <= current.energy || current.energy > 0));
    last_generation = result.generation;
}

/** The result becomes the run's best. */
void ISLAND::makeBest(const INSTANCE& result) {
    const INSTANCE& allbest = *run.allisland->allbest;
    assert(result.energy < allbest.energy);  // ties never replace
    assert(id >= 0 && id < run.allisland->count);
    allbest.copyRelaxed(result);
    allbest.island = id;
    if (!run.log) return;
    char line[64];
    std::snprintf(line, sizeof(line), "%f,%ld\n", static_cast<double>(result.found_time) / 1e9,
                  result.energy);
    run.sol->log << line;
}

void ISLAND::showProgress(bool new_best) const {
    PROGRESS progress{{},
                      id,
                      new_best,
                      shown(*run.allisland->allbest),
                      recv_buf->ticket,
                      recv_buf->wait_exponent,
                      recv_buf->overflow != 0};
    for (const auto& island : run.allisland->islands)
        progress.islands.push_back(shown(island->current));
    assert(progress.islands.size() == static_cast<std::size_t>(run.islands));
    write_stderr(run, 1, "%s", progress_line(progress, run, *run.restart_clock).c_str());
}

}  // namespace orvex::engine
