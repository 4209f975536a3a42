// What the kinds of "generate" ask of their options, and the messages where it is not given.
#pragma once

#include <cmath>
#include <limits>
#include <optional>
#include <string>

#include "app/generate.hpp"
#include "toolkit/generate/matrices.hpp"
#include "toolkit/io/model_file.hpp"
#include "toolkit/model/errors.hpp"
#include "toolkit/model/memory.hpp"

namespace orvex::cli {

inline constexpr std::int64_t LARGEST_SEED = std::numeric_limits<std::int32_t>::max();

inline std::int64_t within(const std::string& option, std::int64_t value, std::int64_t least,
                           std::int64_t most) {
    if (least <= value && value <= most) return value;
    throw InputError(option + " is " + std::to_string(value) + ", not from " +
                     std::to_string(least) + " to " + std::to_string(most));
}

inline int size_of(std::int64_t size, int least = 1) {
    return static_cast<int>(within("--size", size, least, MAX_SIZE));
}

inline std::uint32_t graph_seed(const std::string& option, std::int64_t seed) {
    return static_cast<std::uint32_t>(within(option, seed, 0, LARGEST_SEED));
}

inline double per_cent(double density) {
    if (density >= 0 && density <= 100) return density;
    throw InputError("--density is a number from 0 to 100, per cent");
}

inline Range range_of(std::int64_t smallest, std::int64_t largest) {
    constexpr std::int64_t FARTHEST = std::numeric_limits<std::int64_t>::max() / 4;
    within("--smallest", smallest, -FARTHEST, FARTHEST);
    within("--largest", largest, -FARTHEST, FARTHEST);
    if (smallest > largest) throw InputError("--smallest is above --largest");
    if (largest - smallest > std::numeric_limits<std::uint32_t>::max())
        throw InputError("--smallest and --largest lie 4294967296 or more apart");
    return {smallest, largest};
}

/** How many of all pairs are asked for, by number or by density; halves are rounded up. */
inline std::int64_t count_of(const std::string& option, std::optional<std::int64_t> count,
                             std::optional<double> density, std::int64_t all) {
    if (count.has_value() == density.has_value())
        throw InputError("one of " + option + " and --density must be given");
    if (count) return within(option, *count, 0, all);
    return static_cast<std::int64_t>(
        std::floor(static_cast<double>(all) * per_cent(*density) / 100 + 0.5));
}

/** A graph is kept as a list of edges, and another list while weights are drawn. */
inline void expect_memory(std::int64_t edges) {
    const long needed = edges * static_cast<long>(sizeof(Edge) + sizeof(std::size_t));
    if (needed <= machine_memory()) return;
    throw InputError(std::to_string(edges) + " edges take " + bytes_text(needed) +
                     "; this machine has " + bytes_text(machine_memory()));
}

}  // namespace orvex::cli
