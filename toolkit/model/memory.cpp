#include "toolkit/model/memory.hpp"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <limits>

namespace orvex::toolkit {
namespace {

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

/** The first number in a file of the container's group; none where there is no such file. */
long container_number(const std::string& name, long without) {
    std::ifstream file("/sys/fs/cgroup/" + name);
    long bytes = 0;
    return file >> bytes ? bytes : without;
}

/** The container's limit; the file says "max" where there is none. */
long container_limit() {
    return container_number("memory.max", NO_LIMIT);
}

/** What the container uses, but for the pages of files that it could drop. */
long container_use() {
    const long used = container_number("memory.current", 0);
    std::ifstream file("/sys/fs/cgroup/memory.stat");
    std::string key;
    for (long bytes = 0; file >> key >> bytes;)
        if (key == "inactive_file") return std::max(used - bytes, 0L);
    return used;
}

}  // namespace

long machine_memory() {
    return std::min(meminfo("MemTotal"), container_limit());
}

long free_memory() {
    const long limit = container_limit();
    const long left = limit == NO_LIMIT ? NO_LIMIT : std::max(limit - container_use(), 0L);
    return std::min(meminfo("MemAvailable"), left);
}

std::string bytes_text(std::uint64_t bytes) {
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
