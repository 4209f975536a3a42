// The kernels of some bands, the text of their kernel units, for fibers.
#pragma once

#include <memory>
#include <type_traits>

#include "dialect.hpp"
#include "engine/device/cuda_block.hpp"

namespace orvex::engine {}
namespace orvex::platform {}

// clang-format off
#define ORVEX_BAND_SIZE 64
#define ORVEX_BAND_MATRIX_BITS 32
#define ORVEX_BAND_ARITH_BITS 32
#include "engine/band_begin.hpp"
#include "engine/device/kernel_text.hpp"
#include "engine/band_end.hpp"

#define ORVEX_BAND_SIZE 192
#define ORVEX_BAND_MATRIX_BITS 32
#define ORVEX_BAND_ARITH_BITS 64
#include "engine/band_begin.hpp"
#include "engine/device/kernel_text.hpp"
#include "engine/band_end.hpp"

#define ORVEX_BAND_SIZE 384
#define ORVEX_BAND_MATRIX_BITS 64
#define ORVEX_BAND_ARITH_BITS 64
#include "engine/band_begin.hpp"
#include "engine/device/kernel_text.hpp"
#include "engine/band_end.hpp"
// clang-format on
