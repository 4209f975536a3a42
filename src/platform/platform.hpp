// The floor under the engine: the device operations under the platform's own names (cudaMalloc,
// cudaMemcpyAsync, ...), so that the engine is one text wherever its blocks run. On CPU threads
// they are functions of orvex::platform; band code sees them through a using-directive.
#pragma once

#include "platform/cpu/runtime.hpp"
