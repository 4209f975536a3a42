#include <algorithm>
#include <cstdint>

#include <cuda_runtime.h>

#include "device_rates.hpp"
#include "engine/error_exit.hpp"

namespace orvex::bench {

namespace {

/** Seconds of the fastest of ten launches. */
template <class LAUNCH>
double fastest(LAUNCH launch) {
    cudaEvent_t start, stop;
    cuda_check(cudaEventCreate(&start));
    cuda_check(cudaEventCreate(&stop));
    float best = 1e30f;
    for (int i = 0; i < 10; ++i) {
        cuda_check(cudaEventRecord(start));
        launch();
        cuda_check(cudaGetLastError());
        cuda_check(cudaEventRecord(stop));
        cuda_check(cudaEventSynchronize(stop));
        float milliseconds = 0;
        cuda_check(cudaEventElapsedTime(&milliseconds, start, stop));
        best = std::min(best, milliseconds);
    }
    cuda_check(cudaEventDestroy(start));
    cuda_check(cudaEventDestroy(stop));
    return best / 1000;
}

class DEVICE_BYTES {
  public:
    explicit DEVICE_BYTES(std::size_t count) { cuda_check(cudaMalloc(&address, count)); }
    ~DEVICE_BYTES() { cuda_check(cudaFree(address)); }
    DEVICE_BYTES(const DEVICE_BYTES&) = delete;
    DEVICE_BYTES& operator=(const DEVICE_BYTES&) = delete;
    void* address = nullptr;
};

__global__ void readRows(const std::uint32_t* memory, std::uint32_t rows, std::uint32_t row_words,
                         int reads, std::uint32_t* sums) {
    std::uint32_t row = blockIdx.x * 2654435761u;
    std::uint32_t sum = 0;
    for (int i = 0; i < reads; ++i) {
        row = row * 1664525u + 1013904223u;
        const std::uint32_t* const from =
            memory + static_cast<std::size_t>((row >> 8) % rows) * row_words;
#pragma unroll 8
        for (std::uint32_t k = threadIdx.x; k < row_words; k += blockDim.x)
            sum += __ldg(from + k);
    }
    sums[blockIdx.x * blockDim.x + threadIdx.x] = sum;
}

__global__ void meetOften(int times) {
    for (int i = 0; i < times; ++i)
        __syncthreads();
}

}  // namespace

double copyRate() {
    constexpr std::size_t BYTES = std::size_t{1} << 30;
    const DEVICE_BYTES from(BYTES), to(BYTES);
    const double seconds = fastest([&] {
        cuda_check(cudaMemcpyAsync(to.address, from.address, BYTES, cudaMemcpyDeviceToDevice));
    });
    return 2.0 * static_cast<double>(BYTES) / seconds;
}

double rowReadRate(std::size_t bytes, std::size_t row_bytes, int threads, int blocks) {
    const DEVICE_BYTES memory(bytes);
    const DEVICE_BYTES sums(static_cast<std::size_t>(threads) * static_cast<std::size_t>(blocks) *
                            sizeof(std::uint32_t));
    cuda_check(cudaMemset(memory.address, 1, bytes));
    const int reads =
        static_cast<int>(std::max<std::size_t>(16, (std::size_t{4} << 20) / row_bytes));
    const double seconds = fastest([&] {
        readRows<<<static_cast<unsigned>(blocks), static_cast<unsigned>(threads)>>>(
            static_cast<const std::uint32_t*>(memory.address),
            static_cast<std::uint32_t>(bytes / row_bytes),
            static_cast<std::uint32_t>(row_bytes / sizeof(std::uint32_t)), reads,
            static_cast<std::uint32_t*>(sums.address));
    });
    return static_cast<double>(row_bytes) * reads * blocks / seconds;
}

double barrierSeconds(int threads, int blocks) {
    constexpr int TIMES = 100000;
    return fastest([&] {
               meetOften<<<static_cast<unsigned>(blocks), static_cast<unsigned>(threads)>>>(TIMES);
           }) /
           TIMES;
}

}  // namespace orvex::bench
