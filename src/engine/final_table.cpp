// The table at the end of a run: one row for each island, one for all of them, and what each device
// was kept busy with.
#include <cassert>

#include "engine/display.hpp"
#include "engine/island.hpp"

namespace orvex::engine {

void ISLAND::print(int number, bool winner, long best_energy) const {
    const TABLE_ROW row = {number,          winner,          best.energy == best_energy,
                           shown(best),     best.found_time, instance_count,
                           algorithm_count, received,        flips};
    write_stderr(run, 1, "%s", table_row(row, run).c_str());
}

void ALLISLAND::print() {
    assert(islands.size() == static_cast<std::size_t>(count) && run.dev_threads);
    assert(summary.instance_count == decltype(summary.instance_count){});  // once for each run
    summary.received = 0;
    summary.flips = 0;
    for (const auto& island : islands) {
        summary.received += island->received;
        summary.flips += island->flips;
        for (std::size_t k = 0; k < ALGORITHMS; ++k)
            summary.algorithm_count[k] += island->algorithm_count[k];
        for (std::size_t k = 0; k < GENERATORS; ++k)
            summary.instance_count[k] += island->instance_count[k];
    }
    for (int i = 0; i < count; ++i)
        islands[static_cast<std::size_t>(i)]->print(i, allbest->island == i, allbest->energy);
    summary.print(-1, true, allbest->energy);
    for (const DEV_THREAD& device : run.dev_threads->threads)
        printOccupancy(device);
}

void ALLISLAND::printOccupancy(const DEV_THREAD& device) const {
    write_stderr(run, 2, "[SM %d] ", device.id);
    write_stderr(run, 2, " %0.3fs ", static_cast<double>(device.kernel_ms / 1000));
    int blocks = 0;
    for (const auto& island : islands) {
        if (island->gpu != device.id) continue;
        blocks += island->deliveringBlocks();
        if (run.islands_per_gpu > 1)
            write_stderr(run, 2, "Isl %d: %d blocks ", island->id, island->deliveringBlocks());
    }
    assert(blocks >= 0 && blocks <= run.islands_per_gpu * run.blocks_per_gpu);
    const int available = run.prop.multiProcessorCount * run.prop.maxThreadsPerMultiProcessor;
    const int threads = blocks * run.band.threads();
    write_stderr(run, 2, "%d total blocks with %d/%d total threads occupancy=%.2f%%\n", blocks,
                 threads, available, threads * 100.0 / available);
}

}  // namespace orvex::engine
