#include "engine/device_threads.hpp"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <mutex>

#include "engine/error_exit.hpp"

namespace orvex::engine {

using namespace platform;

namespace {

template <class X>
void allocate_array(X** memory, std::size_t count) {
    void* bytes = nullptr;
    allocate_on_device(&bytes, count * sizeof(X));
    *memory = static_cast<X*>(bytes);
}

/** Words of a device that begin as 0. */
int* zeroed_ints(std::size_t count) {
    int* words = nullptr;
    allocate_array(&words, count);
    cuda_check(cudaMemset(words, 0, count * sizeof(int)));
    return words;
}

}  // namespace

int grid_size(const RUN_STATE& run) {
    return run.islands_per_gpu * run.blocks_per_island;
}

int seeded_blocks(const RUN_STATE& run) {
    return std::max(run.blocks_per_gpu, grid_size(run));
}

void allocate_on_device(void** memory, std::size_t bytes) {
    if (cudaMalloc(memory, bytes) != cudaSuccess) error_exit("Insufficient Host memory.");
}

int shared_memory_carveout(const RUN_STATE& run) {
    static const long from_environment = [] {
        const char* text = std::getenv("ORVEX_CARVEOUT");
        return text ? std::strtol(text, nullptr, 10) : -1L;
    }();
    return from_environment < 0 ? run.carveout : static_cast<int>(from_environment);
}

// ---- the phases ----------------------------------------------------------------------------

void DEV_THREAD::init_func() {
    assert(id >= 0 && id < run.gpus && !stream);
    cuda_check(cudaSetDevice(id));
    cuda_check(cudaStreamCreateWithFlags(&stream, cudaStreamNonBlocking));
    cuda_check(create_copy_stream(&control));
    raised = allocate_page_locked<std::uint8_t>();
    assert(run.islands_per_gpu > 0 && run.ring_size > 0);
    const std::size_t slots =
        static_cast<std::size_t>(run.islands_per_gpu) * 2 * static_cast<std::size_t>(run.ring_size);
    const std::size_t bytes = slots * device::instance_bytes(run.band.size);
    void* memory = nullptr;
    allocate_on_device(&memory, bytes);
    cuda_check(cudaMemsetAsync(memory, 0, bytes, stream));
    cuda_check(cudaDeviceSynchronize());
    run.rings.at(static_cast<std::size_t>(id)) = INSTANCES(memory, run.band.words(), slots);
}

void DEV_THREAD::copy_func() {
    assert(stream && !device_state);
    cuda_check(cudaSetDevice(id));
    cuda_check(load_kernel(run.band.kernel));
    cuda_check(cudaMemcpyToSymbol(run.band.device_gp, run.band.host_gp, sizeof(device::GPU_PARAMS),
                                  0, cudaMemcpyHostToDevice));

    const std::size_t islands = static_cast<std::size_t>(run.islands_per_gpu);
    allocate_array(&device_state, 1);
    state_a = zeroed_ints(islands);
    state_b = zeroed_ints(islands);
    state_c = zeroed_ints(2 * islands);
    device::DeviceState image{};
    image.state_a = state_a;
    image.state_b = state_b;
    image.state_c = state_c;
    cuda_check(cudaMemcpy(device_state, &image, sizeof(image), cudaMemcpyHostToDevice));
    // Copies from memory that is not page-locked, through the default stream, may still be under
    // way when they return, and other streams do not wait for that one.
    cuda_check(cudaDeviceSynchronize());
    // The first copy of a kind may load something onto the device, and would wait for the kernel.
    *raised = 0;
    cuda_check(cudaMemcpyAsync(&device_state->kill, raised, 1, cudaMemcpyHostToDevice, control));
    cuda_check(cudaStreamSynchronize(control));
    *raised = 1;

    {
        const std::lock_guard lock(run.band.session_mutex);
        wmat = run.band.session.takeDeviceCopy(id);
    }
    if (!wmat) wmat = make_device_copy(run.band, run.wmat, *run.model, stream);

    const std::size_t count =
        static_cast<std::size_t>(seeded_blocks(run)) * static_cast<std::size_t>(run.band.threads());
    const std::size_t first = static_cast<std::size_t>(id) * count;
    assert(first + count <= run.seeds.size());
    allocate_array(&seeds, count);
    cuda_check(cudaMemcpyAsync(seeds, run.seeds.data() + first, count * sizeof(unsigned long),
                               cudaMemcpyHostToDevice, stream));
    cuda_check(cudaStreamSynchronize(stream));
}

void DEV_THREAD::kernel_func() {
    assert(wmat && seeds && device_state);
    cuda_check(cudaSetDevice(id));
    const int carveout = shared_memory_carveout(run);
    // A wish; whether it is granted does not matter, and a refusal must not be found after the
    // search as if it were that of the kernel.
    if (carveout > 0 &&
        cudaFuncSetAttribute(run.band.kernel, cudaFuncAttributePreferredSharedMemoryCarveout,
                             carveout) != cudaSuccess)
        static_cast<void>(cudaGetLastError());
    cudaEvent_t start = nullptr;
    cudaEvent_t stop = nullptr;
    cuda_check(cudaEventCreate(&start));
    cuda_check(cudaEventCreate(&stop));
    cuda_check(cudaEventRecord(start, stream));

    // The kernel's arguments, in its order.
    unsigned number = static_cast<unsigned>(id);
    unsigned ring_size = static_cast<unsigned>(run.ring_size);
    unsigned char islands_per_gpu = static_cast<unsigned char>(run.islands_per_gpu);
    assert(run.rings[static_cast<std::size_t>(id)].memory());
    assert(grid_size(run) <= seeded_blocks(run));
    void* rings = run.rings[static_cast<std::size_t>(id)].memory();
    void* arguments[] = {&number,          &seeds, &wmat,        &ring_size,
                         &islands_per_gpu, &rings, &kernel_ints, &device_state};
    launch_kernel(run.band.kernel, grid_size(run), run.band.threads(), stream, arguments);
    cuda_check(cudaEventRecord(stop, stream));
    cuda_check(cudaEventSynchronize(stop));
    cuda_check(cudaEventElapsedTime(&kernel_ms, start, stop));
    cuda_check(cudaEventDestroy(start));
    cuda_check(cudaEventDestroy(stop));
    cuda_check(cudaGetLastError());
}

void DEV_THREAD::destruct_func() {
    cuda_check(cudaSetDevice(id));
    assert(stream && control && wmat);
    cuda_check(cudaStreamDestroy(stream));
    cuda_check(cudaStreamDestroy(control));
    cuda_check(cudaFreeHost(raised));
    cuda_check(cudaFree(seeds));
    cuda_check(cudaFree(device_state));
    cuda_check(cudaFree(state_a));
    cuda_check(cudaFree(state_b));
    cuda_check(cudaFree(state_c));
    {
        // The matrix stays on the device for the next run.
        const std::lock_guard lock(run.band.session_mutex);
        run.band.session.storeDeviceCopy(id, wmat);
    }
    cuda_check(cudaFree(run.rings[static_cast<std::size_t>(id)].memory()));
}

// ---- all of them ---------------------------------------------------------------------------

DEV_THREADS::DEV_THREADS(GLOBAL_VARS& run, int gpus) : count(gpus) {
    assert(gpus >= 0);
    threads.reserve(static_cast<std::size_t>(gpus));
    for (int i = 0; i < gpus; ++i)
        threads.push_back(DEV_THREAD{.run = run, .id = i});
}

void DEV_THREADS::raise(std::uint8_t device::DeviceState::*flag) {
    for (DEV_THREAD& member : threads) {
        assert(member.device_state && member.control && *member.raised == 1);
        cuda_check(cudaSetDevice(member.id));
        cuda_check(cudaMemcpyAsync(&(member.device_state->*flag), member.raised, 1,
                                   cudaMemcpyHostToDevice, member.control));
        cuda_check(cudaStreamSynchronize(member.control));
    }
}

float DEV_THREADS::max_sec() const {
    float longest = 0.0f;
    for (const DEV_THREAD& member : threads)
        longest = std::max(longest, member.kernel_ms / 1000);
    return longest;
}

}  // namespace orvex::engine
