#include "orvex/plan.hpp"

#include <algorithm>

#include "engine/device/footprint.hpp"
#include "engine/sizing.hpp"
#include "front/bands.hpp"
#include "platform/platform.hpp"

namespace orvex {
namespace {

using namespace orvex::platform;

int device_count() {
    int count = 0;
    return cudaGetDeviceCount(&count) == cudaSuccess ? count : 0;
}

/** Program, libraries, threads: what the smallest run takes at most. */
constexpr std::uint64_t BYTES_OF_ANY_RUN = std::uint64_t{64} << 20;

/** Blocks and islands by the properties of the last device, as a run takes them. */
engine::RUN_SHAPE shape_of_run(const PlanRequest& request, int gpus, int threads) {
    cudaDeviceProp device{};
    if (gpus == 0 || cudaGetDeviceProperties(&device, gpus - 1) != cudaSuccess) return {};
    const engine::RUN_SHAPE shape = engine::sized(
        {.islands_per_gpu = request.islands_per_gpu,
         .blocks_per_island = request.blocks_per_island},
        gpus, device.maxThreadsPerMultiProcessor / threads, device.multiProcessorCount);
    return engine::can_be_launched(shape, gpus) ? shape : engine::RUN_SHAPE{};
}

}  // namespace

std::vector<Device> devices() {
    std::vector<Device> found;
    for (int i = 0; i < device_count(); ++i) {
        cudaDeviceProp properties{};
        if (cudaGetDeviceProperties(&properties, i) != cudaSuccess) break;
        found.push_back(
            {properties.name, properties.multiProcessorCount, properties.totalGlobalMem});
    }
    return found;
}

std::optional<Plan> plan_run(const PlanRequest& request) {
    const int asked = request.arithmetic_bits != 0 ? request.arithmetic_bits
                      : request.matrix_bits == 64  ? 64
                                                   : 32;
    const qubo_multi::Band* const band = qubo_multi::smallest_band(
        qubo_multi::band_table(), request.size, request.matrix_bits, asked);
    if (band == nullptr) return std::nullopt;

    const int there = device_count();
    const int gpus = request.gpus == 0 ? there : std::min(request.gpus, there);
    const int threads = device::threads_of(band->size);
    const engine::RUN_SHAPE shape = shape_of_run(request, gpus, threads);
    const auto islands = static_cast<std::uint64_t>(shape.islands_per_gpu);
    const std::uint64_t blocks = islands * static_cast<std::uint64_t>(shape.blocks_per_island);
    const device::ROW_STATISTICS statistics{.widest = request.rows.largest,
                                            .entries = request.rows.entries,
                                            .reach = request.rows.largest_row_sum};
    const device::FOOTPRINT footprint =
        device::footprint(statistics, band->size, band->matrix_bits, band->arith_bits, blocks);

    const auto devices_taken = static_cast<std::uint64_t>(gpus);
    const std::uint64_t pools = islands *
                                static_cast<std::uint64_t>(std::max(request.pool_size, 0)) *
                                device::instance_bytes(band->size);
    return Plan{.size = band->size,
                .matrix_bits = band->matrix_bits,
                .arithmetic_bits = band->arith_bits,
                .devices = gpus,
                .islands = shape.islands_per_gpu,
                .blocks_per_island = shape.blocks_per_island,
                .threads_per_block = threads,
                .rows = device::form_name(footprint.form, band->matrix_bits),
                .delta_bits = footprint.delta_bits,
                .matrix_bytes = footprint.record_bytes,
                .rows_bytes = devices_taken * footprint.rows_bytes,
                .search_bytes = BYTES_OF_ANY_RUN +
                                devices_taken * (pools + blocks * footprint.host_bytes_of_block),
                .device_bytes = footprint.device_bytes};
}

}  // namespace orvex
