// The stream of random numbers of an island, stated once more: what a test draws from the same seed
// word is what the island draws.
#pragma once

#include <cstdint>

namespace engine_tests {

class DRAWS {
  public:
    explicit DRAWS(std::uint64_t seed) : state_(seed) {}

    std::uint64_t next() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return state_;
    }

    /** The AND of that many draws; all ones for none. */
    std::uint64_t all_of(int count) {
        std::uint64_t word = ~std::uint64_t{0};
        for (int i = 0; i < count; ++i)
            word &= next();
        return word;
    }

    /** The OR of that many draws; zero for none. */
    std::uint64_t any_of(int count) {
        std::uint64_t word = 0;
        for (int i = 0; i < count; ++i)
            word |= next();
        return word;
    }

    /** A rank of a pool of that size: a uniform draw in [0, 1), cubed. */
    int rank(int pool_size) {
        const float u = static_cast<float>(next() % 65536) / 65536.0f;
        return static_cast<int>(u * u * u * static_cast<float>(pool_size));
    }

    /** The last draw, or the seed. */
    std::uint64_t state() const { return state_; }

  private:
    std::uint64_t state_;
};

}  // namespace engine_tests
