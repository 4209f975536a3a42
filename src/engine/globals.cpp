#include "engine/globals.hpp"

#include <cassert>

#include "engine/error_exit.hpp"
#include "engine/island.hpp"

namespace orvex::engine {

using namespace platform;

GLOBAL_VARS::GLOBAL_VARS(BAND& of_band, Sol::Impl& result, const Model::Impl& problem,
                         const Param::Impl& settings, const Sol::Impl* start_solution)
    : RUN_STATE{.sol = &result,
                .model = &problem,
                .param = &settings,
                .start = start_solution,
                .size = problem.size},
      band(of_band),
      wmat(session_matrix(of_band, problem)) {
    if (wmat)
        owns_wmat = false;
    else
        wmat = load_matrix(band, problem);
    assert(wmat && size <= band.size);
}

GLOBAL_VARS::~GLOBAL_VARS() {
    if (owns_wmat && wmat) cuda_check(cudaFreeHost(wmat));
}

void set_param(GLOBAL_VARS& run, device::GPU_PARAMS& gpu_params) {
    assert(run.param && run.available_gpus > 0);
    read_params(run, gpu_params, run.band.size);
    assert(gpu_params.tabu_cycles <= 255 && run.pool_size >= 2);
}

}  // namespace orvex::engine
