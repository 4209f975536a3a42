// Tables of bands for tests of the choice among them: the complete one, and fake bands that say on
// standard error that they were called.
#pragma once

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "orvex/registry.hpp"

namespace orvex::tests {

/** The three numbers of a band. */
using TRIPLE = std::array<int, 3>;

inline TRIPLE triple_of(const qubo_multi::Band& band) {
    return {band.size, band.matrix_bits, band.arith_bits};
}

inline std::vector<int> complete_sizes() {
    std::vector<int> sizes = {64, 128, 192, 256, 384};
    for (int size = 512; size <= 4096; size += 128)
        sizes.push_back(size);
    for (int size = 5120; size <= 8192; size += 1024)
        sizes.push_back(size);
    for (int size = 10240; size <= 16384; size += 2048)
        sizes.push_back(size);
    for (int size = 20480; size <= 32768; size += 4096)
        sizes.push_back(size);
    for (int size = 40960; size <= 65536; size += 8192)
        sizes.push_back(size);
    return sizes;
}

/** All 150 bands, without functions. */
inline std::vector<qubo_multi::Band> complete_table() {
    std::vector<qubo_multi::Band> table;
    for (const int size : complete_sizes()) {
        table.push_back({size, 32, 32, nullptr, nullptr, nullptr});
        table.push_back({size, 32, 64, nullptr, nullptr, nullptr});
        table.push_back({size, 64, 64, nullptr, nullptr, nullptr});
    }
    return table;
}

/** Whether this build has all bands, as it has by default. */
inline bool build_is_complete() {
    return qubo_multi::band_count() == 150;
}

}  // namespace orvex::tests
