// How many bytes a matrix takes, and how many of them an assignment moves. The two differ for
// matrices of 4 GiB and more.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>

namespace orvex {

/** The bytes of a size x size matrix. @throws std::bad_array_new_length if 64 bits cannot hold it
 */
constexpr std::size_t allocated_bytes(std::uint32_t size, std::uint32_t bytes) {
    const std::uint64_t elements = std::uint64_t{size} * size;
    if (bytes != 0 && elements > std::numeric_limits<std::size_t>::max() / bytes) {
        throw std::bad_array_new_length();
    }
    return elements * bytes;
}

/** The bytes that assigning such a matrix moves: counted in 32 bits, so the count wraps. */
constexpr std::uint32_t copied_bytes(std::uint32_t size, std::uint32_t bytes) {
    return size * size * bytes;
}

}  // namespace orvex
