#include "engine/entry.hpp"

#include <algorithm>
#include <cassert>
#include <memory>
#include <string>

#include "engine/error_exit.hpp"
#include "engine/island.hpp"
#include "engine/main_program.hpp"

namespace orvex::engine {

using namespace platform;

namespace {

/** While it lives, the band points to the run; an exception of a callback ends that, too. */
class IN_PROGRESS {
  public:
    IN_PROGRESS(BAND& band, GLOBAL_VARS& run, device::GPU_PARAMS& parameters) : band_(band) {
        band.gv = &run;
        band.host_gp = &parameters;
    }
    ~IN_PROGRESS() {
        band_.gv = nullptr;
        band_.host_gp = nullptr;
    }
    IN_PROGRESS(const IN_PROGRESS&) = delete;
    IN_PROGRESS& operator=(const IN_PROGRESS&) = delete;

  private:
    BAND& band_;
};

}  // namespace

void solve(BAND& band, Sol::Impl& sol, const Model::Impl& model, const Param::Impl& param,
           const Sol::Impl* start) {
    int devices = 0;
    if (cudaGetDeviceCount(&devices) != cudaSuccess || devices == 0) error_exit("No GPU found.");
    assert(devices > 0 && band.load && band.kernel);
    drop_stale_session(band, model);
    assert(!band.gv);  // a band does one run at a time
    const auto run = std::make_unique<GLOBAL_VARS>(band, sol, model, param, start);
    run->available_gpus = devices;
    const auto device_parameters = std::make_unique<device::GPU_PARAMS>();
    const IN_PROGRESS in_progress(band, *run, *device_parameters);
    set_param(*run, *device_parameters);
    if (run->gpus == 0) run->gpus = run->available_gpus;

    assert(run->gpus <= devices);

    main_program(*run);
    assert(run->stop_code != -1);  // an overflow has ended the process

    store_session(band, model, run->owns_wmat ? run->wmat : nullptr);
    run->owns_wmat = false;
}

void prepare(BAND& band, const Model::Impl& model, const Param::Impl& param) {
    int devices = 0;
    cuda_check(cudaGetDeviceCount(&devices));
    if (const auto gpus = param.params.find("gpus"); gpus != param.params.end()) {
        const int wanted = std::stoi(gpus->second);
        if (wanted > 0) devices = std::min(devices, wanted);
    }
    drop_stale_session(band, model);
    void* const in_session = session_matrix(band, model);
    void* const host_wmat = in_session ? in_session : load_matrix(band, model);
    for (int i = 0; i < devices; ++i) {
        if (band.session.holdsDeviceCopy(i)) continue;
        cuda_check(cudaSetDevice(i));
        band.session.storeDeviceCopy(i, make_device_copy(band, host_wmat, model, nullptr));
    }
    store_session(band, model, in_session ? nullptr : host_wmat);
}

void release(BAND& band) {
    const std::lock_guard lock(band.session_mutex);
    band.session.clear();
}

}  // namespace orvex::engine
