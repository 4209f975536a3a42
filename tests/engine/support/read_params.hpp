// The parameter map read into a run's fields, for a model of n variables and a band of some size,
// on a machine with two devices.
#pragma once

#include "engine/run_state.hpp"
#include "engine/support/runs.hpp"

namespace engine_tests {

/** A run whose parameters have been read. */
struct READ {
    orvex::Model model;
    orvex::Param param;
    orvex::Sol sol;
    orvex::engine::RUN_STATE run;
    orvex::device::GPU_PARAMS gpu{};

    static constexpr int BAND_SIZE = 1024;

    READ(int n, const orvex::Param& given, const orvex::Sol* start = nullptr)
        : model(n, 8),
          param(given),
          sol(n),
          run{.sol = &sol.impl(),
              .model = &model.impl(),
              .param = &param.impl(),
              .start = start ? &start->impl() : nullptr,
              .size = n} {
        run.available_gpus = 2;
        orvex::engine::read_params(run, gpu, BAND_SIZE);
    }
};

inline READ read(SETTINGS pairs, int n = 600) {
    return READ(n, settings(pairs));
}

}  // namespace engine_tests
