// The run state as far as it is the same in all bands, and the place where parameters get in. A
// band's GLOBAL_VARS is this and what is made of the band's own types.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "orvex/callback.hpp"
#include "orvex/model.hpp"
#include "orvex/param.hpp"
#include "orvex/sol.hpp"

#include "engine/device/records.hpp"
#include "engine/restart_clock.hpp"
#include "platform/platform.hpp"

namespace orvex::engine {

/** The target that no energy reaches. */
inline constexpr long NO_TARGET = std::numeric_limits<long>::min();

struct RUN_STATE {
    Sol::Impl* sol;            ///< where the result goes
    const Model::Impl* model;  ///< the problem
    const Param::Impl* param;  ///< the parameters
    const Sol::Impl* start;    ///< optional start solution, or null
    int stop_code = 0;         ///< 1: time limit or "abort"; -1: overflow. Polled without a lock
    bool killed = false;       ///< threads leave at once. Polled without a lock
    platform::cudaDeviceProp prop{};  ///< of the device queried last
    int size;                         ///< variables of the model
    int gpus = 0;                     ///< devices used; 0 means all available
    int available_gpus = 0;
    int blocks_per_sm = 0;      ///< blocks that a multiprocessor holds
    int blocks_per_gpu = 0;     ///< blocks wanted on a device
    int ring_size = 0;          ///< slots of each island ring
    int blocks_per_island = 0;  ///< 0 means computed
    int pool_size = 100;
    long trial_limit = 0;     ///< most instances sent; 0 means no limit
    int islands_per_gpu = 0;  ///< 0 means computed
    int islands = 0;
    int all_threads = 0;
    float annealing_factor = 0.2f;
    float batch_factor = 1.0f;
    int batch_cycles = 0;      ///< flip budget of an instance; callbacks may change it
    int annealing_cycles = 0;  ///< steps of one search; callbacks may change it
    int energy_width = 0;      ///< width of an energy in the progress line
    long target_energy = NO_TARGET;
    std::int8_t fix_algorithm = -1;
    std::int8_t exclude_algorithm = -1;
    std::int8_t fix_instance = -1;
    short verbose = 0;
    unsigned int time_limit = 0;  ///< seconds; 0 means none
    int random_and_rounds = 0;
    int cross_and_rounds = 1;
    std::uint8_t kernel_flag = 0;
    int carveout = 0;
    int keep_islands = 0;     ///< islands whose pool survives a restart
    int restart_islands = 0;  ///< the others
    int best_priority = 0;
    int solution_proximity = -1;  ///< Hamming radius of a pool; negative means size / 100
    bool log = false;
    float restart_t0 = 1.0f;
    float restart_b = 2.0f;
    float restart_nobest = 0.25f;
    int exp_popcount = 0;  ///< stored; nothing reads it
    int inst_zero = 3;
    int inst_one = 3;
    std::vector<unsigned long> seeds{};  ///< one per thread of every block, all devices
    Callback* callback = nullptr;        ///< not owned
    bool hint_ready = false;             ///< the callback's, for readers without its lock
};

/** Floors of the cycle counts, wherever they come from. */
inline constexpr int LEAST_BATCH_CYCLES = 100;
inline constexpr int LEAST_ANNEALING_CYCLES = 20;

/** A count of cycles from a factor: size * factor, cut towards zero. */
int cycles_of(float factor, int size);

/**
 * Reads the parameter map, the start solution's "bound" and the callback into the run state and the
 * device's parameters. A bad entry ends the process. `band_size` is the scale of `batch_factor`.
 */
void read_params(RUN_STATE& run, device::GPU_PARAMS& gpu_params, int band_size);

/** printf to the standard error stream, if the run is at least that verbose. */
[[gnu::format(printf, 3, 4)]] void write_stderr(const RUN_STATE& run, int level, const char* format,
                                                ...);

}  // namespace orvex::engine
