#include "toolkit/companion/sweeps.hpp"

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

#include <gtest/gtest.h>

#include "toolkit/companion/narrowing.hpp"
#include "unit/toolkit/companion/models.hpp"

namespace orvex::toolkit {
namespace {

using namespace test;

/** The RNGs of a block, one after the other, and the same random numbers as the sweeps. */
class PlainRandoms {
  public:
    explicit PlainRandoms(const Randoms& randoms) : states_(randoms) {}

    std::array<std::uint8_t, 64> draw() {
        std::array<std::uint8_t, 64> bytes;
        for (std::size_t word = 0; word < 8; ++word) {
            std::uint64_t& a = states_.first[word];
            std::uint64_t& b = states_.second[word];
            const std::uint64_t sum = a + b;
            b ^= a;
            a = std::rotl(a, 24) ^ b ^ (b << 16);
            b = std::rotl(b, 37);
            for (std::size_t k = 0; k < 8; ++k)
                bytes[8 * word + k] = static_cast<std::uint8_t>(sum >> (8 * k));
        }
        return bytes;
    }

    Randoms states_;
};

float minus_log2(std::int32_t positive) {
    const auto number = static_cast<float>(positive);
    const auto image = std::bit_cast<std::int32_t>(number);
    const float t = std::bit_cast<float>((image & 0x7fffff) | 0x3f800000) - 1.0f;
    float curve = t * 0.0821293380f;
    curve = t * (curve + -0.2390565693f);
    curve = curve + 0.4387253151f;
    curve = t * (1.0f - t) * curve;
    return static_cast<float>(127 + 31 - (image >> 23)) - t - curve;
}

/** The thresholds of the lanes of one variable. */
template <class T>
std::array<std::int64_t, LANES<T>> plain_thresholds(PlainRandoms& randoms, double temperature) {
    const double scale = temperature * 0.6931471805599453;
    std::array<std::int64_t, LANES<T>> thresholds{};
    if constexpr (sizeof(T) == 8) {
        const auto bytes = randoms.draw();
        for (std::size_t lane = 0; lane < 8; ++lane) {
            std::uint32_t upper;
            std::memcpy(&upper, bytes.data() + 8 * lane + 4, 4);
            const double logarithm = minus_log2(static_cast<std::int32_t>(upper >> 1 | 1));
            thresholds[lane] = static_cast<std::int64_t>(std::min(logarithm * scale, 0x1p62));
        }
    } else {
        constexpr std::size_t DRAWS = 4 / sizeof(T);
        constexpr float MOST = sizeof(T) == 1 ? 127.0f : sizeof(T) == 2 ? 32767.0f : 0x1p30f;
        for (std::size_t draw = 0; draw < DRAWS; ++draw) {
            const auto bytes = randoms.draw();
            for (std::size_t w = 0; w < 16; ++w) {
                std::uint32_t word;
                std::memcpy(&word, bytes.data() + 4 * w, 4);
                const float value = minus_log2(static_cast<std::int32_t>(word >> 1 | 1)) *
                                    static_cast<float>(scale);
                thresholds[DRAWS * w + draw] = static_cast<std::int32_t>(std::min(value, MOST));
            }
        }
    }
    return thresholds;
}

/** The sweep, lane by lane. @return number of flips */
template <class T>
long plain_sweep(const Part<T>& part, const Heat& heat, bool by_table, Replicas<T>& replicas,
                 PlainRandoms& randoms) {
    long flips = 0;
    for (std::size_t i = 0; i < part.size(); ++i) {
        std::array<std::int64_t, LANES<T>> thresholds{};
        std::array<std::uint8_t, 64> first{}, second{};
        if (by_table) {
            first = randoms.draw();
            second = randoms.draw();
        } else {
            thresholds = plain_thresholds<T>(randoms, heat.temperature);
        }
        for (std::size_t lane = 0; lane < LANES<T>; ++lane) {
            T& spin = replicas.spins[i * LANES<T> + lane];
            const std::int64_t field = replicas.fields[i * LANES<T> + lane];
            const std::int64_t delta = spin != 0 ? -field : field;
            bool accepted = delta <= thresholds[lane];
            if (by_table && delta > 0) {
                const auto at = static_cast<std::size_t>(delta);
                accepted = first[lane] * 256 + second[lane] < heat.high[at] * 256 + heat.low[at];
            }
            if (!accepted) continue;
            ++flips;
            for (std::uint32_t k = part.starts[i]; k < part.starts[i + 1]; ++k) {
                T& other =
                    replicas.fields[static_cast<std::size_t>(part.neighbours[k]) * LANES<T> + lane];
                other =
                    static_cast<T>(spin != 0 ? other - part.weights[k] : other + part.weights[k]);
            }
            spin = static_cast<T>(spin != 0 ? 0 : -1);
        }
    }
    return flips;
}

template <class T>
class SWEEPS_TEST : public testing::Test {};
using LaneTypes = testing::Types<std::int8_t, std::int16_t, std::int32_t, std::int64_t>;
TYPED_TEST_SUITE(SWEEPS_TEST, LaneTypes);

/** Weights so large that deltas use the width of the lanes, on 40 variables. */
template <class T>
SparseQubo model_for() {
    const std::int64_t range = sizeof(T) == 1   ? 7
                               : sizeof(T) == 2 ? 2000
                               : sizeof(T) == 4 ? 100000000
                                                : std::int64_t{1} << 56;
    return random_sparse(40, 80, range, 5);
}

template <class T>
void expect_equal_to_reference(const SparseQubo& qubo, bool by_table) {
    const Narrowing narrowing = narrowing_of(qubo);
    ASSERT_LE(narrowing.bytes, static_cast<int>(sizeof(T)));
    ASSERT_TRUE(!by_table || narrowing.by_table);
    const Part<T> part = whole_of<T>(qubo, narrowing);
    ASSERT_FALSE(all_sweeps<T>().empty());
    for (const Sweeps<T>& sweeps : all_sweeps<T>()) {
        Replicas<T> replicas;
        set_all(part, random_bits(qubo.size(), 3), replicas);
        Replicas<T> plain = replicas;
        Randoms randoms(7);
        PlainRandoms plain_randoms(randoms);
        long flips = 0;
        for (const double heat : {3.0, 1.0, 0.3, 0.1, 0.0}) {
            const Heat hot(heat * narrowing.scale);
            for (int round = 0; round < 20; ++round) {
                sweeps.sweep(part, 0, 17, hot, by_table, replicas, randoms);
                sweeps.sweep(part, 17, part.size(), hot, by_table, replicas, randoms);
                flips += plain_sweep(part, hot, by_table, plain, plain_randoms);
                ASSERT_EQ(replicas.spins, plain.spins) << sweeps.instructions;
                ASSERT_EQ(replicas.fields, plain.fields) << sweeps.instructions;
            }
        }
        EXPECT_GT(flips, 1000);

        std::vector<std::uint64_t> words(part.size());
        sweeps.gather(replicas, part.size(), words.data());
        for (std::size_t i = 0; i < part.size(); ++i)
            for (std::size_t lane = 0; lane < LANES<T>; ++lane)
                EXPECT_EQ(words[i] >> lane & 1, replicas.spins[i * LANES<T> + lane] != 0);
    }
}

TYPED_TEST(SWEEPS_TEST, are_those_of_a_plain_walker_in_every_lane_with_every_instruction_set) {
    expect_equal_to_reference<TypeParam>(model_for<TypeParam>(), false);
}

TEST(SWEEPS_TABLE_TEST, is_that_of_a_plain_walker_in_every_lane_with_every_instruction_set) {
    expect_equal_to_reference<std::int8_t>(torus(6, 6, 1), true);
}

/** Chi-square of the states of all lanes against Boltzmann's distribution, 2^6 states. */
template <class T>
double chi_square(const SparseQubo& qubo, double temperature, bool by_table, int samples,
                  double temperature_of_sweeps = 0) {
    const Narrowing narrowing = narrowing_of(qubo);
    const Part<T> part = whole_of<T>(qubo, narrowing);
    const std::size_t states = std::size_t{1} << part.size();
    std::vector<double> expected(states);
    double sum = 0;
    for (std::size_t code = 0; code < states; ++code) {
        Bits bits(part.size());
        for (std::size_t i = 0; i < part.size(); ++i)
            bits[i] = code >> i & 1;
        const double energy =
            static_cast<double>(energy_of(qubo, bits)) / static_cast<double>(narrowing.unit);
        sum += expected[code] = std::exp(-energy / temperature);
    }
    std::vector<double> seen(states);
    Replicas<T> replicas;
    set_all(part, Bits(part.size()), replicas);
    Randoms randoms(11);
    const Heat heat(temperature_of_sweeps > 0 ? temperature_of_sweeps : temperature);
    std::vector<std::uint64_t> words(part.size());
    for (int sample = -5; sample < samples; ++sample) {
        // Far enough apart that samples hardly know of each other.
        for (int k = 0; k < 20; ++k)
            sweeps<T>().sweep(part, 0, part.size(), heat, by_table, replicas, randoms);
        if (sample < 0) continue;
        sweeps<T>().gather(replicas, part.size(), words.data());
        for (std::size_t lane = 0; lane < LANES<T>; ++lane) {
            std::size_t code = 0;
            for (std::size_t i = 0; i < part.size(); ++i)
                code |= (words[i] >> lane & 1) << i;
            ++seen[code];
        }
    }
    const double total = static_cast<double>(samples) * static_cast<double>(LANES<T>);
    double chi = 0;
    for (std::size_t code = 0; code < states; ++code) {
        const double count = total * expected[code] / sum;
        chi += (seen[code] - count) * (seen[code] - count) / count;
    }
    return chi;
}

/** 63 degrees of freedom: a sample of the distribution itself is above once in 10^5. */
constexpr double HIGHEST_CHI_SQUARE = 121;

TYPED_TEST(SWEEPS_TEST, visit_states_as_often_as_boltzmann_says) {
    using T = TypeParam;
    const SparseQubo qubo = random_sparse(6, 8, 9, 3);
    EXPECT_LT(chi_square<T>(qubo, 9, false, 100000 / static_cast<int>(LANES<T>)),
              HIGHEST_CHI_SQUARE);
}

TEST(SWEEPS_TABLE_TEST, visits_states_as_often_as_boltzmann_says) {
    const SparseQubo qubo = random_sparse(6, 8, 2, 3);
    ASSERT_TRUE(narrowing_of(qubo).by_table);
    EXPECT_LT(chi_square<std::int8_t>(qubo, 2, true, 2000), HIGHEST_CHI_SQUARE);
}

TEST(SWEEPS_TABLE_TEST, would_be_seen_to_be_at_another_temperature) {
    const SparseQubo qubo = random_sparse(6, 8, 2, 3);
    EXPECT_GT(chi_square<std::int8_t>(qubo, 2, true, 2000, 2.1), HIGHEST_CHI_SQUARE);
}

}  // namespace
}  // namespace orvex::toolkit
