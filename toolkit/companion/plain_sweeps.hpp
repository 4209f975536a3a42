// The sweeps for processors whose vectors have a single lane: the same flips, one lane after the
// other (see sweeps.hpp for what random bits belong to which lane).
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "toolkit/companion/lanes.hpp"

namespace orvex::toolkit::plain {

/** A draw of all RNGs of a block. */
inline std::array<std::uint64_t, 8> draw(Randoms& randoms) {
    std::array<std::uint64_t, 8> drawn;
    for (std::size_t word = 0; word < drawn.size(); ++word) {
        std::uint64_t& first = randoms.first[word];
        std::uint64_t& second = randoms.second[word];
        drawn[word] = first + second;
        const std::uint64_t mixed = first ^ second;
        first = std::rotl(first, 24) ^ mixed ^ (mixed << 16);
        second = std::rotl(mixed, 37);
    }
    return drawn;
}

/** -log2(u) of 31 random bits that stand for u * 2^31. */
inline float minus_log2(std::uint32_t random) {
    const auto image = std::bit_cast<std::int32_t>(static_cast<float>(random | 1));
    const float t = std::bit_cast<float>((image & 0x7fffff) | 0x3f800000) - 1.0f;
    float curve = t * 0.0821293380f;
    curve = t * (curve - 0.2390565693f);
    curve = curve + 0.4387253151f;
    return static_cast<float>(127 + 31 - (image >> 23)) - t - t * (1.0f - t) * curve;
}

template <class T>
std::array<std::int64_t, LANES<T>> thresholds(Randoms& randoms, double scale) {
    std::array<std::int64_t, LANES<T>> all;
    if constexpr (sizeof(T) == 8) {
        const auto words = draw(randoms);
        for (std::size_t lane = 0; lane < LANES<T>; ++lane) {
            const double logarithm = minus_log2(static_cast<std::uint32_t>(words[lane] >> 33));
            all[lane] = static_cast<std::int64_t>(std::min(logarithm * scale, 0x1p62));
        }
    } else {
        constexpr std::size_t DRAWS = 4 / sizeof(T);
        constexpr float MOST = sizeof(T) == 1 ? 127.0f : sizeof(T) == 2 ? 32767.0f : 0x1p30f;
        for (std::size_t k = 0; k < DRAWS; ++k) {
            const auto words = draw(randoms);
            for (std::size_t w = 0; w < 2 * words.size(); ++w) {
                const auto random = static_cast<std::uint32_t>(words[w / 2] >> (w % 2 * 32));
                const float logarithm = minus_log2(random >> 1);
                all[DRAWS * w + k] = static_cast<std::int64_t>(
                    std::min(logarithm * static_cast<float>(scale), MOST));
            }
        }
    }
    return all;
}

/** Which lanes accept these deltas. */
template <class T>
std::array<bool, LANES<T>> accepts(const std::array<std::int64_t, LANES<T>>& deltas,
                                   const Heat& heat, bool by_table, Randoms& randoms) {
    constexpr double LN2 = 0.6931471805599453;
    std::array<bool, LANES<T>> accepted{};
    if (!by_table) {
        const auto limits = thresholds<T>(randoms, heat.temperature * LN2);
        for (std::size_t lane = 0; lane < LANES<T>; ++lane)
            accepted[lane] = deltas[lane] <= limits[lane];
        return accepted;
    }
    const auto high = draw(randoms);
    const auto low = draw(randoms);
    for (std::size_t lane = 0; lane < LANES<T>; ++lane) {
        const auto byte = [lane](const std::array<std::uint64_t, 8>& words) {
            return static_cast<unsigned>(words[lane / 8] >> (lane % 8 * 8)) & 255;
        };
        const auto place = static_cast<std::size_t>(std::max<std::int64_t>(deltas[lane], 0));
        const unsigned chance = unsigned{heat.high[place]} << 8 | heat.low[place];
        accepted[lane] = deltas[lane] <= 0 || (byte(high) << 8 | byte(low)) < chance;
    }
    return accepted;
}

template <class T>
void sweep(const Part<T>& part, std::size_t first, std::size_t last, const Heat& heat,
           bool by_table, Replicas<T>& replicas, Randoms& randoms) {
    for (std::size_t i = first; i < last; ++i) {
        T* spins = replicas.spins.data() + i * LANES<T>;
        const T* own = replicas.fields.data() + i * LANES<T>;
        std::array<std::int64_t, LANES<T>> deltas;
        for (std::size_t lane = 0; lane < LANES<T>; ++lane)
            deltas[lane] = spins[lane] != 0 ? -std::int64_t{own[lane]} : std::int64_t{own[lane]};
        const auto accepted = accepts<T>(deltas, heat, by_table, randoms);
        for (std::uint32_t k = part.starts[i]; k < part.starts[i + 1]; ++k) {
            T* fields =
                replicas.fields.data() + static_cast<std::size_t>(part.neighbours[k]) * LANES<T>;
            for (std::size_t lane = 0; lane < LANES<T>; ++lane)
                if (accepted[lane])
                    fields[lane] =
                        static_cast<T>(spins[lane] != 0 ? fields[lane] - part.weights[k]
                                                        : fields[lane] + part.weights[k]);
        }
        for (std::size_t lane = 0; lane < LANES<T>; ++lane)
            if (accepted[lane]) spins[lane] = static_cast<T>(~spins[lane]);
    }
}

template <class T>
void gather(const Replicas<T>& replicas, std::size_t size, std::uint64_t* words) {
    for (std::size_t i = 0; i < size; ++i) {
        words[i] = 0;
        for (std::size_t lane = 0; lane < LANES<T>; ++lane)
            words[i] |= std::uint64_t{replicas.spins[i * LANES<T> + lane] != 0} << lane;
    }
}

}  // namespace orvex::toolkit::plain
