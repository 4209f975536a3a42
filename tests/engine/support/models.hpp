// Small problems and their scores, which are computed from the model alone with 64-bit integers.
#pragma once

#include <algorithm>
#include <random>
#include <vector>

#include "orvex/orvex.hpp"

namespace engine_tests {

/** n variables with weights from -limit to limit, the same ones for the same seed. */
inline orvex::Model random_model(int n, int bits, long limit, unsigned seed) {
    orvex::Model model(n, bits);
    std::mt19937_64 twister(seed);
    std::uniform_int_distribution<long> weight(-limit, limit);
    for (int i = 0; i < n; ++i)
        for (int j = i; j < n; ++j)
            model.set(i, j, weight(twister));
    return model;
}

/** A model whose best solution sets all bits: energy -n. */
inline orvex::Model all_ones_model(int n, int bits = 32) {
    orvex::Model model(n, bits);
    for (int i = 0; i < n; ++i)
        model.set(i, i, -1);
    return model;
}

/** The energy of the solution; bits that the model does not have do not count. */
inline long energy_of(const orvex::Model& model, const orvex::Sol& sol) {
    long energy = 0;
    for (int i = 0; i < model.impl().size; ++i)
        for (int j = i; j < model.impl().size; ++j)
            if (sol.get(i) && sol.get(j)) energy += model.get(i, j);
    return energy;
}

/**
 * The lowest energy of all 2^n solutions, visited in the order in which neighbours differ in one
 * bit.
 */
inline long lowest_energy(const orvex::Model& model) {
    const std::size_t n = static_cast<std::size_t>(model.impl().size);
    std::vector<long> weights(n * n);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j)
            weights[i * n + j] = model.get(static_cast<int>(i), static_cast<int>(j));

    unsigned long ones = 0;
    long energy = 0;
    long lowest = 0;
    for (unsigned long step = 1; step < 1UL << n; ++step) {
        const std::size_t flipped = static_cast<std::size_t>(__builtin_ctzl(step));
        const unsigned long bit = 1UL << flipped;
        long gain = weights[flipped * n + flipped];
        for (unsigned long others = ones & ~bit; others != 0; others &= others - 1)
            gain += weights[flipped * n + static_cast<std::size_t>(__builtin_ctzl(others))];
        energy += ones & bit ? -gain : gain;
        ones ^= bit;
        lowest = std::min(lowest, energy);
    }
    return lowest;
}

}  // namespace engine_tests
