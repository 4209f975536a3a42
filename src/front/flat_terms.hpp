// The lists of coefficients that a problem is stated in, as one shape for both: linear terms have
// one variable, quadratic terms have two side by side. They are looked through before anything is
// allocated, since a matrix does not check its indices.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>

namespace orvex::flat {

/** A list of coefficients, as the caller gave it. */
struct TERMS {
    const char* count_name;  ///< what the caller knows the three by
    const char* index_name;
    const char* value_name;
    std::uint64_t count;         ///< number of terms
    const std::uint32_t* index;  ///< variables_each for every term
    const std::int64_t* value;   ///< one for every term
    unsigned variables_each;
};

/** What the values say about the problem as a whole, whichever of them end up in it. */
struct VALUE_RANGE {
    long min = 0;               ///< at most 0
    long max = 0;               ///< at least 0
    std::uint64_t abs_sum = 0;  ///< of all magnitudes, modulo 2^64

    void take(const TERMS& terms) {
        for (std::uint64_t k = 0; k < terms.count; ++k) {
            const long value = terms.value[k];
            min = std::min(min, value);
            max = std::max(max, value);
            const auto bits = static_cast<std::uint64_t>(value);
            abs_sum += value < 0 ? 0 - bits : bits;
        }
    }
};

/** Why a list cannot be taken for a problem of n variables; empty when it can. */
inline std::string objection_to(const TERMS& terms, std::uint32_t n) {
    if (terms.count == 0) return "";
    if (terms.index == nullptr || terms.value == nullptr) {
        const char* const missing = terms.index == nullptr ? terms.index_name : terms.value_name;
        return std::string("ORVEX: ") + missing + " is null but " + terms.count_name + " is " +
               std::to_string(terms.count);
    }
    for (std::uint64_t k = 0; k < terms.count * terms.variables_each; ++k)
        if (terms.index[k] >= n)
            return std::string("ORVEX: ") + terms.index_name + "[" + std::to_string(k) + "] is " +
                   std::to_string(terms.index[k]) + " but the model has " + std::to_string(n) +
                   " variables";
    return "";
}

}  // namespace orvex::flat
