// The kernel of a band on the platform of this build, by which the platform launches it.
#ifdef ORVEX_PLATFORM_CUDA
#include "engine/device/cuda/kernel.inl"
#else
#include "engine/device/cpu/kernel.inl"
#endif
