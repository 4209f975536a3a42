#include "engine/run_state.hpp"

#include <algorithm>
#include <cassert>
#include <cstdarg>
#include <cstdio>
#include <string>

#include "engine/device/formulas.hpp"
#include "engine/error_exit.hpp"
#include "engine/names.hpp"
#include "engine/values.hpp"

namespace orvex::engine {

namespace {

std::int8_t algorithm_named(const std::string& value) {
    const int index = find_name(ALGORITHM_TABLE, value);
    if (index < 0) error_exit("Algorithm [" + value + "] not found.");
    return static_cast<std::int8_t>(index);
}

std::int8_t instance_named(const std::string& value) {
    const int index = find_name(INSTANCE_TABLE, value);
    if (index < 0) error_exit("Instance [" + value + "] not found.");
    return static_cast<std::int8_t>(index);
}

void read_entry(const PARAM_ENTRY& kv, RUN_STATE& run, device::GPU_PARAMS& gpu_params,
                int band_size) {
    const std::string& key = kv.first;
    const std::string& value = kv.second;
    if (key == "arithmetic_bits") {
        // has chosen the band already
    } else if (key == "time_limit") {
        parse_param(kv, run.time_limit);
    } else if (key == "target_energy") {
        parse_param(kv, run.target_energy);
    } else if (key == "verbose") {
        parse_param(kv, run.verbose);
    } else if (key == "gpus") {
        parse_param(kv, run.gpus);
        if (run.gpus <= 0 || run.gpus > run.available_gpus)
            error_exit("gpus(" + std::to_string(run.gpus) + ") is wrong (vailable gpus(" +
                       std::to_string(run.available_gpus) + "))");
    } else if (key == "blocks_per_island") {
        parse_param(kv, run.blocks_per_island);
    } else if (key == "islands_per_gpu") {
        parse_param(kv, run.islands_per_gpu);
    } else if (key == "pool_size") {
        parse_param(kv, run.pool_size);
        if (run.pool_size < 2) error_exit("pool_size must be at least 2.");
    } else if (key == "best_priority") {
        parse_param(kv, run.best_priority);
    } else if (key == "trial_limit") {
        parse_param(kv, run.trial_limit);
    } else if (key == "expected_energy") {
        run.energy_width = static_cast<int>(value.length());
    } else if (key == "annealing_factor") {
        parse_param(kv, run.annealing_factor);
    } else if (key == "batch_factor") {
        parse_param(kv, run.batch_factor);
        run.batch_cycles = cycles_of(run.batch_factor, band_size);
    } else if (key == "search_cycles") {
        parse_param(kv, run.batch_cycles, run.annealing_cycles);
    } else if (key == "search_cycles_factor") {
        parse_param(kv, run.batch_factor, run.annealing_factor);
    } else if (key == "restart_t0") {
        parse_param(kv, run.restart_t0);
    } else if (key == "restart_b") {
        parse_param(kv, run.restart_b);
    } else if (key == "restart_duration") {
        parse_param(kv, run.restart_t0, run.restart_b);
    } else if (key == "restart_nobest") {
        parse_param(kv, run.restart_t0, run.restart_nobest);
    } else if (key == "log") {
        parse_param(kv, run.log);
    } else if (key == "solution_proximity") {
        parse_param(kv, run.solution_proximity);
    } else if (key == "inst_zero") {
        parse_param(kv, run.inst_zero);
    } else if (key == "inst_one") {
        parse_param(kv, run.inst_one);
    } else if (key == "exp_popcount") {
        parse_param(kv, run.exp_popcount);
    } else if (key == "fix_algorithm") {
        run.fix_algorithm = algorithm_named(value);
    } else if (key == "exclude_algorithm") {
        run.exclude_algorithm = algorithm_named(value);
    } else if (key == "fix_instance") {
        run.fix_instance = instance_named(value);
    } else if (key == "tabu_cycles") {
        int tabu_cycles = 0;
        parse_param(kv, tabu_cycles);
        gpu_params.tabu_cycles = static_cast<std::uint32_t>(tabu_cycles);
        if (gpu_params.tabu_cycles > 255) error_exit("tabu_cycles must range from 0 to 255.");
    } else if (key == "hash_table") {
        int hash_table = 0;
        parse_param(kv, hash_table);
        gpu_params.hash_table = hash_table != 0;
    } else {
        error_exit("Parameter key not found : \"" + key + "\"");
    }
}

}  // namespace

int cycles_of(float factor, int size) {
    assert(size >= 0);
    return device::cut_to<std::int32_t>(static_cast<float>(size) * factor);
}

void read_params(RUN_STATE& run, device::GPU_PARAMS& gpu_params, int band_size) {
    for (const PARAM_ENTRY& kv : run.param->params)
        read_entry(kv, run, gpu_params, band_size);

    if (run.start)
        for (const auto& [key, value] : run.start->attrs)
            if (key == "bound")
                run.target_energy = std::max<long>(run.target_energy, std::stoll(value));

    run.callback = run.param->callback;
    if (run.callback && run.callback->impl().solution.impl().bits != run.size)
        run.callback->impl().solution = Sol(run.size);
    run.hint_ready = run.callback && run.callback->impl().hint_ready;

    if (run.annealing_cycles == 0) run.annealing_cycles = cycles_of(run.annealing_factor, run.size);
    run.annealing_cycles = std::max(run.annealing_cycles, LEAST_ANNEALING_CYCLES);
    if (run.batch_cycles == 0) run.batch_cycles = cycles_of(run.batch_factor, run.size);
    run.batch_cycles = std::max(run.batch_cycles, LEAST_BATCH_CYCLES);
    if (run.solution_proximity < 0) run.solution_proximity = run.size / 100;
    assert(run.pool_size >= 2 && run.solution_proximity >= 0);
    assert(run.fix_algorithm < ALGORITHMS && run.exclude_algorithm < ALGORITHMS);
    assert(run.fix_instance < GENERATORS);
}

void write_stderr(const RUN_STATE& run, int level, const char* format, ...) {
    if (run.verbose < level) return;
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
}

}  // namespace orvex::engine
