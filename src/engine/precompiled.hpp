// All that a band includes from outside its namespace: the parts of the engine that are the same in
// all bands. The band units share it precompiled.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <type_traits>

#include "orvex/registry.hpp"

#include "engine/band.hpp"
#include "engine/device/kernel.hpp"
#include "engine/device/records.hpp"
#include "engine/device/shape.hpp"
#include "engine/entry.hpp"
#include "engine/error_exit.hpp"
#include "engine/instance.hpp"
#include "engine/matrix.hpp"
#include "engine/run_state.hpp"
#include "platform/platform.hpp"
