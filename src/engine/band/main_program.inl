// One run after its parameters are set: sizes it to the devices, makes the objects, drives the
// threads through their phases, each closed by a join, and harvests the result.

inline GLOBAL_VARS::~GLOBAL_VARS() {
    if (owns_wmat && wmat) delete wmat;
}

inline void survey_devices() {
    for (int i = 0; i < gv->gpus; ++i) {
        cudaDeviceProp& prop = gv->prop;
        int clock_khz = 0;
        cuda_check(cudaGetDeviceProperties(&prop, i));
        cuda_check(cudaDeviceGetAttribute(&clock_khz, cudaDevAttrClockRate, i));
        cuda_check(cudaOccupancyMaxActiveBlocksPerMultiprocessorWithFlags(&gv->blocks_per_sm, ORVEX,
                                                                          T, 0, 0));
        write_stderr1(
            "[GPU %2d] %s: %3.2fGHz CC%1d.%1d %3.2fGB, %dSMs, %dThs/SM %4.2fKB/SM %d MaxBlock\n", i,
            prop.name, clock_khz / 1e6, prop.major, prop.minor,
            static_cast<double>(prop.totalGlobalMem) / 1e9, prop.multiProcessorCount,
            prop.maxThreadsPerMultiProcessor,
            static_cast<double>(prop.sharedMemPerMultiprocessor) / 1000, gv->blocks_per_sm);
    }
}

/** Blocks, islands and rings, all devices alike, by the one surveyed last. */
inline void size_run() {
    gv->blocks_per_sm = gv->prop.maxThreadsPerMultiProcessor / T;
    const RUN_SHAPE shape =
        sized({gv->blocks_per_gpu, gv->islands_per_gpu, gv->blocks_per_island}, gv->gpus,
              gv->blocks_per_sm, gv->prop.multiProcessorCount);
    if (!can_be_launched(shape, gv->gpus)) cuda_check(cudaErrorInvalidConfiguration);
    gv->blocks_per_gpu = shape.blocks_per_gpu;
    gv->islands_per_gpu = shape.islands_per_gpu;
    gv->blocks_per_island = shape.blocks_per_island;
    gv->islands = gv->gpus * gv->islands_per_gpu;
    gv->all_threads = gv->gpus + gv->islands;
    gv->ring_size = 4 * gv->blocks_per_island;
    gv->restart_islands = gv->islands - gv->keep_islands;
    if (gv->restart_islands < 0) {
        gv->keep_islands = gv->islands;
        gv->restart_islands = 0;
    }
}

inline void make_seeds() {
    constexpr unsigned long FORCED_BITS = 0x8000000000000001;
    std::mt19937_64 twister(time4random());
    const std::size_t count =
        static_cast<std::size_t>(gv->gpus) * static_cast<std::size_t>(seeded_blocks()) * T;
    gv->seeds.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        gv->seeds.push_back((time4random() + twister()) | FORCED_BITS);
    gv->rings.resize(static_cast<std::size_t>(gv->gpus), nullptr);
}

/** The start solution stands in the all-time best until a result beats it; it has no energy yet. */
inline void enter_start_solution() {
    INST_t& allbest = *gv->allisland->allbest;
    allbest.loadWords(*gv->start);
    allbest.inst = NO_GENERATOR;
    allbest.algorithm = NO_ALGORITHM;
    allbest.island = -1;
    allbest.found_time = INST_t::NEVER_FOUND;
}

[[noreturn]] inline void report_overflow() {
    constexpr const char* WIDER = A == 32 ? "reduced or select 64-bit precision" : "reduced";
    error_exit("Arithmetic overflow detected.\nThe values in the QUBO instance must be " +
               std::string(WIDER) + " to avoid it.\n");
}

inline void main_program() {
    survey_devices();
    size_run();
    make_seeds();
    gv->trans_count = std::make_unique<TRANS_COUNT>();
    gv->allisland = std::make_unique<ALLISLAND>(gv->islands);
    if (gv->start) enter_start_solution();

    DEV_THREADS devices(gv->gpus);
    HOST_THREADS hosts(gv->islands);
    gv->dev_threads = &devices;
    gv->host_threads = &hosts;

    devices.init();
    hosts.init();
    devices.join();
    hosts.join();

    devices.copy();
    hosts.set();
    devices.join();
    hosts.join();

    gv->restart_clock = std::make_unique<RESTART_CLOCK>(gv->time_limit, gv->restart_t0,
                                                        gv->restart_b, gv->restart_nobest);
    gv->callback_func("init", *gv->allisland->islands[0]);

    devices.kernel();
    hosts.main();
    devices.join();
    hosts.join();

    devices.destruct();
    devices.join();

    if (gv->stop_code == -1) report_overflow();
    gv->allisland->print();
    gv->get_sol(*gv->sol, true);
}
