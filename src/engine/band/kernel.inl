// ORVEX, the kernel of this band, and device_gp, its constant.
#ifndef ORVEX_BAND_OPEN
#include "engine/band/wmat.inl"
#endif

#include "engine/device/kernel.inl"

#if __INCLUDE_LEVEL__ == 0
#include "engine/band/band_end.inl"
#endif
