#include "engine/run_state.hpp"

#include <algorithm>
#include <cassert>
#include <cstdarg>
#include <cstdio>
#include <string>

#include "engine/device/formulas.hpp"
#include "engine/error_exit.hpp"
#include "engine/names.hpp"
#include "engine/parameter_table.hpp"

namespace orvex::engine {

int cycles_of(float factor, int size) {
    assert(size >= 0);
    return device::cut_to<std::int32_t>(static_cast<float>(size) * factor);
}

void read_params(RUN_STATE& run, device::GPU_PARAMS& gpu_params, int band_size) {
    for (const PARAM_ENTRY& kv : run.param->params) {
        const PARAMETER_ROW* const row = find_parameter(kv.first);
        if (!row) error_exit("Parameter key not found : \"" + kv.first + "\"");
        row->read(kv, {run, gpu_params, band_size});
    }

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
