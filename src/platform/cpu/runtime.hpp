// The device operations on CPU threads. One device is all the processors that this process may
// use; its memory is the machine's, so device pointers are plain pointers. Copies to and from it go
// word by word with relaxed atomics, and a copy of one aligned 64-bit word (a ticket) acquires and
// releases, which is what the ring protocol asks for. Operations on a stream are done when they
// return, but for a launched kernel, which runs on its workers until its blocks have left.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/cpu/workers.hpp"

namespace orvex::platform {

enum cudaError_t {
    cudaSuccess = 0,
    cudaErrorInvalidValue = 1,
    cudaErrorMemoryAllocation = 2,
    cudaErrorInvalidConfiguration = 9,
    cudaErrorNoDevice = 100,
    cudaErrorInvalidDevice = 101,
    cudaErrorLaunchOutOfResources = 701
};
const char* cudaGetErrorString(cudaError_t error);
cudaError_t cudaGetLastError();

// ---- devices (device.cpp) ------------------------------------------------------------------

struct cudaDeviceProp {
    char name[256];
    std::size_t totalGlobalMem;
    std::size_t sharedMemPerMultiprocessor;
    int multiProcessorCount;
    int maxThreadsPerMultiProcessor;
    int major, minor;
};
enum cudaDeviceAttr { cudaDevAttrClockRate = 13 };

cudaError_t cudaGetDeviceCount(int* count);
cudaError_t cudaSetDevice(int device);
cudaError_t cudaGetDeviceProperties(cudaDeviceProp* prop, int device);
cudaError_t cudaDeviceGetAttribute(int* value, cudaDeviceAttr attribute, int device);
cudaError_t cudaDeviceSynchronize();

/** Processors that this process may run on, by its affinity and its container's limit. */
int usable_processors();

/** For tests: how many devices there seem to be, 0 for none. They share the same processors. */
void present_devices(int count);

// ---- memory (memory.cpp) -------------------------------------------------------------------

enum cudaMemcpyKind { cudaMemcpyHostToDevice = 1, cudaMemcpyDeviceToHost = 2 };

struct STREAM;
using cudaStream_t = STREAM*;

cudaError_t allocate(void** memory, std::size_t bytes);
/** Memory of zeros, of which the pages that nobody writes cost nothing. */
cudaError_t allocate_zeros(void** memory, std::size_t bytes);
/** The same, but whether the machine has room for so much is asked where it is written. */
cudaError_t reserve_zeros(void** memory, std::size_t bytes);
cudaError_t release(void* memory);
/** Whether the machine has that much memory to give. */
bool has_room(std::size_t bytes);

/**
 * Whether device copies of a record are made from what the record is filled from, and fill of the
 * record what they need. Its host memory then begins as zeros.
 */
inline constexpr bool COPIES_FILL_RECORD = true;

template <class T>
cudaError_t cudaMalloc(T** memory, std::size_t bytes) {
    return allocate(reinterpret_cast<void**>(memory), bytes);
}
template <class T>
cudaError_t cudaMallocHost(T** memory, std::size_t bytes) {
    return reserve_zeros(reinterpret_cast<void**>(memory), bytes);
}
template <class T>
cudaError_t cudaHostAlloc(T** memory, std::size_t bytes, unsigned) {
    return allocate(reinterpret_cast<void**>(memory), bytes);
}
inline cudaError_t cudaFree(void* memory) {
    return release(memory);
}
inline cudaError_t cudaFreeHost(void* memory) {
    return release(memory);
}

cudaError_t cudaMemcpy(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind);
cudaError_t cudaMemcpyAsync(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind,
                            cudaStream_t stream);
cudaError_t cudaMemset(void* memory, int value, std::size_t bytes);
cudaError_t cudaMemsetAsync(void* memory, int value, std::size_t bytes, cudaStream_t stream);

/** `symbol` is the address of a kernel's constant. */
cudaError_t cudaMemcpyToSymbol(const void* symbol, const void* from, std::size_t bytes,
                               std::size_t offset, cudaMemcpyKind kind);

/** For tests: allocations of at least `large` bytes made so far in this process. */
long large_allocations();
inline constexpr std::size_t LARGE_ALLOCATION = 16384;

// ---- streams, events, launches (stream.cpp) ------------------------------------------------

struct EVENT;
using cudaEvent_t = EVENT*;

inline constexpr unsigned cudaStreamNonBlocking = 1;
cudaError_t cudaStreamCreateWithFlags(cudaStream_t* stream, unsigned flags);
/** A stream for copies while a kernel runs, which it has no queue in common with. */
cudaError_t create_copy_stream(cudaStream_t* stream);
cudaError_t cudaStreamDestroy(cudaStream_t stream);
cudaError_t cudaStreamSynchronize(cudaStream_t stream);
cudaError_t cudaEventCreate(cudaEvent_t* event);
cudaError_t cudaEventRecord(cudaEvent_t event, cudaStream_t stream);
cudaError_t cudaEventSynchronize(cudaEvent_t event);
cudaError_t cudaEventElapsedTime(float* milliseconds, cudaEvent_t start, cudaEvent_t stop);
cudaError_t cudaEventDestroy(cudaEvent_t event);

// ---- kernels (stream.cpp, memory.cpp) -------------------------------------------------------

/** What a device holds of a large read-only record in host memory. */
class DEVICE_COPY {
  public:
    virtual ~DEVICE_COPY() = default;
};

/** A kernel, as the platform sees it. */
class KERNEL {
  public:
    /** One block of a launch, from its index in the grid and the addresses of the arguments. */
    virtual std::unique_ptr<BLOCK_TASK> makeBlock(int index, void** arguments) const = 0;

    /**
     * What the blocks read in place of a record that `source` describes; fills of the record what
     * it refers to, and that stays where it is. Null where memory is short.
     */
    virtual std::unique_ptr<DEVICE_COPY> copyOf(void* record, const void* source) const = 0;

  protected:
    ~KERNEL() = default;
};
using KERNEL_HANDLE = const KERNEL*;

enum cudaFuncAttribute { cudaFuncAttributePreferredSharedMemoryCarveout = 9 };
inline cudaError_t cudaFuncSetAttribute(KERNEL_HANDLE, cudaFuncAttribute, int) {
    return cudaSuccess;
}

/** Makes a kernel ready on the current device; here it always is. */
inline cudaError_t load_kernel(KERNEL_HANDLE) {
    return cudaSuccess;
}

/** Blocks of `threads` threads that a multiprocessor holds at a time, for any kernel. */
int resident_blocks(int threads);
inline cudaError_t cudaOccupancyMaxActiveBlocksPerMultiprocessorWithFlags(int* blocks,
                                                                          KERNEL_HANDLE,
                                                                          int threads, std::size_t,
                                                                          unsigned) {
    *blocks = resident_blocks(threads);
    return cudaSuccess;
}

/**
 * Launches `grid` blocks of `threads` threads on the stream. A wrong configuration, or that
 * no thread can be started, is reported by cudaGetLastError.
 */
void launch_kernel(KERNEL_HANDLE kernel, int grid, int threads, cudaStream_t stream,
                   void** arguments);

/**
 * The device's copy of a large record of `bytes` bytes in page-locked host memory, for that kernel;
 * `source` is what the record is filled from, as the kernel knows it. `copy` becomes what the
 * kernel takes as the record's address.
 */
cudaError_t device_copy_create(void** copy, KERNEL_HANDLE kernel, void* record, const void* source,
                               std::size_t bytes, cudaStream_t stream);
cudaError_t device_copy_destroy(void* copy);

/**
 * Waits for `microseconds` at most, or until a block writes the ticket word at `ticket`, which held
 * `seen` when it was last looked at.
 */
void wait_for_ticket(const std::int64_t* ticket, std::int64_t seen, int microseconds);

}  // namespace orvex::platform
