// The one table of parameters: what callers are told of a key, and beside it how a run reads it.
// Invariant: a key that is in the table is known to callers, checks and runs alike; none is known
// elsewhere.
#pragma once

#include <span>
#include <string_view>

#include "orvex/parameters.hpp"

#include "engine/device/records.hpp"
#include "engine/run_state.hpp"
#include "engine/values.hpp"

namespace orvex::engine {

/** Where settings go to. */
struct SETTINGS_TARGET {
    RUN_STATE& run;
    device::GPU_PARAMS& gpu_params;
    int band_size;
};

struct PARAMETER_ROW {
    Parameter told;
    /** Takes the value into its fields. What it cannot take ends the process. */
    void (*read)(const PARAM_ENTRY& kv, const SETTINGS_TARGET& target);
};

std::span<const PARAMETER_ROW> parameter_rows();

/** The row of a key, or null. */
const PARAMETER_ROW* find_parameter(std::string_view key);

}  // namespace orvex::engine
