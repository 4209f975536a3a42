// The kernel alone: its rings are filled with instances and stop marks before it is launched, so it
// runs to its end without the host, and what is measured or checked is the blocks and nothing else.
// That is also what profilers and sanitizers want, which may hold copies back while a kernel runs.
// Needs a GPU.
//
//   orvex_gpu_blocks [short] [BAND...]       BAND like 1024_32_32; all of blocks_bands.inc if none
//
// Every result is scored again on the device, from the matrix alone. `short` runs a few blocks on a
// few instances and prints no speeds.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <cuda_runtime.h>

#include "engine/device/records.hpp"
#include "engine/device/shape.hpp"
#include "engine/device/xor_shift.hpp"
#include "engine/error_exit.hpp"
#include "needs_gpu.hpp"

namespace {

using namespace orvex::device;

constexpr const char* RULES[] = {"MaxMin", "PositiveMin", "CyclicMin", "RandomMin", "TwoNeighbor"};

template <class X>
class DEVICE_ARRAY {
  public:
    explicit DEVICE_ARRAY(std::size_t count) : bytes(count * sizeof(X)) {
        cuda_check(cudaMalloc(&data, bytes));
        cuda_check(cudaMemset(data, 0, bytes));
    }
    ~DEVICE_ARRAY() { cuda_check(cudaFree(data)); }
    DEVICE_ARRAY(const DEVICE_ARRAY&) = delete;
    DEVICE_ARRAY& operator=(const DEVICE_ARRAY&) = delete;
    void load(const void* from) {
        cuda_check(cudaMemcpy(data, from, bytes, cudaMemcpyHostToDevice));
    }
    void store(void* to) const { cuda_check(cudaMemcpy(to, data, bytes, cudaMemcpyDeviceToHost)); }
    X* data = nullptr;
    const std::size_t bytes;
};

// ---- a dense random problem, made where it is needed ---------------------------------------

__device__ int weight_of(unsigned i, unsigned j) {
    const unsigned long low = i < j ? i : j, high = i < j ? j : i;
    unsigned long x = (low << 20 | high) * 0x9E3779B97F4A7C15u + 0x1234567;
    x = xor_shift(xor_shift(x) * 0xBF58476D1CE4E5B9u);
    return static_cast<int>((x >> 20) % 201) - 100;
}

template <class E>
__global__ void fillMatrix(E* record, int size) {
    const SHAPE shape(size);
    const unsigned row = blockIdx.x;
    for (int column = static_cast<int>(threadIdx.x); column < size;
         column += static_cast<int>(blockDim.x)) {
        const unsigned bit = static_cast<unsigned>(shape.bit(column));
        record[static_cast<std::size_t>(row) * size + column] = weight_of(row, bit);
        if (row == 0) record[static_cast<std::size_t>(size) * size + column] = weight_of(bit, bit);
    }
}

/** A block of threads for each result: its energy from the bits, less the energy that it claims. */
template <class E>
__global__ void scoreResults(const E* record, int size, const unsigned char* slots,
                             long long* differences) {
    const SHAPE shape(size);
    const unsigned char* const slot = slots + blockIdx.x * instance_bytes(size);
    const auto one = [&](int bit) { return (slot[8 + bit / 8] >> bit % 8 & 1) != 0; };
    long long sum = 0;
    for (int j = static_cast<int>(threadIdx.x); j < size; j += static_cast<int>(blockDim.x)) {
        if (!one(j)) continue;
        for (int i = 0; i <= j; ++i)
            if (one(i)) sum += record[static_cast<std::size_t>(i) * size + shape.place(j)];
    }
    if (threadIdx.x == 0) sum -= *reinterpret_cast<const long long*>(slot);
    atomicAdd(reinterpret_cast<unsigned long long*>(differences + blockIdx.x),
              static_cast<unsigned long long>(sum));
}

// ---- one launch ----------------------------------------------------------------------------

struct LOAD {
    int blocks;
    int per_block;  ///< instances
    std::uint32_t budget, steps;
    std::int8_t rule;  ///< below 0: all in turn
};

struct OUTCOME {
    double seconds;
    double flips;
    int results, wrong;
};

template <class E>
OUTCOME launch(const void* kernel, int size, const E* matrix, const LOAD& load) {
    const int threads = threads_of(size);
    const int instances = load.blocks * load.per_block;
    const unsigned ring_size = static_cast<unsigned>(instances + load.blocks);
    const std::size_t bytes = instance_bytes(size);
    std::vector<unsigned char> ring(2 * ring_size * bytes);
    unsigned long state = 88172645463325252;
    const auto draw = [&] { return state = xor_shift(state); };
    std::vector<unsigned char> base(static_cast<std::size_t>(size) / 8);
    for (unsigned char& byte : base)
        byte = static_cast<unsigned char>(draw() >> 24);
    for (unsigned i = 0; i < ring_size; ++i) {
        unsigned char* const slot = ring.data() + i * bytes;
        INST_TAIL tail{};
        tail.ticket = STOP_TICKET;
        if (i < static_cast<unsigned>(instances)) {
            std::memcpy(slot + 8, base.data(), base.size());
            for (int k = 0; k < size / 16; ++k) {
                const unsigned bit =
                    static_cast<unsigned>(draw() >> 24) % static_cast<unsigned>(size);
                slot[8 + bit / 8] ^= static_cast<unsigned char>(1u << bit % 8);
            }
            tail.ticket = i + 1;
            tail.cycles = load.budget;
            tail.annealing = load.steps;
            tail.algorithm = load.rule < 0 ? static_cast<std::int8_t>(i % 5) : load.rule;
            tail.generation = 1;
        }
        std::memcpy(slot + size / 8 + 8, &tail, sizeof(tail));
    }
    DEVICE_ARRAY<unsigned char> rings(ring.size());
    rings.load(ring.data());
    std::vector<unsigned long> seed_values(static_cast<std::size_t>(load.blocks) * threads);
    for (unsigned long& seed : seed_values)
        seed = draw();
    DEVICE_ARRAY<unsigned long> seeds(seed_values.size());
    seeds.load(seed_values.data());
    DEVICE_ARRAY<int> words(4);
    DEVICE_ARRAY<DeviceState> state_record(1);
    DeviceState image{};
    image.state_a = words.data;
    image.state_b = words.data + 1;
    image.state_c = words.data + 2;
    state_record.load(&image);

    cudaEvent_t start, stop;
    cuda_check(cudaEventCreate(&start));
    cuda_check(cudaEventCreate(&stop));
    unsigned id = 0, ring_argument = ring_size;
    unsigned char islands = 1;
    int* kernel_ints = nullptr;
    void* arguments[] = {&id,      &seeds.data, &matrix,      &ring_argument,
                         &islands, &rings.data, &kernel_ints, &state_record.data};
    cuda_check(cudaDeviceSynchronize());
    cuda_check(cudaEventRecord(start));
    cuda_check(cudaLaunchKernel(kernel, dim3(static_cast<unsigned>(load.blocks)),
                                dim3(static_cast<unsigned>(threads)), arguments, 0, nullptr));
    cuda_check(cudaEventRecord(stop));
    cuda_check(cudaDeviceSynchronize());
    float milliseconds = 0;
    cuda_check(cudaEventElapsedTime(&milliseconds, start, stop));
    cuda_check(cudaEventDestroy(start));
    cuda_check(cudaEventDestroy(stop));

    rings.store(ring.data());
    OUTCOME outcome{milliseconds / 1e3, 0, 0, 0};
    for (int i = 0; i < instances; ++i) {
        INST_TAIL tail;
        std::memcpy(&tail,
                    ring.data() + (ring_size + static_cast<unsigned>(i)) * bytes + size / 8 + 8,
                    sizeof(tail));
        outcome.flips += tail.cycles;
        outcome.results += tail.ticket == i + 1 && tail.overflow == 0;
    }
    const int scored = size > 16384 ? std::min(instances, 132) : instances;
    DEVICE_ARRAY<long long> differences(static_cast<std::size_t>(scored));
    scoreResults<<<static_cast<unsigned>(scored), 256>>>(
        matrix, size, rings.data + ring_size * bytes, differences.data);
    cuda_check(cudaGetLastError());
    std::vector<long long> apart(static_cast<std::size_t>(scored));
    differences.store(apart.data());
    for (long long difference : apart)
        outcome.wrong += difference != 0;
    return outcome;
}

/** False if a result was missing or wrong. */
template <class E>
bool measure(const char* band, int size, const void* kernel, bool brief) {
    const int threads = threads_of(size);
    cudaDeviceProp device;
    cuda_check(cudaGetDeviceProperties(&device, 0));
    cudaFuncAttributes attributes;
    cuda_check(cudaFuncGetAttributes(&attributes, kernel));
    int fit = 0;
    cuda_check(cudaOccupancyMaxActiveBlocksPerMultiprocessor(&fit, kernel, threads, 0));
    DEVICE_ARRAY<E> matrix(static_cast<std::size_t>(size) * (size + 1) + 8);
    fillMatrix<<<static_cast<unsigned>(size), 256>>>(matrix.data, size);
    cuda_check(cudaMemcpy(matrix.data + static_cast<std::size_t>(size) * (size + 1), &size,
                          sizeof(size), cudaMemcpyHostToDevice));
    cuda_check(cudaDeviceSynchronize());

    bool sound = true;
    const auto report = [&](const char* rule, const OUTCOME& outcome, int instances, int resident) {
        const bool good = outcome.results == instances && outcome.wrong == 0;
        sound &= good;
        if (brief)
            std::printf("%s %s: %d results, %d missing, %d wrong\n", band, rule, outcome.results,
                        instances - outcome.results, outcome.wrong);
        else
            std::printf("| %s | %d | %zu | %d | %s | %.3e | %.0f | %.0f | %.2f |%s\n", band,
                        attributes.numRegs, attributes.localSizeBytes, fit, rule,
                        outcome.flips / outcome.seconds,
                        outcome.flips / outcome.seconds * size * sizeof(E) / 1e9,
                        1e9 * outcome.seconds * resident / outcome.flips, outcome.seconds,
                        good ? "" : " WRONG");
        std::fflush(stdout);
    };
    if (brief) {
        const std::uint32_t steps = size > 2048 ? 8 : 20;
        report("all rules", launch(kernel, size, matrix.data, {2, 5, 2 * steps, steps, -1}), 10, 2);
        return sound;
    }
    const int resident = fit * device.multiProcessorCount;
    for (std::int8_t rule = 0; rule < 5; ++rule) {
        const std::uint32_t steps = static_cast<std::uint32_t>(std::min(size / 5, 2000));
        const LOAD load = {resident, std::max(2, 40000 / size),
                           static_cast<std::uint32_t>(std::min(size, 4096)), steps, rule};
        report(RULES[rule], launch(kernel, size, matrix.data, load), load.blocks * load.per_block,
               resident);
    }
    return sound;
}

}  // namespace

#define BLOCKS(size, matrix, arith)                                                           \
    namespace qb##size##_##matrix##_##arith {                                                 \
        struct WMAT;                                                                          \
        struct INST_t;                                                                        \
        void ORVEX(unsigned int, unsigned long*, WMAT&, unsigned int, unsigned char, INST_t*, \
                   int*, orvex::device::DeviceState*);                                        \
    }
#include "blocks_bands.inc"
#undef BLOCKS

int main(int argc, char** argv) {
    needs_gpu();
    std::vector<std::string> wanted(argv + 1, argv + argc);
    const bool brief = !wanted.empty() && wanted[0] == "short";
    if (brief) wanted.erase(wanted.begin());
    if (!brief)
        std::printf(
            "| band | registers | local bytes | blocks an SM | rule | flips/s | rows GB/s | "
            "ns a step of a block | seconds |\n| --- | --- | --- | --- | --- | --- | --- | --- | "
            "--- |\n");
    bool sound = true;
#define BLOCKS(size, matrix, arith)                                                            \
    if (wanted.empty() ||                                                                      \
        std::find(wanted.begin(), wanted.end(), #size "_" #matrix "_" #arith) != wanted.end()) \
        sound &= measure<std::int##matrix##_t>(                                                \
            #size "_" #matrix "_" #arith, size,                                                \
            reinterpret_cast<const void*>(qb##size##_##matrix##_##arith::ORVEX), brief);
#include "blocks_bands.inc"
#undef BLOCKS
    std::printf("%s\n", sound ? "all results are sound" : "RESULTS ARE WRONG");
    return sound ? 0 : 1;
}
