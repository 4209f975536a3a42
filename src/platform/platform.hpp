// The floor under the engine: the device operations under the platform's own names (cudaMalloc,
// cudaMemcpyAsync, ...), so that the engine is one text wherever its blocks run. On GPUs they are
// the runtime's; on CPU threads they are functions of orvex::platform, which band code sees through
// a using-directive. The few operations that the runtime does not have are in orvex::platform on
// both.
#pragma once

#ifdef ORVEX_PLATFORM_CUDA
#include "platform/cuda/runtime.hpp"
#else
#include "platform/cpu/runtime.hpp"
#endif
