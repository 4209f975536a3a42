// The device operations, each in front of the platform's own (the linker's option --wrap). Memory
// of the device that is given back twice ends the process by abort().
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <set>

#include "faults.hpp"
#include "platform/platform.hpp"

namespace {

using namespace orvex::platform;
using orvex::faults::fails;
using orvex::faults::Kind;

constexpr auto FAILED = static_cast<cudaError_t>(orvex::faults::DEVICE_ERROR);

/** What is allocated. It has an allocator of its own: what is counted must not count this. */
template <class T>
struct Uncounted {
    using value_type = T;
    Uncounted() = default;
    template <class U>
    Uncounted(const Uncounted<U>&) {}
    T* allocate(std::size_t count) { return static_cast<T*>(std::malloc(count * sizeof(T))); }
    void deallocate(T* memory, std::size_t) { std::free(memory); }
    bool operator==(const Uncounted&) const { return true; }
};

struct Live {
    std::mutex mutex;
    std::set<void*, std::less<>, Uncounted<void*>> memory;
};

Live& live() {
    static Live* const all = new (std::malloc(sizeof(Live))) Live;
    return *all;
}

cudaError_t noted(cudaError_t status, void* memory) {
    if (status != cudaSuccess || memory == nullptr) return status;
    const std::lock_guard lock(live().mutex);
    live().memory.insert(memory);
    return status;
}

void expect_live(void* memory) {
    if (memory == nullptr) return;
    const std::lock_guard lock(live().mutex);
    if (live().memory.erase(memory) == 1) return;
    std::fprintf(stderr, "memory of a device is given back twice\n");
    std::abort();
}

}  // namespace

// A mangled name, the parameters, and the same as arguments.
#define ORVEX_FAULTY(symbol, parameters, arguments)                      \
    extern "C" cudaError_t __real_##symbol parameters;                   \
    extern "C" cudaError_t __wrap_##symbol parameters;                   \
    extern "C" cudaError_t __wrap_##symbol parameters {                  \
        return fails(Kind::DEVICE) ? FAILED : __real_##symbol arguments; \
    }

ORVEX_FAULTY(_ZN5orvex8platform18cudaGetDeviceCountEPi, (int* count), (count))
ORVEX_FAULTY(_ZN5orvex8platform13cudaSetDeviceEi, (int device), (device))
ORVEX_FAULTY(_ZN5orvex8platform23cudaGetDevicePropertiesEPNS0_14cudaDevicePropEi,
             (cudaDeviceProp * prop, int device), (prop, device))
ORVEX_FAULTY(_ZN5orvex8platform22cudaDeviceGetAttributeEPiNS0_14cudaDeviceAttrEi,
             (int* value, cudaDeviceAttr attribute, int device), (value, attribute, device))
ORVEX_FAULTY(_ZN5orvex8platform21cudaDeviceSynchronizeEv, (), ())
ORVEX_FAULTY(_ZN5orvex8platform10cudaMemcpyEPvPKvmNS0_14cudaMemcpyKindE,
             (void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind),
             (to, from, bytes, kind))
ORVEX_FAULTY(_ZN5orvex8platform15cudaMemcpyAsyncEPvPKvmNS0_14cudaMemcpyKindEPNS0_6STREAME,
             (void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind,
              cudaStream_t stream),
             (to, from, bytes, kind, stream))
ORVEX_FAULTY(_ZN5orvex8platform10cudaMemsetEPvim, (void* memory, int value, std::size_t bytes),
             (memory, value, bytes))
ORVEX_FAULTY(_ZN5orvex8platform15cudaMemsetAsyncEPvimPNS0_6STREAME,
             (void* memory, int value, std::size_t bytes, cudaStream_t stream),
             (memory, value, bytes, stream))
ORVEX_FAULTY(_ZN5orvex8platform18cudaMemcpyToSymbolEPKvS2_mmNS0_14cudaMemcpyKindE,
             (const void* symbol, const void* from, std::size_t bytes, std::size_t offset,
              cudaMemcpyKind kind),
             (symbol, from, bytes, offset, kind))
ORVEX_FAULTY(_ZN5orvex8platform25cudaStreamCreateWithFlagsEPPNS0_6STREAMEj,
             (cudaStream_t * stream, unsigned flags), (stream, flags))
ORVEX_FAULTY(_ZN5orvex8platform18create_copy_streamEPPNS0_6STREAME, (cudaStream_t * stream),
             (stream))
ORVEX_FAULTY(_ZN5orvex8platform17cudaStreamDestroyEPNS0_6STREAME, (cudaStream_t stream), (stream))
ORVEX_FAULTY(_ZN5orvex8platform21cudaStreamSynchronizeEPNS0_6STREAME, (cudaStream_t stream),
             (stream))
ORVEX_FAULTY(_ZN5orvex8platform15cudaEventCreateEPPNS0_5EVENTE, (cudaEvent_t * event), (event))
ORVEX_FAULTY(_ZN5orvex8platform15cudaEventRecordEPNS0_5EVENTEPNS0_6STREAME,
             (cudaEvent_t event, cudaStream_t stream), (event, stream))
ORVEX_FAULTY(_ZN5orvex8platform20cudaEventSynchronizeEPNS0_5EVENTE, (cudaEvent_t event), (event))
ORVEX_FAULTY(_ZN5orvex8platform20cudaEventElapsedTimeEPfPNS0_5EVENTES3_,
             (float* milliseconds, cudaEvent_t start, cudaEvent_t stop),
             (milliseconds, start, stop))
ORVEX_FAULTY(_ZN5orvex8platform16cudaEventDestroyEPNS0_5EVENTE, (cudaEvent_t event), (event))
ORVEX_FAULTY(_ZN5orvex8platform16cudaGetLastErrorEv, (), ())
ORVEX_FAULTY(_ZN5orvex8platform18device_copy_createEPPvPKNS0_6KERNELES1_PKvmPNS0_6STREAME,
             (void** copy, KERNEL_HANDLE kernel, void* record, const void* source,
              std::size_t bytes, cudaStream_t stream),
             (copy, kernel, record, source, bytes, stream))
ORVEX_FAULTY(_ZN5orvex8platform19device_copy_destroyEPv, (void* copy), (copy))

// Memory is short, and then given back once.
#define ORVEX_FAULTY_MEMORY(symbol)                                                   \
    extern "C" cudaError_t __real_##symbol(void** memory, std::size_t bytes);         \
    extern "C" cudaError_t __wrap_##symbol(void** memory, std::size_t bytes);         \
    extern "C" cudaError_t __wrap_##symbol(void** memory, std::size_t bytes) {        \
        if (fails(Kind::DEVICE)) return *memory = nullptr, cudaErrorMemoryAllocation; \
        const cudaError_t status = __real_##symbol(memory, bytes);                    \
        return noted(status, *memory);                                                \
    }

ORVEX_FAULTY_MEMORY(_ZN5orvex8platform8allocateEPPvm)
ORVEX_FAULTY_MEMORY(_ZN5orvex8platform14allocate_zerosEPPvm)
ORVEX_FAULTY_MEMORY(_ZN5orvex8platform13reserve_zerosEPPvm)

extern "C" cudaError_t __real__ZN5orvex8platform7releaseEPv(void* memory);
extern "C" cudaError_t __wrap__ZN5orvex8platform7releaseEPv(void* memory);
extern "C" cudaError_t __wrap__ZN5orvex8platform7releaseEPv(void* memory) {
    if (fails(Kind::DEVICE)) return FAILED;
    expect_live(memory);
    return __real__ZN5orvex8platform7releaseEPv(memory);
}
