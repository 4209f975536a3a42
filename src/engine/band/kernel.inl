// ORVEX, the kernel of this band, and device_gp, its constant: on GPUs or on CPU threads.
#ifdef ORVEX_PLATFORM_CUDA
#include "engine/device/cuda/kernel.inl"
#else
#include "engine/device/cpu/kernel.inl"
#endif
