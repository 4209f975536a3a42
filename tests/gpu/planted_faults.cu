// One planted fault for each tool of compute-sanitizer, to prove that the tool sees. Needs a GPU.
//
//   orvex_gpu_planted_faults memcheck | racecheck | synccheck | initcheck
#include <cstdio>
#include <string>

namespace {

__global__ void beyondTheEnd(int* memory, int count) {
    memory[count + static_cast<int>(threadIdx.x)] = 1;
}

__global__ void withoutABarrier(int* memory) {
    __shared__ int cells[64];
    cells[threadIdx.x] = static_cast<int>(threadIdx.x);
    memory[threadIdx.x] = cells[63 - threadIdx.x];
}

__global__ void divergentBarrier(int* memory) {
    if (threadIdx.x % 32 < 16) __syncthreads();
    memory[threadIdx.x] = 1;
}

__global__ void readsWhatNobodyWrote(const int* from, int* memory) {
    memory[threadIdx.x] = from[threadIdx.x];
}

}  // namespace

int main(int argc, char** argv) {
    const std::string tool = argc == 2 ? argv[1] : "";
    int* memory = nullptr;
    int* unwritten = nullptr;
    if (cudaMalloc(&memory, 64 * sizeof(int)) != cudaSuccess ||
        cudaMalloc(&unwritten, 64 * sizeof(int)) != cudaSuccess)
        return 2;
    if (tool == "memcheck")
        beyondTheEnd<<<1, 64>>>(memory, 64);
    else if (tool == "racecheck")
        withoutABarrier<<<1, 64>>>(memory);
    else if (tool == "synccheck")
        divergentBarrier<<<1, 64>>>(memory);
    else if (tool == "initcheck")
        readsWhatNobodyWrote<<<1, 64>>>(unwritten, memory);
    else
        return 2;
    cudaDeviceSynchronize();
    std::printf("planted a fault for %s\n", tool.c_str());
}
