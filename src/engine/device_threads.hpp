// The device threads: one per device and phase of a run. They own everything on their device,
// launch the kernel once, and hold a wait for it through the whole search.
#pragma once

#include <thread>
#include <vector>

#include "engine/device/records.hpp"
#include "engine/globals.hpp"
#include "engine/phase_threads.hpp"
#include "platform/platform.hpp"

namespace orvex::engine {

struct DEV_THREAD {
    GLOBAL_VARS& run;
    int id;
    std::thread thread{};  ///< of the present phase
    void* wmat = nullptr;  ///< the device's copy of the matrix
    platform::cudaStream_t stream = nullptr;
    platform::cudaStream_t control = nullptr;  ///< for what must reach a device at work
    unsigned long* seeds = nullptr;
    int* kernel_ints = nullptr;  ///< stays null; an argument of the kernel
    device::DeviceState* device_state = nullptr;
    int* state_a = nullptr;          ///< per island: lock over instance tickets
    int* state_b = nullptr;          ///< per island: lock over result tickets
    int* state_c = nullptr;          ///< per island: the two ticket counters
    std::uint8_t* raised = nullptr;  ///< page-locked: the 1 that is written into flags
    float kernel_ms = 0;

    void init_func();
    void copy_func();
    void kernel_func();
    void destruct_func();
};

struct DEV_THREADS {
    int count;
    std::vector<DEV_THREAD> threads;

    DEV_THREADS(GLOBAL_VARS& run, int gpus);

    void init() { start_phase(threads, &DEV_THREAD::init_func); }
    void copy() { start_phase(threads, &DEV_THREAD::copy_func); }
    void kernel() { start_phase(threads, &DEV_THREAD::kernel_func); }
    void destruct() { start_phase(threads, &DEV_THREAD::destruct_func); }
    void join() { join_phase(threads); }

    /** Raises the kill byte of every device: its blocks leave at once. Waits for no kernel. */
    void kill() { raise(&device::DeviceState::kill); }
    /** The run's time is up: blocks bring what they have to an end. Waits for no kernel. */
    void close() { raise(&device::DeviceState::closing); }

    /** Longest kernel in seconds. */
    float max_sec() const;

  private:
    void raise(std::uint8_t device::DeviceState::*flag);
};

/** Blocks of the launch on each device; can be more than `blocks_per_gpu` by rounding up. */
int grid_size(const RUN_STATE& run);

/** Blocks of a device that get a seed: all that are wanted and all that are launched. */
int seeded_blocks(const RUN_STATE& run);

/** Memory on the present device, or the end of the process. */
void allocate_on_device(void** memory, std::size_t bytes);

/** The shared-memory carve-out in force: ORVEX_CARVEOUT, or the run's if that is unset. */
int shared_memory_carveout(const RUN_STATE& run);

}  // namespace orvex::engine
