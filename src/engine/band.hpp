// What the engine, which is compiled once, knows of a band: its numbers, its kernel, how its matrix
// is loaded, and what it alone keeps. Each band's namespace holds one BAND, so no two bands share
// any state of a run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>

#include "orvex/model.hpp"

#include "engine/device/records.hpp"
#include "engine/device/shape.hpp"
#include "engine/matrix.hpp"
#include "engine/session.hpp"
#include "platform/platform.hpp"

namespace orvex::engine {

struct GLOBAL_VARS;

struct BAND {
    int size;                  ///< S: bits of the band
    int matrix_bits;           ///< M: width of a matrix element
    int arith_bits;            ///< A: width of energies and deltas on the device
    std::size_t matrix_bytes;  ///< of the matrix record
    platform::KERNEL_HANDLE kernel;
    const void* device_gp;  ///< names the constant of the kernel in copies to it
    /** Begins a matrix record: from the model in full, unless device copies fill it. */
    void (*load)(void* wmat, const Model::Impl& model);

    int words() const { return size / 64; }
    int threads() const { return device::threads_of(size); }

    GLOBAL_VARS* gv = nullptr;              ///< the run in progress
    device::GPU_PARAMS* host_gp = nullptr;  ///< the device parameters of the run
    DeviceSession session{};
    std::mutex session_mutex{};
    std::mutex restart_mtx{};     ///< guards the period fields of the restart clock
    std::mutex allbest_mtx{};     ///< all-time best and the progress line
    std::mutex callback_mutex{};  ///< one user callback at a time
};

}  // namespace orvex::engine
