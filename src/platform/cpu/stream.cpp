// Streams, events and launches. A stream holds at most one kernel in flight; an event recorded
// after a kernel happens when the kernel ends.
#include <mutex>
#include <system_error>
#include <utility>

#include "platform/cpu/runtime.hpp"
#include "platform/cpu/signal.hpp"

namespace orvex::platform {

/** Any thread may use any stream: islands that stop together raise flags by the same one. */
struct STREAM {
    std::mutex mutex;
    std::shared_ptr<LAUNCH> launch;

    std::shared_ptr<LAUNCH> in_flight() {
        const std::lock_guard lock(mutex);
        return launch;
    }
    void begin(std::shared_ptr<LAUNCH> next) {
        const std::lock_guard lock(mutex);
        launch = std::move(next);
    }
    /** Lets go of a launch that has ended, but not of one that another thread has begun since. */
    void end(const std::shared_ptr<LAUNCH>& ended) {
        const std::lock_guard lock(mutex);
        if (launch == ended) launch.reset();
    }
};

struct EVENT {
    std::shared_ptr<LAUNCH> after;
    LAUNCH::clock::time_point time;
};

namespace {

thread_local cudaError_t last_error = cudaSuccess;

LAUNCH::clock::time_point time_of(cudaEvent_t event) {
    if (!event->after) return event->time;
    event->after->wait();
    return event->after->end();
}

}  // namespace

const char* cudaGetErrorString(cudaError_t error) {
    switch (error) {
        case cudaSuccess:
            return "no error";
        case cudaErrorInvalidValue:
            return "invalid argument";
        case cudaErrorMemoryAllocation:
            return "out of memory";
        case cudaErrorInvalidConfiguration:
            return "invalid configuration argument";
        case cudaErrorNoDevice:
            return "no device is detected";
        case cudaErrorInvalidDevice:
            return "invalid device ordinal";
        case cudaErrorLaunchOutOfResources:
            return "too many resources requested for launch";
    }
    return "unrecognized error code";
}

cudaError_t cudaGetLastError() {
    return std::exchange(last_error, cudaSuccess);
}

cudaError_t cudaStreamCreateWithFlags(cudaStream_t* stream, unsigned) {
    *stream = new STREAM;
    return cudaSuccess;
}

cudaError_t create_copy_stream(cudaStream_t* stream) {
    return cudaStreamCreateWithFlags(stream, cudaStreamNonBlocking);
}

cudaError_t cudaStreamDestroy(cudaStream_t stream) {
    cudaStreamSynchronize(stream);
    delete stream;
    return cudaSuccess;
}

cudaError_t cudaStreamSynchronize(cudaStream_t stream) {
    if (const std::shared_ptr<LAUNCH> launch = stream->in_flight()) {
        launch->wait();
        stream->end(launch);
    }
    return cudaSuccess;
}

cudaError_t cudaEventCreate(cudaEvent_t* event) {
    *event = new EVENT;
    return cudaSuccess;
}

cudaError_t cudaEventRecord(cudaEvent_t event, cudaStream_t stream) {
    event->after = stream->in_flight();
    event->time = LAUNCH::clock::now();
    return cudaSuccess;
}

cudaError_t cudaEventSynchronize(cudaEvent_t event) {
    time_of(event);
    return cudaSuccess;
}

cudaError_t cudaEventElapsedTime(float* milliseconds, cudaEvent_t start, cudaEvent_t stop) {
    *milliseconds =
        std::chrono::duration<float, std::milli>(time_of(stop) - time_of(start)).count();
    return cudaSuccess;
}

cudaError_t cudaEventDestroy(cudaEvent_t event) {
    delete event;
    return cudaSuccess;
}

void launch_kernel(KERNEL_HANDLE kernel, int grid, int threads, cudaStream_t stream,
                   void** arguments) {
    if (grid < 1 || threads < 1 || threads > 1024) last_error = cudaErrorInvalidConfiguration;
    if (last_error != cudaSuccess) return;
    cudaStreamSynchronize(stream);
    std::vector<std::unique_ptr<BLOCK_TASK>> blocks;
    blocks.reserve(static_cast<std::size_t>(grid));
    for (int i = 0; i < grid; ++i)
        blocks.push_back(kernel->makeBlock(i, arguments));
    try {
        stream->begin(std::make_shared<LAUNCH>(std::move(blocks), usable_processors()));
    } catch (const std::system_error&) {  // no thread is left
        last_error = cudaErrorLaunchOutOfResources;
    }
}

void wait_for_ticket(const std::int64_t* ticket, std::int64_t seen, int microseconds) {
    SIGNAL& signal = block_wrote(ticket);
    const std::uint32_t epoch = signal.epoch();
    if (__atomic_load_n(ticket, __ATOMIC_ACQUIRE) != seen) return;
    signal.wait_for(epoch, std::chrono::microseconds(microseconds));
}

}  // namespace orvex::platform
