// ORVEX, the kernel of this band, by which the platform launches it, and device_gp, its constant:
// on GPUs or on CPU threads.
#ifndef ORVEX_BAND_OPEN
#include "engine/band/wmat.inl"
#endif

#ifdef ORVEX_PLATFORM_CUDA
#include "engine/device/cuda/kernel.inl"
#else
#include "engine/device/cpu/kernel.inl"
#endif

#if __INCLUDE_LEVEL__ == 0
#include "engine/band/band_end.inl"
#endif
