// Every solution that comes back is scored again, and counted.
#pragma once

#include <vector>

#include <orvex/orvex.hpp>

#include "reference.hpp"
#include "rescored.hpp"

namespace orvex::model_test {

/** A fault to be planted into what comes back, by name; empty for none. See planted_test.py. */
inline std::string& planted() {
    static std::string fault;
    return fault;
}

inline std::vector<bool> bits_of(const Sol& solution) {
    std::vector<bool> bits(static_cast<std::size_t>(solution.impl().bits));
    for (std::size_t i = 0; i < bits.size(); ++i)
        bits[i] = solution.get(static_cast<int>(i));
    return bits;
}

inline void require_no_filler(const std::uint64_t* words, int size) {
    if (size % 64 == 0) return;
    require(words[size / 64] >> size % 64 == 0, "no bit is set above the last variable");
}

/** The attribute "energy" is that of the bits; a run without any result says so by its value. */
inline void require_true_energy(const Weights& weights, const Sol& solution) {
    require(solution.impl().bits == weights.size, "a solution has the size of its model");
    require_no_filler(solution.impl().data.get(), weights.size);
    const std::string told = solution.get("energy");
    if (told == std::to_string(INT64_MAX)) return;
    const std::string true_energy = text_of(weights.energy(bits_of(solution)));
    test::count_rescored(told == true_energy);
    require(told == true_energy, "the energy is " + told + ", its bits have " + true_energy);
}

}  // namespace orvex::model_test
