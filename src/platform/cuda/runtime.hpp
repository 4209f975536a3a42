// The device operations on GPUs: the CUDA runtime, and beside it the few operations that the engine
// asks for under names of its own. Nothing here needs the device compiler: a kernel is known by its
// address, so engine units are compiled by the host compiler.
//
// What must hold while a kernel runs, since it runs as long as the search: nothing is allocated or
// freed on its device, nothing goes through the default stream, and nothing is used for the first
// time that would have to be loaded onto the device, for any of these may wait for the kernel to
// end. Copies go through non-blocking streams made before the launch; load_kernel loads.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <thread>

#include <cuda_runtime.h>

namespace orvex::platform {

using ::cudaDeviceProp;
using ::cudaError_t;
using ::cudaGetErrorString;
using ::cudaStream_t;
using ::cudaSuccess;

// ---- kernels -------------------------------------------------------------------------------

/** A kernel, as the runtime knows it: by its address. */
using KERNEL_HANDLE = const void*;

template <class... PARAMS>
KERNEL_HANDLE address_of(void (*kernel)(PARAMS...)) {
    return reinterpret_cast<const void*>(kernel);
}

/** Loads the kernel and its module onto the current device, so that nothing is left to load when
 * it is launched. */
inline cudaError_t load_kernel(KERNEL_HANDLE kernel) {
    cudaFuncAttributes attributes;
    return cudaFuncGetAttributes(&attributes, kernel);
}

/**
 * Launches `grid` blocks of `threads` threads; the arguments are given by their addresses, one that
 * the kernel takes as a reference being the address of what it refers to. A failure is reported by
 * cudaGetLastError.
 */
inline void launch_kernel(KERNEL_HANDLE kernel, int grid, int threads, cudaStream_t stream,
                          void** arguments) {
    cudaLaunchKernel(kernel, dim3(static_cast<unsigned>(grid)),
                     dim3(static_cast<unsigned>(threads)), arguments, 0, stream);
}

/**
 * A stream for copies while a kernel runs. Streams of one priority may share a queue of the device,
 * in which a copy would wait for the kernel, that is for the end of the search; the kernel's stream
 * has the lowest priority, this one the highest.
 */
inline cudaError_t create_copy_stream(cudaStream_t* stream) {
    int lowest = 0;
    int highest = 0;
    const cudaError_t status = cudaDeviceGetStreamPriorityRange(&lowest, &highest);
    return status == cudaSuccess
               ? cudaStreamCreateWithPriority(stream, cudaStreamNonBlocking, highest)
               : status;
}

// ---- memory --------------------------------------------------------------------------------

/** A record is filled in full before a device copies it. */
inline constexpr bool COPIES_FILL_RECORD = false;

/**
 * The device's copy of a large read-only record of `bytes` bytes in page-locked host memory, the
 * same for all kernels. On a stream of its own the copy is still under way when this returns; on
 * the default stream it is done.
 */
inline cudaError_t device_copy_create(void** copy, KERNEL_HANDLE, const void* record, const void*,
                                      std::size_t bytes, cudaStream_t stream) {
    if (const cudaError_t status = cudaMalloc(copy, bytes); status != cudaSuccess) return status;
    const cudaError_t status =
        cudaMemcpyAsync(*copy, record, bytes, cudaMemcpyHostToDevice, stream);
    return status == cudaSuccess && stream == nullptr ? cudaStreamSynchronize(stream) : status;
}
inline cudaError_t device_copy_destroy(void* copy) {
    return cudaFree(copy);
}

/** Waits for `microseconds`: a GPU wakes no host thread, so its ticket word is polled. */
inline void wait_for_ticket(const std::int64_t*, std::int64_t, int microseconds) {
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

}  // namespace orvex::platform
