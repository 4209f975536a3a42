// The search's speed on a GPU, as a table of sizes and flip rules. Needs a GPU.
//
//   orvex_gpu_speed [SIZE...]
//
// Each figure is shown beside what bounds it, measured in the same process:
//   * flips per second, and the bytes of matrix rows that they read per second;
//   * those bytes as a share of what a copy within device memory moves (bytes read plus written),
//     and of what blocks of the same shape reach that only read random rows of as large a matrix;
//   * the share of the time that the barriers of a step cost if nothing else is done;
//   * the share of the time that blocks wait for instances: what is lost against a run whose
//     instances are 16 times as long, for which they wait a sixteenth as often.
#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include <cuda_runtime_api.h>

#include <orvex/orvex.hpp>

#include "device_rates.hpp"
#include "engine/device/flip_rules.hpp"
#include "engine/device/records.hpp"
#include "engine/device/shape.hpp"
#include "engine/error_exit.hpp"
#include "needs_gpu.hpp"
#include "platform/cuda/runtime.hpp"

#define MEASURED(size)                                                                        \
    namespace qb##size##_32_32 {                                                              \
        struct WMAT;                                                                          \
        struct INST_t;                                                                        \
        void ORVEX(unsigned int, unsigned long*, WMAT&, unsigned int, unsigned char, INST_t*, \
                   int*, orvex::device::DeviceState*);                                        \
    }
#include "speed_sizes.inc"
#undef MEASURED

namespace {

using namespace orvex;

/** Barriers of a step: selection, flip and track, as in engine/device/cuda. 0: nobody counted. */
int barriersOf(device::ALGORITHM rule) {
    switch (rule) {
        case device::MAX_MIN:
            return 10;
        case device::POSITIVE_MIN:
            return 11;
        case device::CYCLIC_MIN:
        case device::RANDOM_MIN:
            return 8;
        case device::TWO_NEIGHBOR:
            return 6;
        default:
            return 0;
    }
}
constexpr double BYTES_PER_WEIGHT = 4;

struct RATES {
    double read;     ///< bytes of random rows per second
    double barrier;  ///< seconds
};

/** A model of `n` variables, as dense as it can be without making it for minutes. */
Model randomModel(int n) {
    std::mt19937_64 random(1);
    Model model(n, 8);
    const int stride = std::max(1, n / 4096);
    for (int i = 0; i < n; ++i)
        for (int j = i; j < n; j += stride)
            model.set(i, j, static_cast<long>(random() % 201) - 100);
    return model;
}

double flipsPerSecond(const Solver& solver, const Model& model, int n,
                      const device::FLIP_RULE& rule, int instance_length) {
    Param param;
    param.set("time_limit", "2");
    param.set("fix_algorithm", std::string(rule.name));
    param.set("search_cycles", std::to_string(n * instance_length) + " " + std::to_string(n / 5));
    const Sol solution = solver(model, param);
    return std::stod(solution.get("total_flips")) / std::stod(solution.get("kernel_time"));
}

void measure(int size, int blocks_resident, const cudaDeviceProp& device, double copy_rate) {
    const int threads = device::threads_of(size);
    const double row_bytes = size * BYTES_PER_WEIGHT;
    const RATES rates = {
        bench::rowReadRate(static_cast<std::size_t>(size * row_bytes),
                           static_cast<std::size_t>(row_bytes), threads, blocks_resident),
        bench::barrierSeconds(threads, blocks_resident)};
    std::printf(
        "\n%d variables: %d blocks of %d threads are resident, %d are launched; random rows"
        " are read at %.0f GB/s, a barrier takes %.0f ns\n\n",
        size, blocks_resident, threads,
        device.maxThreadsPerMultiProcessor / threads * device.multiProcessorCount, rates.read / 1e9,
        rates.barrier * 1e9);
    std::printf(
        "| rule | flips/s | rows GB/s | of a copy | of row reads | barriers | waiting |\n"
        "| --- | --- | --- | --- | --- | --- | --- |\n");
    const Model model = randomModel(size);
    Solver solver(false);
    solver.prepare(model, Param());
    for (const device::FLIP_RULE& rule : device::FLIP_RULES) {
        const double flips = flipsPerSecond(solver, model, size, rule, 1);
        const double bytes = flips * row_bytes;
        const double barriers = flips / blocks_resident * barriersOf(rule.number) * rates.barrier;
        std::printf("| %s | %.3e | %.0f | %.0f %% | %.0f %% | %.0f %% | ", rule.name.data(), flips,
                    bytes / 1e9, 100 * bytes / copy_rate, 100 * bytes / rates.read, 100 * barriers);
        if (rule.searches) {
            const double longer = flipsPerSecond(solver, model, size, rule, 16);
            std::printf("%.0f %% |\n", 100 * std::max(0.0, 1 - flips / longer) * 16 / 15);
        } else {
            std::printf("- |\n");
        }
        std::fflush(stdout);
    }
    solver.release();
}

}  // namespace

int main(int argc, char** argv) {
    needs_gpu();
    cudaDeviceProp device;
    cuda_check(cudaGetDeviceProperties(&device, 0));
    const double copy_rate = bench::copyRate();
    std::printf(
        "%s, %d multiprocessors, %.0f MB of L2; a copy within device memory moves %.0f GB/s\n",
        device.name, device.multiProcessorCount, device.l2CacheSize / 1e6, copy_rate / 1e9);

    const std::vector<std::string> wanted(argv + 1, argv + argc);
    const auto one = [&](int size, const void* kernel) {
        if (!wanted.empty() &&
            std::find(wanted.begin(), wanted.end(), std::to_string(size)) == wanted.end())
            return;
        int resident = 0;
        cuda_check(cudaOccupancyMaxActiveBlocksPerMultiprocessor(&resident, kernel,
                                                                 device::threads_of(size), 0));
        measure(size, resident * device.multiProcessorCount, device, copy_rate);
    };
#define MEASURED(size) one(size, platform::address_of(qb##size##_32_32::ORVEX));
#include "speed_sizes.inc"
#undef MEASURED
}
