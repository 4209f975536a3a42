// ORVEX, the kernel of this band, and device_gp, its constant: on GPUs or on CPU threads.
#ifdef ORVEX_PLATFORM_CUDA
#include "engine/device/kernel_cuda.hpp"
#else
#include "engine/device/kernel_cpu.hpp"
#endif
