#include "engine/device/cpu/kernel.hpp"

#include <cassert>
#include <memory>
#include <mutex>

#include "engine/device/cpu/block.hpp"
#include "engine/device/cpu/rows.hpp"
#include "engine/device/model_rows.hpp"

namespace orvex::device {

namespace {

/** Devices that share a record do not fill it at the same time. */
std::mutex filling;

/**
 * The matrix on a device: the form of its rows that the blocks read, and the host's record, of
 * which the rows stay untouched zeros unless the blocks read them.
 */
template <class E>
struct CPU_MATRIX : platform::DEVICE_COPY {
    CPU_MATRIX(const E* record, const Model::Impl& model, int size)
        : weights(record),
          diagonal(record + static_cast<std::size_t>(size) * static_cast<std::size_t>(size)),
          model_size(*reinterpret_cast<const int*>(diagonal + size)),
          rows(record, size, model) {
        assert(model_size == model.size && model_size <= size);
    }

    const E* weights;
    const E* diagonal;
    const int model_size;
    const CPU_ROWS<E> rows;
};

/** An argument of a launch by its number in the order of the kernel's parameters. */
template <class X>
X argument(void** arguments, int number) {
    assert(arguments[number]);
    return *static_cast<X*>(arguments[number]);
}

}  // namespace

template <class E, class D>
std::unique_ptr<platform::DEVICE_COPY> CPU_KERNEL<E, D>::copyOf(void* record,
                                                                const void* source) const {
    assert(record && source);
    const Model::Impl& model = *static_cast<const Model::Impl*>(source);
    E* const weights = static_cast<E*>(record);
    auto matrix = std::make_unique<CPU_MATRIX<E>>(weights, model, size_);
    if (matrix->rows.statistics().needs_record(matrix->rows.form(), 8 * sizeof(D))) {
        const std::size_t size = static_cast<std::size_t>(size_);
        if (!platform::has_room(size * size * sizeof(E))) return nullptr;
        const std::lock_guard lock(filling);
        write_rows(weights, weights + size * size, SHAPE(size_), model, true);
    }
    return matrix;
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
