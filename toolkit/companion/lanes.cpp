#include "toolkit/companion/lanes.hpp"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace orvex::toolkit {

Randoms::Randoms(std::uint64_t seed) {
    const auto next = [&seed] {
        std::uint64_t z = seed += 0x9e3779b97f4a7c15u;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
        return z ^ (z >> 31);
    };
    for (std::size_t word = 0; word < first.size(); ++word) {
        first[word] = next();
        second[word] = next();
    }
}

Heat::Heat(double degrees) : temperature(degrees) {
    assert(degrees >= 0);
    // A table is made for every sweep, and sweeps of small parts are short: one exponential serves.
    const double of_one = degrees > 0 ? std::exp(-1 / degrees) : 0.0;
    double chance = degrees > 0 ? 1.0 : 0.0;
    for (std::size_t delta = 0; delta < TABLE_SIZE; ++delta, chance *= of_one) {
        const auto shares = static_cast<unsigned>(std::min(65535.0, chance * 65536 + 0.5));
        high[delta] = static_cast<std::uint8_t>(shares >> 8);
        low[delta] = static_cast<std::uint8_t>(shares & 255);
    }
}

}  // namespace orvex::toolkit
