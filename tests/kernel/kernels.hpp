// The kernels of some bands, the text of their kernel units, for fibers.
#pragma once

#include <memory>
#include <type_traits>

#include "dialect.hpp"
#include "engine/device/cuda/block.hpp"

namespace orvex::engine {}
namespace orvex::platform {}

// clang-format off
#define ORVEX_BAND_SIZE 64
#define ORVEX_BAND_MATRIX_BITS 32
#define ORVEX_BAND_ARITH_BITS 32
#include "engine/band/band_begin.inl"
#include "engine/device/cuda/kernel_text.inl"
#include "engine/band/band_end.inl"

#define ORVEX_BAND_SIZE 192
#define ORVEX_BAND_MATRIX_BITS 32
#define ORVEX_BAND_ARITH_BITS 64
#include "engine/band/band_begin.inl"
#include "engine/device/cuda/kernel_text.inl"
#include "engine/band/band_end.inl"

#define ORVEX_BAND_SIZE 384
#define ORVEX_BAND_MATRIX_BITS 64
#define ORVEX_BAND_ARITH_BITS 64
#include "engine/band/band_begin.inl"
#include "engine/device/cuda/kernel_text.inl"
#include "engine/band/band_end.inl"
// clang-format on
