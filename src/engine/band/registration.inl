// What a result achieves for its island and for the run, and what the display shows of it.

inline SHOWN shown(const INST_t& record) {
    return {relaxed(record.energy), relaxed(record.inst), relaxed(record.algorithm)};
}

/** Ties never replace: the first finder's record and time stand. */
inline void ISLAND::regBest(int) {
    const INST_t& result = *recv_buf;
    if (last_generation < result.generation) set_relaxed(current.energy, NO_ENERGY);
    if (gv->time_limit != 0 && now() >= gv->restart_clock->end) set_relaxed(gv->stop_code, 1);

    bool new_current = false;
    if (result.energy < current.energy && result.generation == generation) {
        copy_relaxed(current, result);
        new_current = true;
        if (result.energy < best.energy) best = result;
    }

    const std::lock_guard lock(allbest_mtx);
    INST_t& allbest = *gv->allisland->allbest;
    const bool new_best = result.energy < allbest.energy;
    if (new_best) {
        copy_relaxed(allbest, result);
        allbest.island = id;
        if (gv->log) {
            char line[64];
            std::snprintf(line, sizeof(line), "%f,%ld\n",
                          static_cast<double>(result.found_time) / 1e9, result.energy);
            gv->sol->log << line;
        }
        gv->callback_func("new", *this);
    } else {
        gv->callback_func("alarm", *this);
    }
    if ((new_current || new_best) && gv->verbose >= 1) {
        PROGRESS progress{{},
                          id,
                          new_best,
                          shown(allbest),
                          result.ticket,
                          result.wait_exponent,
                          result.overflow != 0};
        for (const auto& island : gv->allisland->islands)
            progress.islands.push_back(shown(island->current));
        write_stderr1("%s", progress_line(progress, *gv, *gv->restart_clock).c_str());
    }
    last_generation = result.generation;
}

inline void ISLAND::print(int number, bool winner, long best_energy) const {
    const TABLE_ROW row = {number,          winner,          best.energy == best_energy,
                           shown(best),     best.found_time, instance_count,
                           algorithm_count, received,        flips};
    write_stderr1("%s", table_row(row, *gv).c_str());
}

/** The final table; for one call per run, since the summary's counts are added up, not set. */
inline void ALLISLAND::print() {
    summary.received = 0;
    summary.flips = 0;
    for (const auto& island : islands) {
        summary.received += island->received;
        summary.flips += island->flips;
        for (int k = 0; k < ALGORITHMS; ++k)
            summary.algorithm_count[k] += island->algorithm_count[k];
        for (int k = 0; k < GENERATORS; ++k)
            summary.instance_count[k] += island->instance_count[k];
    }
    for (int i = 0; i < count; ++i)
        islands[static_cast<std::size_t>(i)]->print(i, allbest->island == i, allbest->energy);
    summary.print(-1, true, allbest->energy);
    for (const DEV_THREAD& device : gv->dev_threads->threads)
        printOccupancy(device);
}

/** Blocks of a device that really delivered, against what it could hold. */
inline void ALLISLAND::printOccupancy(const DEV_THREAD& device) const {
    write_stderr2("[SM %d] ", device.id);
    write_stderr2(" %0.3fs ", static_cast<double>(device.kernel_ms / 1000));
    int blocks = 0;
    for (const auto& island : islands) {
        if (island->gpu != device.id) continue;
        blocks += island->deliveringBlocks();
        if (gv->islands_per_gpu > 1)
            write_stderr2("Isl %d: %d blocks ", island->id, island->deliveringBlocks());
    }
    const int available = gv->prop.multiProcessorCount * gv->prop.maxThreadsPerMultiProcessor;
    write_stderr2("%d total blocks with %d/%d total threads occupancy=%.2f%%\n", blocks, blocks * T,
                  available, blocks * T * 100.0 / available);
}
