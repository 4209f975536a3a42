// The search's speed on a GPU. Needs a GPU. Prints two tables:
//   * for sizes from 256 to 65536 and each rule, flips per second and the bytes of matrix rows that
//     they read per second, beside the bandwidth that a copy within the device's memory reaches in
//     the same process (bytes read plus bytes written);
//   * with a folder of benchmark instances as argument, the time to the best known energy.
//
//   orvex_gpu_bench [FOLDER]
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <cuda_runtime.h>

#include <orvex/orvex.hpp>

namespace {

double copyBandwidth() {
    constexpr std::size_t BYTES = std::size_t{1} << 30;
    void* from = nullptr;
    void* to = nullptr;
    cudaEvent_t start, stop;
    if (cudaMalloc(&from, BYTES) != cudaSuccess || cudaMalloc(&to, BYTES) != cudaSuccess) return 0;
    cudaEventCreate(&start);
    cudaEventCreate(&stop);
    double best = 0;
    for (int i = 0; i < 10; ++i) {
        cudaEventRecord(start);
        cudaMemcpyAsync(to, from, BYTES, cudaMemcpyDeviceToDevice);
        cudaEventRecord(stop);
        cudaEventSynchronize(stop);
        float milliseconds = 0;
        cudaEventElapsedTime(&milliseconds, start, stop);
        best = std::max(best, 2.0 * BYTES / (milliseconds / 1000));
    }
    cudaEventDestroy(start);
    cudaEventDestroy(stop);
    cudaFree(from);
    cudaFree(to);
    return best;
}

orvex::Model randomModel(int n) {
    std::mt19937_64 random(1);
    orvex::Model model(n, 8);
    const int stride = std::max(1, n / 4096);
    for (int i = 0; i < n; ++i)
        for (int j = i; j < n; j += stride)
            model.set(i, j, static_cast<long>(random() % 201) - 100);
    return model;
}

void speedTable() {
    const double bandwidth = copyBandwidth();
    std::printf("copy within device memory: %.0f GB/s\n\n", bandwidth / 1e9);
    std::printf("| size | rule | flips/s | row bytes/s (GB) | share of copy | blocks |\n");
    std::printf("| --- | --- | --- | --- | --- | --- |\n");
    cudaDeviceProp device;
    if (cudaGetDeviceProperties(&device, 0) != cudaSuccess) return;
    for (int size : {256, 512, 1024, 2048, 4096, 10240, 65536}) {
        const orvex::Model model = randomModel(size);
        orvex::Solver solver(false);
        for (const char* rule :
             {"MaxMin", "PositiveMin", "CyclicMin", "RandomMin", "TwoNeighbor"}) {
            orvex::Param param;
            param.set("time_limit", "3");
            param.set("fix_algorithm", rule);
            const orvex::Sol solution = solver(model, param);
            const double flips =
                std::stod(solution.get("total_flips")) / std::stod(solution.get("kernel_time"));
            const double bytes = flips * size * 4;
            const int threads = std::min(1024, std::max(64, size / 4));
            std::printf("| %d | %s | %.3e | %.0f | %.0f %% | %d launched |\n", size, rule, flips,
                        bytes / 1e9, 100 * bytes / bandwidth,
                        device.maxThreadsPerMultiProcessor / threads * device.multiProcessorCount);
            std::fflush(stdout);
        }
        solver.release();
    }
}

/** Best known energies, as problems of minimisation. */
const std::map<std::string, long> BEST_KNOWN = {
    {"K2000", -33337},       {"G22", -13359},        {"bqp1000-1", -371438},
    {"bqp2500-1", -1515944}, {"p3000.1", -3931583},  {"p4000.1", -6181830},
    {"p5000.1", -8559680},   {"p6000.1", -11384976}, {"p7000.1", -14478676},
};

void timesToBest(const std::string& folder) {
    std::printf(
        "\n| instance | best known | reached of 5 | median s |\n| --- | --- | --- | --- |\n");
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        const std::string file = entry.path().filename().string();
        const auto known = BEST_KNOWN.find(file.substr(0, file.find(".qubo")));
        if (known == BEST_KNOWN.end()) continue;
        const orvex::Model model(entry.path().string());
        std::vector<double> seconds;
        for (int i = 0; i < 5; ++i) {
            orvex::Param param;
            param.set("time_limit", "10");
            param.set("target_energy", std::to_string(known->second));
            const orvex::Sol solution = orvex::Solver(false)(model, param);
            if (std::stol(solution.get("energy")) <= known->second)
                seconds.push_back(std::stod(solution.get("tts")));
        }
        std::sort(seconds.begin(), seconds.end());
        std::printf("| %s | %ld | %zu | ", known->first.c_str(), known->second, seconds.size());
        if (seconds.size() < 3)
            std::printf("- |\n");
        else
            std::printf("%.3f |\n", seconds[seconds.size() / 2]);
        std::fflush(stdout);
    }
}

}  // namespace

int main(int argc, char** argv) {
    speedTable();
    if (argc > 1) timesToBest(argv[1]);
}
