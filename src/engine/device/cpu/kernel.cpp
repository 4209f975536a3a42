#include "engine/device/cpu/kernel.hpp"

#include <cassert>
#include <memory>

#include "engine/device/cpu/block.hpp"
#include "engine/device/cpu/rows.hpp"

namespace orvex::device {

namespace {

/**
 * The matrix on a device: the host's record itself, so that a matrix is in memory once, and the
 * form of its rows that the blocks read.
 */
template <class E>
struct CPU_MATRIX : platform::DEVICE_COPY {
    CPU_MATRIX(const E* record, int size)
        : weights(record),
          diagonal(record + static_cast<std::size_t>(size) * static_cast<std::size_t>(size)),
          model_size(*reinterpret_cast<const int*>(diagonal + size)),
          rows(record, size) {
        assert(model_size >= 0 && model_size <= size);
    }

    const E* weights;
    const E* diagonal;
    const int model_size;
    const CPU_ROWS<E> rows;
};

/** An argument of a launch by its number in the order of the kernel's parameters. */
template <class X>
X argument(void** arguments, int number) {
    return *static_cast<X*>(arguments[number]);
}

}  // namespace

template <class E, class D>
std::unique_ptr<platform::DEVICE_COPY> CPU_KERNEL<E, D>::copyOf(const void* record) const {
    return std::make_unique<CPU_MATRIX<E>>(static_cast<const E*>(record), size_);
}

template <class E, class D>
std::unique_ptr<platform::BLOCK_TASK> CPU_KERNEL<E, D>::makeBlock(int index,
                                                                  void** arguments) const {
    assert(index >= 0 && arguments);
    // The kernel's parameters: the device's number, the seeds, the matrix, the slots of a ring, the
    // islands of the device, the rings, words that no block uses, the state of the device.
    const auto& matrix = static_cast<const CPU_MATRIX<E>&>(
        *static_cast<platform::DEVICE_COPY*>(argument<void*>(arguments, 2)));
    const CPU_LAUNCH<E> launch = {
        .size = size_,
        .seeds = argument<unsigned long*>(arguments, 1),
        .weights = matrix.weights,
        .diagonal = matrix.diagonal,
        .rows = &matrix.rows,
        .model_size = matrix.model_size,
        .ring_size = argument<unsigned>(arguments, 3),
        .islands_per_gpu = argument<unsigned char>(arguments, 4),
        .rings = static_cast<unsigned char*>(argument<void*>(arguments, 5)),
        .device_state = argument<DeviceState*>(arguments, 7),
        .params = &params_};
    return make_block<E, D>(index, launch);
}

template class CPU_KERNEL<std::int32_t, std::int32_t>;
template class CPU_KERNEL<std::int32_t, std::int64_t>;
template class CPU_KERNEL<std::int64_t, std::int64_t>;

}  // namespace orvex::device
