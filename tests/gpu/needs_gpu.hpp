// What a program that cannot do without a GPU does first.
#pragma once

#include <cstdio>
#include <cstdlib>

#include <cuda_runtime_api.h>

/** Ends the process with a message and status 1 where there is no GPU. */
inline void needs_gpu() {
    int gpus = 0;
    if (cudaGetDeviceCount(&gpus) == cudaSuccess && gpus > 0) return;
    std::fputs("Error: No GPU found.\n", stderr);
    std::exit(1);
}
