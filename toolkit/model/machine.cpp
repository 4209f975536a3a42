#include "toolkit/model/machine.hpp"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <limits>
#include <sstream>
#include <thread>

#include "engine/device/records.hpp"
#include "engine/device/row_form.hpp"
#include "engine/device/shape.hpp"

namespace orvex::toolkit {
namespace {

constexpr long MIB = 1L << 20;
constexpr long NO_LIMIT = std::numeric_limits<long>::max();

/** A number of /proc/meminfo in bytes; NO_LIMIT when it is not there. */
long meminfo(const std::string& key) {
    std::ifstream file("/proc/meminfo");
    for (std::string line; std::getline(file, line);) {
        if (line.compare(0, key.size() + 1, key + ":") != 0) continue;
        return std::stol(line.substr(key.size() + 1)) * 1024;
    }
    return NO_LIMIT;
}

/** The container's limit; the file says "max" where there is none. */
long container_memory() {
    std::ifstream file("/sys/fs/cgroup/memory.max");
    long bytes = 0;
    return file >> bytes ? bytes : NO_LIMIT;
}

}  // namespace

std::string Band::name() const {
    return "qb" + std::to_string(size) + "_" + std::to_string(matrix_bits) + "_" +
           std::to_string(arithmetic_bits);
}

std::vector<int> band_sizes(Solver& solver) {
    std::istringstream list(solver.get("sizes"));
    std::vector<int> sizes;
    for (std::string size; std::getline(list, size, ',');)
        sizes.push_back(std::stoi(size));
    return sizes;
}

std::optional<Band> band_for(const std::vector<int>& sizes, int size, int width,
                             int arithmetic_bits) {
    const auto found = std::lower_bound(sizes.begin(), sizes.end(), size);
    if (found == sizes.end()) return std::nullopt;
    for (const auto& [matrix, arithmetic] : BAND_WIDTHS)
        if (matrix >= width && arithmetic >= arithmetic_bits)
            return Band{*found, matrix, arithmetic};
    return std::nullopt;
}

Memory memory_of_run(int size, int width, const Band& band) {
    const long s = band.size, bytes = band.matrix_bits / 8;
    const Blocks blocks = blocks_of_run(band);
    return {.model = static_cast<long>(size) * size * (width / 8),
            .record = s * s * bytes + s * bytes + 4,
            .rest = std::max(64 * MIB, 32 * MIB + blocks.count * blocks.memory)};
}

Blocks blocks_of_run(const Band& band) {
#ifdef ORVEX_PLATFORM_CUDA
    static_cast<void>(band);
    return {0, 0};
#else
    constexpr long THREADS_OF_PROCESSOR = 1024, RING_SLOTS = 8;
    const long processors = std::max(std::thread::hardware_concurrency(), 1u);
    const long size = band.size, threads = device::threads_of(band.size);
    const long energy = band.arithmetic_bits / 8;
    return {.count = processors * (THREADS_OF_PROCESSOR / threads),
            .memory = size * (2 * energy + 8) + threads * 32 +
                      RING_SLOTS * static_cast<long>(device::instance_bytes(band.size))};
#endif
}

std::optional<RowsOfRun> rows_of_run(const Band& band, const Couplings& couplings) {
#ifdef ORVEX_PLATFORM_CUDA
    static_cast<void>(band);
    static_cast<void>(couplings);
    return std::nullopt;
#else
    const device::ROW_SURVEY survey{.widest = static_cast<std::uint64_t>(couplings.largest),
                                    .entries = 2 * static_cast<std::uint64_t>(couplings.count)};
    const device::ROW_FORM form = survey.best_form(band.size);
    const auto element_bytes = static_cast<std::size_t>(band.matrix_bits) / 8;
    return RowsOfRun{device::form_name(form, band.matrix_bits),
                static_cast<long>(survey.bytes(form, band.size, element_bytes))};
#endif
}

long machine_memory() {
    return std::min(meminfo("MemTotal"), container_memory());
}

long free_memory() {
    return std::min(meminfo("MemAvailable"), container_memory());
}

std::string bytes_text(long bytes) {
    const char* unit = "KiB";
    double number = static_cast<double>(bytes) / 1024;
    for (const char* larger : {"MiB", "GiB", "TiB"}) {
        if (number < 1000) break;
        number /= 1024;
        unit = larger;
    }
    char text[32];
    std::snprintf(text, sizeof(text), "%.3g %s", number, unit);
    return text;
}

}  // namespace orvex::toolkit
