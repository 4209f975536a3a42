// The kernel of a band on CPU threads: makes the blocks of a launch, and for each device the form
// of the matrix rows that they read, from the model itself. It knows the band's size as a number,
// so it is compiled once per pair of widths.
#pragma once

#include <cstdint>

#include "engine/device/records.hpp"
#include "platform/platform.hpp"

namespace orvex::device {

/** E is the element type of the matrix record, D the arithmetic type of the band. */
template <class E, class D>
class CPU_KERNEL final : public platform::KERNEL {
  public:
    /** Of a band of that many bits; `params` is what the blocks read as constant memory. */
    CPU_KERNEL(int size, const GPU_PARAMS& params) : size_(size), params_(params) {}

    std::unique_ptr<platform::BLOCK_TASK> makeBlock(int index, void** arguments) const override;
    std::unique_ptr<platform::DEVICE_COPY> copyOf(void* record, const void* source) const override;

  private:
    const int size_;
    const GPU_PARAMS& params_;
};

extern template class CPU_KERNEL<std::int32_t, std::int32_t>;
extern template class CPU_KERNEL<std::int32_t, std::int64_t>;
extern template class CPU_KERNEL<std::int64_t, std::int64_t>;

}  // namespace orvex::device
