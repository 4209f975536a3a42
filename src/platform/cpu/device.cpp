// Which devices there are and what they are made of. There is one, the processor, unless a test
// presents more or none.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sched.h>
#include <string>
#include <unistd.h>

#include "platform/cpu/runtime.hpp"

namespace orvex::platform {

namespace {

std::atomic<int> presented_devices{1};

// The processor is presented with this many threads per multiprocessor (core): a band of T threads
// per block then runs THREADS_PER_CORE / T blocks on each core.
constexpr int THREADS_PER_CORE = 1024;

/** Value of the first line of /proc/cpuinfo that starts with `key`, or the empty string. */
std::string cpuinfo(const std::string& key) {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.compare(0, key.size(), key) != 0) continue;
        const std::size_t colon = line.find(':');
        if (colon != std::string::npos && colon + 2 <= line.size()) return line.substr(colon + 2);
    }
    return "";
}

/** Processors that the container's quota amounts to, rounded up; a large number without one. */
int container_processors() {
    std::ifstream file("/sys/fs/cgroup/cpu.max");
    double quota = 0.0;
    double period = 0.0;
    if (!(file >> quota >> period) || period <= 0.0) return 1 << 20;  // "max": no number, no quota
    return std::max(1, static_cast<int>(std::ceil(quota / period)));
}

}  // namespace

int usable_processors() {
    cpu_set_t set;
    CPU_ZERO(&set);
    const int affinity = sched_getaffinity(0, sizeof(set), &set) == 0
                             ? CPU_COUNT(&set)
                             : static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN));
    return std::max(1, std::min(affinity, container_processors()));
}

void present_devices(int count) {
    presented_devices = count;
}

cudaError_t cudaGetDeviceCount(int* count) {
    *count = presented_devices;
    return *count > 0 ? cudaSuccess : cudaErrorNoDevice;
}

cudaError_t cudaSetDevice(int device) {
    return device >= 0 && device < presented_devices ? cudaSuccess : cudaErrorInvalidDevice;
}

cudaError_t cudaGetDeviceProperties(cudaDeviceProp* prop, int device) {
    if (cudaSetDevice(device) != cudaSuccess) return cudaErrorInvalidDevice;
    *prop = cudaDeviceProp{};
    std::string name = cpuinfo("model name");
    if (name.empty()) name = "CPU";
    std::strncpy(prop->name, name.c_str(), sizeof(prop->name) - 1);
    prop->totalGlobalMem = static_cast<std::size_t>(sysconf(_SC_PHYS_PAGES)) *
                           static_cast<std::size_t>(sysconf(_SC_PAGE_SIZE));
    prop->sharedMemPerMultiprocessor =
        static_cast<std::size_t>(std::max(0L, sysconf(_SC_LEVEL2_CACHE_SIZE)));
    prop->multiProcessorCount = usable_processors();
    prop->maxThreadsPerMultiProcessor = THREADS_PER_CORE;
    return cudaSuccess;
}

cudaError_t cudaDeviceGetAttribute(int* value, cudaDeviceAttr, int device) {
    if (cudaSetDevice(device) != cudaSuccess) return cudaErrorInvalidDevice;
    *value = static_cast<int>(1000.0 * std::atof(cpuinfo("cpu MHz").c_str()));
    return cudaSuccess;
}

cudaError_t cudaDeviceSynchronize() {
    return cudaSuccess;
}

int resident_blocks(int threads) {
    return THREADS_PER_CORE / threads;
}

}  // namespace orvex::platform
