// What the kernels of all bands share on the platform of this build: on GPUs nothing that the host
// would have to know.
#pragma once

#ifndef ORVEX_PLATFORM_CUDA
#include "engine/device/cpu/kernel.hpp"
#endif
