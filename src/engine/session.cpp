#include "engine/session.hpp"

#include <cassert>
#include <utility>

#include "engine/band.hpp"
#include "engine/error_exit.hpp"

namespace orvex::engine {

using namespace platform;

void DeviceSession::clear() {
    for (std::size_t i = 0; i < device_wmat.size(); ++i) {
        if (!device_wmat[i]) continue;
        cuda_check(cudaSetDevice(static_cast<int>(i)));
        cuda_check(device_copy_destroy(device_wmat[i]));
    }
    if (host_wmat) cuda_check(cudaFreeHost(host_wmat));
    *this = DeviceSession{};
}

bool DeviceSession::holdsDeviceCopy(int gpu) const {
    const std::size_t index = static_cast<std::size_t>(gpu);
    return index < device_wmat.size() && device_wmat[index];
}

void* DeviceSession::takeDeviceCopy(int gpu) {
    assert(gpu >= 0);
    const std::size_t index = static_cast<std::size_t>(gpu);
    return index < device_wmat.size() ? std::exchange(device_wmat[index], nullptr) : nullptr;
}

void DeviceSession::storeDeviceCopy(int gpu, void* copy) {
    assert(gpu >= 0 && copy);
    const std::size_t index = static_cast<std::size_t>(gpu);
    if (index >= device_wmat.size()) device_wmat.resize(index + 1);
    assert(!device_wmat[index]);  // it would be lost
    device_wmat[index] = copy;
}

void drop_stale_session(BAND& band, const Model::Impl& model) {
    const std::lock_guard lock(band.session_mutex);
    if (band.session.model && !band.session.matches(model)) band.session.clear();
}

void* session_matrix(BAND& band, const Model::Impl& model) {
    const std::lock_guard lock(band.session_mutex);
    return band.session.matches(model) ? band.session.host_wmat : nullptr;
}

void store_session(BAND& band, const Model::Impl& model, void* host_wmat) {
    const std::lock_guard lock(band.session_mutex);
    assert(!band.session.model || band.session.matches(model));  // a stale one has been dropped
    band.session.model = &model;
    band.session.model_stamp = model.revision;
    assert(!host_wmat || !band.session.host_wmat);  // the old one would be lost
    if (host_wmat) band.session.host_wmat = host_wmat;
}

void* load_matrix(const BAND& band, const Model::Impl& model) {
    check_model_fits(model.size, band.size);
    void* wmat = nullptr;
    if (cudaMallocHost(&wmat, band.matrix_bytes) != cudaSuccess)
        error_exit("Insufficient GPU memory.");
    assert(wmat && band.load);
    band.load(wmat, model);
    return wmat;
}

void* make_device_copy(const BAND& band, void* host_wmat, const Model::Impl& model,
                       cudaStream_t stream) {
    assert(host_wmat && model.size <= band.size);
    void* copy = nullptr;
    const cudaError_t status =
        device_copy_create(&copy, band.kernel, host_wmat, &model, band.matrix_bytes, stream);
    if (status == cudaErrorMemoryAllocation) error_exit("Insufficient Host memory.");
    cuda_check(status);
    return copy;
}

}  // namespace orvex::engine
