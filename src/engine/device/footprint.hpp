// What the blocks of a run read and take, known from the matrix's statistics before anything of it
// is made. The one place that answers for both platforms.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/device/records.hpp"
#include "engine/device/row_form.hpp"
#include "engine/device/shape.hpp"

namespace orvex::device {

struct FOOTPRINT {
    ROW_FORM form = ROW_FORM::RECORD;
    int delta_bits = 0;
    std::uint64_t record_bytes = 0;         ///< host memory of the matrix record, as far as written
    std::uint64_t rows_bytes = 0;           ///< host memory of that form, beside the record
    std::uint64_t host_bytes_of_block = 0;  ///< with its share of the rings
    std::uint64_t device_bytes = 0;  ///< matrix, rings and seeds; 0 where that is host memory
};

/** Slots of both rings of an island for each of its blocks. */
inline constexpr std::uint64_t SLOTS_OF_BLOCK = 8;

/** `blocks` are those of one device. */
inline FOOTPRINT footprint(const ROW_STATISTICS& statistics, int size, int matrix_bits,
                           int arithmetic_bits, std::uint64_t blocks) {
    const auto s = static_cast<std::uint64_t>(size);
    const auto threads = static_cast<std::uint64_t>(threads_of(size));
    const std::uint64_t rings = SLOTS_OF_BLOCK * instance_bytes(size);
    const auto width = static_cast<std::uint64_t>(matrix_bits / 8);
    const std::uint64_t record = (s * s + s) * width + sizeof(std::int32_t);
#ifdef ORVEX_PLATFORM_CUDA
    static_cast<void>(statistics);
    return {.delta_bits = arithmetic_bits,
            .record_bytes = record,
            .device_bytes = record + blocks * (rings + threads * sizeof(unsigned long))};
#else
    static_cast<void>(blocks);
    const ROW_FORM form = statistics.best_form(size);
    const auto delta_bytes = static_cast<std::uint64_t>(arithmetic_bits / 8);
    constexpr std::uint64_t BYTES_OF_THREAD =
        32;  // random state, seed, words of the best and target
    return {.form = form,
            .delta_bits = statistics.delta_bits(form, size, arithmetic_bits),
            .record_bytes = statistics.needs_record(form, static_cast<std::size_t>(arithmetic_bits))
                                ? record
                                : s * width + sizeof(std::int32_t),
            .rows_bytes = statistics.bytes(form, size, width),
            .host_bytes_of_block =
                s * (2 * delta_bytes + SLOTS_OF_BLOCK) + threads * BYTES_OF_THREAD + rings};
#endif
}

}  // namespace orvex::device
