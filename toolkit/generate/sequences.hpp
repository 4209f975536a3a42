// The sequences of random numbers that generated models are made from. Invariant: each is defined
// in exact integers, so that a seed gives the same model on every machine and with every compiler.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace orvex::toolkit::generate {

/**
 * The multiplicative sequence of Lehmer with the factor 16807 modulo 2^31 - 1 (S. K. Park and
 * K. W. Miller, "Random number generators: good ones are hard to find", 1988).
 */
class Multiplicative {
  public:
    static constexpr std::int64_t MODULUS = 2147483647;

    /** @param seed from 1 to MODULUS - 1 */
    explicit Multiplicative(std::int64_t seed) : state_(seed) {}

    /** A number from 1 to MODULUS - 1. */
    std::int64_t next() { return state_ = state_ * 16807 % MODULUS; }

  private:
    std::int64_t state_;
};

/** The linear congruential sequence modulo 2^64 with the constants of D. E. Knuth's MMIX. */
class Congruential {
  public:
    explicit Congruential(std::uint64_t seed) : state_(seed) {}

    /** 32 random bits: the upper half of the next state. */
    std::uint64_t next() {
        state_ = state_ * 6364136223846793005u + 1442695040888963407u;
        return state_ >> 32;
    }

    /** A number from `smallest` to `largest`, which lie less than 2^32 apart. */
    std::int64_t between(std::int64_t smallest, std::int64_t largest) {
        const auto values = static_cast<std::uint64_t>(largest - smallest) + 1;
        return smallest + static_cast<std::int64_t>(next() % values);
    }

  private:
    std::uint64_t state_;
};

/**
 * The subtractive sequence x[k] = x[k - 55] - x[k - 24] modulo 2^31, each 55 numbers of it handed
 * out last one first (D. E. Knuth, "The Stanford GraphBase", 1993). The graphs that Max-Cut
 * programs are compared on were made with it.
 */
class Subtractive {
  public:
    /** @param seed from 0 to 2^31 - 1 */
    explicit Subtractive(std::uint32_t seed) {
        // Every 21st place in turn, around the circle of 55; the seed's bits go around as well.
        std::uint32_t previous = seed, current = 1;
        numbers_[LAG - 1] = previous;
        for (std::size_t place = 21; place != 0; place = (place + 21) % LAG) {
            numbers_[place - 1] = current;
            seed = (seed >> 1) | (seed & 1) << 30;
            const std::uint32_t following = difference(difference(previous, current), seed);
            previous = current;
            current = following;
        }
        for (int round = 0; round < 5; ++round)
            refill();
        --left_;  // the number at the end of the first 55 is not used
    }

    /** A number from 0 to 2^31 - 1. */
    std::uint32_t next() {
        if (left_ == 0) refill();
        return numbers_[--left_];
    }

    /** A number from 0 to count - 1, each equally likely. */
    std::uint32_t below(std::uint32_t count) {
        constexpr std::uint32_t ALL = std::uint32_t{1} << 31;
        const std::uint32_t usable = ALL - ALL % count;
        for (;;)
            if (const std::uint32_t number = next(); number < usable) return number % count;
    }

  private:
    static constexpr std::size_t LAG = 55;

    static std::uint32_t difference(std::uint32_t a, std::uint32_t b) {
        return (a - b) & 0x7FFFFFFF;
    }

    void refill() {
        for (std::size_t k = 0; k < LAG; ++k)
            numbers_[k] = difference(numbers_[k], numbers_[k < 24 ? k + 31 : k - 24]);
        left_ = LAG;
    }

    std::array<std::uint32_t, LAG> numbers_{};
    std::size_t left_ = 0;  // that have not been handed out, the lower part of `numbers_`
};

}  // namespace orvex::toolkit::generate
