// Benchmark instances that were published as a generator: dense models of n variables with
// coefficients uniform in [-100, 100] (G. Palubeckis, "Multistart tabu search strategies for the
// unconstrained binary quadratic optimization problem", Annals of Operations Research 131, 2004).
// A seed gives the same model everywhere: the arithmetic is exact but for one single-precision
// comparison, which must stay one.
#pragma once

#include <cstdint>

#include <orvex/orvex.hpp>

namespace orvex::bench {

struct PUBLISHED_INSTANCE {
    const char* name;
    int variables;
    float density;  ///< per cent
    std::int64_t seed;
    long best_known;  ///< lowest energy published
};

inline constexpr PUBLISHED_INSTANCE PUBLISHED_INSTANCES[] = {
    {"p3000.1", 3000, 50, 31000, -3931583},  {"p4000.1", 4000, 50, 41000, -6181830},
    {"p5000.1", 5000, 50, 51000, -8559680},  {"p6000.1", 6000, 50, 61000, -11384976},
    {"p7000.1", 7000, 50, 71000, -14478676},
};

inline Model generate(const PUBLISHED_INSTANCE& instance) {
    std::int64_t state = instance.seed;
    const auto draw = [&] { return state = state * 16807 % 2147483647; };
    const auto coefficient = [&] { return static_cast<long>(draw() * 201 >> 31) - 100; };
    Model model(instance.variables, 16);
    // Stated as the maximum of the sum over the full matrix, in which every pair stands twice.
    for (int i = 0; i < instance.variables; ++i) {
        model.set(i, i, -coefficient());
        for (int j = i + 1; j < instance.variables; ++j) {
            const double percent = 100.0 * static_cast<double>(draw()) / 2147483648.0;
            if (static_cast<float>(percent) <= instance.density)
                model.set(i, j, -2 * coefficient());
        }
    }
    return model;
}

}  // namespace orvex::bench
