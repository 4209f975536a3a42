// Benchmark instances that were published as a program, `orvex generate palubeckis`.
#pragma once

#include <cstdint>

#include <orvex/orvex.hpp>

#include "toolkit/generate/matrices.hpp"

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

inline Model model_of(const PUBLISHED_INSTANCE& instance) {
    Model model(instance.variables, 16);
    toolkit::generate::palubeckis(instance.variables, instance.density, instance.seed)
        .each_row([&](int i, const toolkit::generate::Row& row) {
            for (const toolkit::generate::Entry& entry : row)
                model.set(i, entry.column, entry.weight);
        });
    return model;
}

}  // namespace orvex::bench
