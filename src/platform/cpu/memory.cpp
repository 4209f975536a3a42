// Allocation and copies. Large requests are held against the memory that is really there: an
// allocation that the machine could only refuse by killing the process fails here instead.
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <map>
#include <mutex>
#include <string>
#include <sys/mman.h>

#include "platform/cpu/runtime.hpp"
#include "platform/cpu/signal.hpp"

namespace orvex::platform {

namespace {

constexpr std::size_t ALIGNMENT = 64;  // a cache line, and the widest vector
constexpr std::size_t WORTH_CHECKING = 1 << 26;
constexpr std::size_t WORTH_MAPPING = 1 << 20;

std::atomic<long> large_count{0};

std::size_t meminfo_available() {
    std::ifstream file("/proc/meminfo");
    std::string key;
    for (std::size_t kib = 0; file >> key >> kib; file.ignore(64, '\n'))
        if (key == "MemAvailable:") return kib * 1024;
    return std::numeric_limits<std::size_t>::max();
}

std::size_t container_available() {
    std::ifstream limit_file("/sys/fs/cgroup/memory.max");
    std::ifstream used_file("/sys/fs/cgroup/memory.current");
    std::size_t limit = 0;
    std::size_t used = 0;
    if (!(limit_file >> limit) || !(used_file >> used))  // "max": no number, no limit
        return std::numeric_limits<std::size_t>::max();
    return limit > used ? limit - used : 0;
}

// Words of any type are copied as this one.
typedef std::uint64_t __attribute__((may_alias)) WORD;

bool aligned(const void* address) {
    return reinterpret_cast<std::uintptr_t>(address) % sizeof(WORD) == 0;
}

void copy_words(void* to, const void* from, std::size_t words) {
    WORD* target = static_cast<WORD*>(to);
    const WORD* source = static_cast<const WORD*>(from);
    for (std::size_t i = 0; i < words; ++i)
        __atomic_store_n(target + i, __atomic_load_n(source + i, __ATOMIC_RELAXED),
                         __ATOMIC_RELAXED);
}

void copy_bytes(void* to, const void* from, std::size_t bytes) {
    unsigned char* target = static_cast<unsigned char*>(to);
    const unsigned char* source = static_cast<const unsigned char*>(from);
    for (std::size_t i = 0; i < bytes; ++i)
        __atomic_store_n(target + i, __atomic_load_n(source + i, __ATOMIC_RELAXED),
                         __ATOMIC_RELAXED);
}

/** Counts a request, unless it is for more than there can be. */
bool counted(std::size_t bytes) {
    if (bytes > static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max())) return false;
    if (bytes >= LARGE_ALLOCATION) large_count.fetch_add(1);
    return true;
}

/** Memory that is mapped page by page as it is written, with its lengths. */
struct MAPPED {
    std::mutex mutex;
    std::map<void*, std::size_t> lengths;
};
MAPPED& mapped() {
    static MAPPED& all = *new MAPPED;  // never destroyed: sessions end with the process
    return all;
}

/** Gives mapped memory back; false if it is not. */
bool unmapped(void* memory) {
    MAPPED& all = mapped();
    const std::lock_guard lock(all.mutex);
    const auto found = all.lengths.find(memory);
    if (found == all.lengths.end()) return false;
    munmap(memory, found->second);
    all.lengths.erase(found);
    return true;
}

}  // namespace

bool has_room(std::size_t bytes) {
    return bytes < WORTH_CHECKING ||
           (bytes <= meminfo_available() && bytes <= container_available());
}

cudaError_t allocate(void** memory, std::size_t bytes) {
    *memory = nullptr;
    if (!has_room(bytes) || !counted(bytes)) return cudaErrorMemoryAllocation;
    const std::size_t rounded = (bytes + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;
    *memory = std::aligned_alloc(ALIGNMENT, rounded == 0 ? ALIGNMENT : rounded);
    return *memory ? cudaSuccess : cudaErrorMemoryAllocation;
}

cudaError_t allocate_zeros(void** memory, std::size_t bytes) {
    *memory = nullptr;
    return has_room(bytes) ? reserve_zeros(memory, bytes) : cudaErrorMemoryAllocation;
}

cudaError_t reserve_zeros(void** memory, std::size_t bytes) {
    if (bytes < WORTH_MAPPING) {
        if (allocate(memory, bytes) != cudaSuccess) return cudaErrorMemoryAllocation;
        std::memset(*memory, 0, bytes);
        return cudaSuccess;
    }
    *memory = nullptr;
    if (!counted(bytes)) return cudaErrorMemoryAllocation;
    void* const pages = mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (pages == MAP_FAILED) return cudaErrorMemoryAllocation;
    MAPPED& all = mapped();
    const std::lock_guard lock(all.mutex);
    all.lengths.emplace(pages, bytes);
    *memory = pages;
    return cudaSuccess;
}

cudaError_t release(void* memory) {
    if (!unmapped(memory)) std::free(memory);
    return cudaSuccess;
}

long large_allocations() {
    return large_count;
}

cudaError_t cudaMemcpy(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind) {
    if (bytes == sizeof(WORD) && aligned(to) && aligned(from)) {
        const WORD word = __atomic_load_n(static_cast<const WORD*>(from), __ATOMIC_ACQUIRE);
        __atomic_store_n(static_cast<WORD*>(to), word, __ATOMIC_RELEASE);
    } else if (bytes % sizeof(WORD) == 0 && aligned(to) && aligned(from)) {
        copy_words(to, from, bytes / sizeof(WORD));
    } else {
        copy_bytes(to, from, bytes);
    }
    // Single words are what blocks wait for: a ticket or the kill byte.
    if (kind == cudaMemcpyHostToDevice && bytes <= sizeof(WORD)) host_wrote().notify();
    return cudaSuccess;
}

cudaError_t cudaMemcpyAsync(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind,
                            cudaStream_t) {
    return cudaMemcpy(to, from, bytes, kind);
}

cudaError_t cudaMemset(void* memory, int value, std::size_t bytes) {
    std::memset(memory, value, bytes);
    return cudaSuccess;
}

cudaError_t cudaMemsetAsync(void* memory, int value, std::size_t bytes, cudaStream_t) {
    return cudaMemset(memory, value, bytes);
}

cudaError_t cudaMemcpyToSymbol(const void* symbol, const void* from, std::size_t bytes,
                               std::size_t offset, cudaMemcpyKind kind) {
    return cudaMemcpy(static_cast<char*>(const_cast<void*>(symbol)) + offset, from, bytes, kind);
}

cudaError_t device_copy_create(void** copy, KERNEL_HANDLE kernel, void* record, const void* source,
                               std::size_t, cudaStream_t) {
    *copy = kernel->copyOf(record, source).release();
    return *copy ? cudaSuccess : cudaErrorMemoryAllocation;
}

cudaError_t device_copy_destroy(void* copy) {
    delete static_cast<DEVICE_COPY*>(copy);
    return cudaSuccess;
}

}  // namespace orvex::platform
