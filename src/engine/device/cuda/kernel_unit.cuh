// The template of a band's kernel unit: everything of a band that the device compiler sees. It is
// apart from the engine's unit so that the host code of a band is not read once for each target
// device. The engine finds the kernel by its name and the constant through device_gp_symbol().

// clang-format off
#include "engine/device/cuda/block.hpp"

namespace orvex::engine {}
namespace orvex::platform {}

#include "engine/band/band_begin.inl"
#include "engine/device/cuda/kernel_text.inl"

const GPU_PARAMS& device_gp_symbol() {
    return device_gp;
}
#include "engine/band/band_end.inl"
// clang-format on
