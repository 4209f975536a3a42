// Problems for the tests of the flat interface, as lists of coefficients, and handles that free
// themselves.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "orvex/tarvik_orvex.h"

namespace flat_tests {

struct DESTROY {
    void operator()(tarvik_orvex_handle* handle) const { tarvik_orvex_destroy(handle); }
};
using HANDLE = std::unique_ptr<tarvik_orvex_handle, DESTROY>;

struct LINEAR {
    std::uint32_t i;
    std::int64_t value;
};
struct QUADRATIC {
    std::uint32_t i, j;
    std::int64_t value;
};

/** The handle of a problem; null when it is refused. */
inline HANDLE create(std::uint32_t n, const std::vector<LINEAR>& linear = {},
                     const std::vector<QUADRATIC>& quadratic = {}, std::int32_t gpus = 0) {
    std::vector<std::uint32_t> index, pairs;
    std::vector<std::int64_t> linear_value, quadratic_value;
    for (const auto& [i, value] : linear) {
        index.push_back(i);
        linear_value.push_back(value);
    }
    for (const auto& [i, j, value] : quadratic) {
        pairs.insert(pairs.end(), {i, j});
        quadratic_value.push_back(value);
    }
    return HANDLE(tarvik_orvex_create(n, index.size(), index.data(), linear_value.data(),
                                      quadratic_value.size(), pairs.data(), quadratic_value.data(),
                                      gpus));
}

/** Whether a variable is set in an array of words. */
inline bool bit(const std::uint64_t* words, std::uint32_t i) {
    return words[i / 64] >> (i % 64) & 1;
}

}  // namespace flat_tests
