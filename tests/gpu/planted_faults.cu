// One planted fault for each tool of compute-sanitizer, to prove that the tool sees. Needs a GPU.
//
//   orvex_gpu_planted_faults none | memcheck | racecheck | synccheck | initcheck
//
// The status is 0 if the kernel was launched, fault or not, so that only the tool's verdict counts.
#include <cstdio>
#include <string>

#include "needs_gpu.hpp"

namespace {

constexpr int THREADS = 64;

__global__ void writesOwnCell(int* memory, int offset) {
    memory[offset + static_cast<int>(threadIdx.x)] = 1;
}

__global__ void readsWithoutABarrier(int* memory) {
    __shared__ int cells[THREADS];
    cells[threadIdx.x] = static_cast<int>(threadIdx.x);
    memory[threadIdx.x] = cells[THREADS - 1 - threadIdx.x];
}

__global__ void meetsInHalfAWarp(int* memory) {
    if (threadIdx.x % 32 < 16) __syncthreads();
    memory[threadIdx.x] = 1;
}

__global__ void readsWhatNobodyWrote(int* memory) {
    memory[threadIdx.x] += 1;
}

}  // namespace

int main(int argc, char** argv) {
    needs_gpu();
    const std::string fault = argc == 2 ? argv[1] : "";
    int* memory = nullptr;
    if (cudaMalloc(&memory, THREADS * sizeof(int)) != cudaSuccess) return 2;
    if (fault == "none")
        writesOwnCell<<<1, THREADS>>>(memory, 0);
    else if (fault == "memcheck")
        writesOwnCell<<<1, THREADS>>>(memory, THREADS / 2);  // half of them beyond the end
    else if (fault == "racecheck")
        readsWithoutABarrier<<<1, THREADS>>>(memory);
    else if (fault == "synccheck")
        meetsInHalfAWarp<<<1, THREADS>>>(memory);
    else if (fault == "initcheck")
        readsWhatNobodyWrote<<<1, THREADS>>>(memory);
    else
        return 2;
    cudaDeviceSynchronize();
    std::printf("planted: %s\n", fault.c_str());
}
