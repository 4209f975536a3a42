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
#include <tuple>
#include <type_traits>
#include <utility>

#include <cuda_runtime.h>

namespace orvex::platform {

using ::cudaDeviceProp;
using ::cudaError_t;
using ::cudaGetErrorString;
using ::cudaStream_t;
using ::cudaSuccess;

template <class... PARAMS>
const void* address_of(void (*kernel)(PARAMS...)) {
    return reinterpret_cast<const void*>(kernel);
}

// ---- kernels -------------------------------------------------------------------------------

template <class... PARAMS>
cudaError_t cudaFuncSetAttribute(void (*kernel)(PARAMS...), cudaFuncAttribute attribute,
                                 int value) {
    return ::cudaFuncSetAttribute(address_of(kernel), attribute, value);
}

/** Loads the kernel and its module onto the current device, so that nothing is left to load when
 * it is launched. */
template <class... PARAMS>
cudaError_t load_kernel(void (*kernel)(PARAMS...)) {
    cudaFuncAttributes attributes;
    return cudaFuncGetAttributes(&attributes, address_of(kernel));
}

/** How an argument travels: a reference as the address of what it refers to, else by value. */
template <class PARAM>
using KERNEL_ARGUMENT =
    std::conditional_t<std::is_reference_v<PARAM>, std::remove_reference_t<PARAM>*, PARAM>;

template <class PARAM, class ARG>
KERNEL_ARGUMENT<PARAM> kernel_argument(ARG& arg) {
    if constexpr (std::is_reference_v<PARAM>)
        return &arg;
    else
        return arg;
}

/** Launches `grid` blocks of `threads` threads. A failure is reported by cudaGetLastError. */
template <class... PARAMS, class... ARGS>
void launch_kernel(void (*kernel)(PARAMS...), int grid, int threads, cudaStream_t stream,
                   ARGS&&... args) {
    std::tuple<KERNEL_ARGUMENT<PARAMS>...> values{kernel_argument<PARAMS>(args)...};
    std::apply(
        [&](auto&... value) {
            void* addresses[] = {const_cast<void*>(static_cast<const void*>(&value))...};
            cudaLaunchKernel(address_of(kernel), dim3(static_cast<unsigned>(grid)),
                             dim3(static_cast<unsigned>(threads)), addresses, 0, stream);
        },
        values);
}

// ---- memory --------------------------------------------------------------------------------

template <class T>
cudaError_t cudaMemcpyToSymbol(const T& symbol, const void* from, std::size_t bytes,
                               std::size_t offset, cudaMemcpyKind kind) {
    return ::cudaMemcpyToSymbol(static_cast<const void*>(&symbol), from, bytes, offset, kind);
}

/**
 * The device copy of a large read-only record in page-locked host memory. On a stream of its own
 * the copy is still under way when this returns; on the default stream it is done.
 */
template <class T>
cudaError_t device_copy_create(T** copy, const T* record, std::size_t bytes, cudaStream_t stream) {
    if (const cudaError_t status = cudaMalloc(copy, bytes); status != cudaSuccess) return status;
    const cudaError_t status =
        cudaMemcpyAsync(*copy, record, bytes, cudaMemcpyHostToDevice, stream);
    return status == cudaSuccess && stream == nullptr ? cudaStreamSynchronize(stream) : status;
}
template <class T>
cudaError_t device_copy_destroy(T* copy) {
    return cudaFree(copy);
}

/** Waits for `microseconds`: a GPU wakes no host thread, so its ticket word is polled. */
inline void wait_for_ticket(const std::int64_t*, std::int64_t, int microseconds) {
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

}  // namespace orvex::platform
