// The device threads: one per device and phase of a run. They own everything on their device,
// launch the kernel once, and hold a wait for it through the whole search.

struct DEV_THREAD {
    int id;
    std::thread thread{};         ///< of the present phase
    DEVICE_WMAT* wmat = nullptr;  ///< the device's copy of the matrix
    cudaStream_t stream = nullptr;
    cudaStream_t control = nullptr;  ///< for what must reach the device while its kernel runs
    unsigned long* seeds = nullptr;
    int* kernel_ints = nullptr;  ///< stays null; an argument of the kernel
    DeviceState* device_state = nullptr;
    int* state_a = nullptr;  ///< per island: lock over instance tickets
    int* state_b = nullptr;  ///< per island: lock over result tickets
    int* state_c = nullptr;  ///< per island: the two ticket counters
    cudaEvent_t ev_start = nullptr;
    cudaEvent_t ev_stop = nullptr;
    float kernel_ms = 0;

    void init_func();
    void copy_func();
    void kernel_func();
    void destruct_func();
};

struct DEV_THREADS {
    int count;
    std::vector<DEV_THREAD> threads;

    explicit DEV_THREADS(int gpus) : count(gpus) {
        for (int i = 0; i < gpus; ++i)
            threads.push_back(DEV_THREAD{.id = i});
    }

    void init() { start(&DEV_THREAD::init_func); }
    void copy() { start(&DEV_THREAD::copy_func); }
    void kernel() { start(&DEV_THREAD::kernel_func); }
    void destruct() { start(&DEV_THREAD::destruct_func); }

    void join() {
        for (DEV_THREAD& member : threads)
            member.thread.join();
    }

    /** Raises the kill byte of every device: its blocks leave at once. Waits for no kernel. */
    void kill();

    /** Longest kernel in seconds. */
    float max_sec() const {
        float longest = 0.0f;
        for (const DEV_THREAD& member : threads)
            longest = std::max(longest, member.kernel_ms / 1000);
        return longest;
    }

  private:
    void start(void (DEV_THREAD::*phase)()) {
        for (DEV_THREAD& member : threads)
            member.thread = start_thread([&member, phase] { (member.*phase)(); });
    }
};

/** Blocks of the launch on each device; can be more than `blocks_per_gpu` by rounding up. */
inline int grid_size() {
    return gv->islands_per_gpu * gv->blocks_per_island;
}

/** Blocks of a device that get a seed: all that are wanted and all that are launched. */
inline int seeded_blocks() {
    return std::max(gv->blocks_per_gpu, grid_size());
}

template <class X>
void allocate_on_device(X** memory, std::size_t count) {
    if (cudaMalloc(memory, count * sizeof(X)) != cudaSuccess)
        error_exit("Insufficient Host memory.");
}

inline void DEV_THREAD::init_func() {
    cuda_check(cudaSetDevice(id));
    cuda_check(cudaStreamCreateWithFlags(&stream, cudaStreamNonBlocking));
    cuda_check(cudaStreamCreateWithFlags(&control, cudaStreamNonBlocking));
    INST_t*& ring_memory = gv->rings[static_cast<std::size_t>(id)];
    const std::size_t slots =
        static_cast<std::size_t>(gv->islands_per_gpu) * 2 * static_cast<std::size_t>(gv->ring_size);
    allocate_on_device(&ring_memory, slots);
    cuda_check(cudaMemsetAsync(ring_memory, 0, slots * sizeof(INST_t), stream));
    cuda_check(cudaDeviceSynchronize());
}

inline void DEV_THREAD::copy_func() {
    cuda_check(cudaSetDevice(id));
    cuda_check(load_kernel(ORVEX));
    cuda_check(
        cudaMemcpyToSymbol(device_gp, host_gp, sizeof(GPU_PARAMS), 0, cudaMemcpyHostToDevice));

    const std::size_t islands = static_cast<std::size_t>(gv->islands_per_gpu);
    allocate_on_device(&device_state, 1);
    allocate_on_device(&state_a, islands);
    allocate_on_device(&state_b, islands);
    allocate_on_device(&state_c, 2 * islands);
    cuda_check(cudaMemset(state_a, 0, islands * sizeof(int)));
    cuda_check(cudaMemset(state_b, 0, islands * sizeof(int)));
    cuda_check(cudaMemset(state_c, 0, 2 * islands * sizeof(int)));
    DeviceState image{};
    image.state_a = state_a;
    image.state_b = state_b;
    image.state_c = state_c;
    cuda_check(cudaMemcpy(device_state, &image, sizeof(image), cudaMemcpyHostToDevice));

    {
        const std::lock_guard lock(session_mutex);
        wmat = session.takeDeviceCopy(id);
    }
    if (!wmat) wmat = make_device_copy(gv->wmat, stream);

    const std::size_t count = static_cast<std::size_t>(seeded_blocks()) * T;
    allocate_on_device(&seeds, count);
    cuda_check(cudaMemcpyAsync(seeds, gv->seeds.data() + static_cast<std::size_t>(id) * count,
                               count * sizeof(unsigned long), cudaMemcpyHostToDevice, stream));
    cuda_check(cudaStreamSynchronize(stream));
}

/** The shared-memory carve-out in force: ORVEX_CARVEOUT, or the run's if that is unset. */
inline int shared_memory_carveout() {
    static const long from_environment = [] {
        const char* text = std::getenv("ORVEX_CARVEOUT");
        return text ? std::strtol(text, nullptr, 10) : -1L;
    }();
    return from_environment < 0 ? gv->carveout : static_cast<int>(from_environment);
}

inline void DEV_THREAD::kernel_func() {
    cuda_check(cudaSetDevice(id));
    const int carveout = shared_memory_carveout();
    if (carveout > 0)  // a wish; whether it is granted does not matter
        cudaFuncSetAttribute(ORVEX, cudaFuncAttributePreferredSharedMemoryCarveout, carveout);
    cuda_check(cudaEventCreate(&ev_start));
    cuda_check(cudaEventCreate(&ev_stop));
    cuda_check(cudaEventRecord(ev_start, stream));
    launch_kernel(ORVEX, grid_size(), T, stream, static_cast<unsigned>(id), seeds, *wmat,
                  static_cast<unsigned>(gv->ring_size),
                  static_cast<unsigned char>(gv->islands_per_gpu),
                  gv->rings[static_cast<std::size_t>(id)], kernel_ints, device_state);
    cuda_check(cudaEventRecord(ev_stop, stream));
    cuda_check(cudaEventSynchronize(ev_stop));
    cuda_check(cudaEventElapsedTime(&kernel_ms, ev_start, ev_stop));
    cuda_check(cudaEventDestroy(ev_start));
    cuda_check(cudaEventDestroy(ev_stop));
    cuda_check(cudaGetLastError());
}

inline void DEV_THREAD::destruct_func() {
    cuda_check(cudaSetDevice(id));
    cuda_check(cudaStreamDestroy(stream));
    cuda_check(cudaStreamDestroy(control));
    cuda_check(cudaFree(seeds));
    cuda_check(cudaFree(device_state));
    cuda_check(cudaFree(state_a));
    cuda_check(cudaFree(state_b));
    cuda_check(cudaFree(state_c));
    {
        // The matrix stays on the device for the next run.
        const std::lock_guard lock(session_mutex);
        session.storeDeviceCopy(id, wmat);
    }
    cuda_check(cudaFree(gv->rings[static_cast<std::size_t>(id)]));
}

inline void DEV_THREADS::kill() {
    const std::uint8_t one = 1;
    for (DEV_THREAD& member : threads) {
        cuda_check(cudaSetDevice(member.id));
        cuda_check(cudaMemcpyAsync(&member.device_state->kill, &one, sizeof(one),
                                   cudaMemcpyHostToDevice, member.control));
        cuda_check(cudaStreamSynchronize(member.control));
    }
}
