#include "engine/main_program.hpp"

#include <algorithm>
#include <cassert>
#include <random>
#include <string>

#include "engine/error_exit.hpp"
#include "engine/host_threads.hpp"
#include "engine/island.hpp"
#include "engine/sizing.hpp"
#include "engine/time_up.hpp"

namespace orvex::engine {

using namespace platform;

void survey_devices(GLOBAL_VARS& run) {
    assert(run.gpus > 0 && run.gpus <= run.available_gpus);
    for (int i = 0; i < run.gpus; ++i) {
        cudaDeviceProp& prop = run.prop;
        int clock_khz = 0;
        cuda_check(cudaGetDeviceProperties(&prop, i));
        cuda_check(cudaDeviceGetAttribute(&clock_khz, cudaDevAttrClockRate, i));
        cuda_check(cudaOccupancyMaxActiveBlocksPerMultiprocessorWithFlags(
            &run.blocks_per_sm, run.band.kernel, run.band.threads(), 0, 0));
        write_stderr(
            run, 1,
            "[GPU %2d] %s: %3.2fGHz CC%1d.%1d %3.2fGB, %dSMs, %dThs/SM %4.2fKB/SM %d MaxBlock\n", i,
            prop.name, clock_khz / 1e6, prop.major, prop.minor,
            static_cast<double>(prop.totalGlobalMem) / 1e9, prop.multiProcessorCount,
            prop.maxThreadsPerMultiProcessor,
            static_cast<double>(prop.sharedMemPerMultiprocessor) / 1000, run.blocks_per_sm);
    }
}

/** Blocks, islands and rings, all devices alike, by the one surveyed last. */
void size_run(GLOBAL_VARS& run) {
    run.blocks_per_sm = run.prop.maxThreadsPerMultiProcessor / run.band.threads();
    const RUN_SHAPE shape = sized({run.blocks_per_gpu, run.islands_per_gpu, run.blocks_per_island},
                                  run.gpus, run.blocks_per_sm, run.prop.multiProcessorCount);
    if (!can_be_launched(shape, run.gpus)) cuda_check(cudaErrorInvalidConfiguration);
    run.blocks_per_gpu = shape.blocks_per_gpu;
    run.islands_per_gpu = shape.islands_per_gpu;
    run.blocks_per_island = shape.blocks_per_island;
    assert(run.gpus > 0 && run.blocks_per_island > 0);
    run.islands = run.gpus * run.islands_per_gpu;
    run.all_threads = run.gpus + run.islands;
    run.ring_size = 4 * run.blocks_per_island;
    run.restart_islands = run.islands - run.keep_islands;
    if (run.restart_islands < 0) {
        run.keep_islands = run.islands;
        run.restart_islands = 0;
    }
    assert(run.restart_islands <= run.islands);
}

void make_seeds(GLOBAL_VARS& run) {
    constexpr unsigned long FORCED_BITS = 0x8000000000000001;
    std::mt19937_64 twister(time4random());
    const std::size_t count = static_cast<std::size_t>(run.gpus) *
                              static_cast<std::size_t>(seeded_blocks(run)) *
                              static_cast<std::size_t>(run.band.threads());
    run.seeds.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        run.seeds.push_back((time4random() + twister()) | FORCED_BITS);
    assert(run.seeds.size() == count && run.rings.empty());
    run.rings.resize(static_cast<std::size_t>(run.gpus));
}

/**
 * The start solution is the all-time best until a result beats it; it has no energy yet. It
 * is the first of the run's instances, so the limit on trials, which is at least 1, does not cut it
 * off, whichever island comes first.
 */
void enter_start_solution(GLOBAL_VARS& run) {
    assert(run.start && run.allisland->allbest->energy == device::NO_ENERGY);
    const INSTANCE& allbest = *run.allisland->allbest;
    allbest.loadWords(*run.start);
    allbest.inst = NO_GENERATOR;
    allbest.algorithm = NO_ALGORITHM;
    allbest.island = -1;
    allbest.found_time = INSTANCE::NEVER_FOUND;
    run.trans_count->request(run.trial_limit);
}

[[noreturn]] void report_overflow(int arith_bits) {
    assert(arith_bits == 32 || arith_bits == 64);
    const char* const wider = arith_bits == 32 ? "reduced or select 64-bit precision" : "reduced";
    error_exit("Arithmetic overflow detected.\nThe values in the QUBO instance must be " +
               std::string(wider) + " to avoid it.\n");
}

void main_program(GLOBAL_VARS& run) {
    survey_devices(run);
    size_run(run);
    make_seeds(run);
    run.trans_count = std::make_unique<TRANS_COUNT>();
    run.allisland = std::make_unique<ALLISLAND>(run, run.islands);
    if (run.start) enter_start_solution(run);

    DEV_THREADS devices(run, run.gpus);
    HOST_THREADS hosts(*run.allisland);
    assert(devices.count + hosts.count == run.all_threads);
    run.dev_threads = &devices;
    run.host_threads = &hosts;

    devices.init();
    hosts.init();
    devices.join();
    hosts.join();

    devices.copy();
    hosts.set();
    devices.join();
    hosts.join();

    run.restart_clock = std::make_unique<RESTART_CLOCK>(run.time_limit, run.restart_t0,
                                                        run.restart_b, run.restart_nobest);
    cuda_check(cudaSetDevice(run.allisland->islands[0]->gpu));
    run.callback_func("init", *run.allisland->islands[0]);

    devices.kernel();
    hosts.main();
    {
        const TIME_UP time_up(run.time_limit, run.restart_clock->end, [&] { devices.close(); });
        devices.join();
        hosts.join();
    }

    devices.destruct();
    devices.join();

    if (run.stop_code == -1) report_overflow(run.band.arith_bits);
    run.allisland->print();
    run.get_sol(*run.sol, true);
    run.tellIslands();
    run.tellPools();
    run.dev_threads = nullptr;
    run.host_threads = nullptr;
}

}  // namespace orvex::engine
