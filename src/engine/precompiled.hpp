// All that a band includes from outside its namespace: the headers of the language and the parts of
// the engine that are the same in all bands. The band units share it precompiled.
#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "orvex/registry.hpp"

#include "engine/device/formulas.hpp"
#include "engine/device/records.hpp"
#include "engine/device/shape.hpp"
#include "engine/device/xor_shift.hpp"
#include "engine/display.hpp"
#include "engine/error_exit.hpp"
#include "engine/names.hpp"
#include "engine/relaxed.hpp"
#include "engine/restart_clock.hpp"
#include "engine/run_state.hpp"
#include "engine/sizing.hpp"
#include "engine/start_thread.hpp"
#include "engine/trans_count.hpp"
#include "engine/values.hpp"
#include "platform/platform.hpp"
#include "problem/release.hpp"

#ifndef ORVEX_PLATFORM_CUDA
#include "engine/device/cpu/block.hpp"
#endif
