#include "toolkit/generate/matrices.hpp"

#include "toolkit/generate/sequences.hpp"

namespace orvex::toolkit::generate {

GeneratedModel palubeckis(int size, float density, std::int64_t seed) {
    return {size, [=](const TakeRow& take) {
                Multiplicative sequence(seed);
                const auto coefficient = [&] { return (sequence.next() * 201 >> 31) - 100; };
                const auto is_wanted = [&] {
                    const double percent = 100.0 * static_cast<double>(sequence.next()) / 0x1p31;
                    return static_cast<float>(percent) <= density;  // in single precision
                };
                for (int i = 0; i < size; ++i) {
                    Row row;
                    if (const std::int64_t linear = coefficient(); linear != 0)
                        row.push_back({i, -linear});
                    for (int j = i + 1; j < size; ++j) {
                        if (!is_wanted()) continue;
                        // A pair is twice in the full matrix.
                        if (const std::int64_t value = coefficient(); value != 0)
                            row.push_back({j, -2 * value});
                    }
                    take(i, row);
                }
            }};
}

GeneratedModel dense(int size, Range range, std::uint64_t seed) {
    return {
        size, [=](const TakeRow& take) {
            Congruential sequence(seed);
            for (int i = 0; i < size; ++i) {
                Row row;
                for (int j = i; j < size; ++j)
                    if (const std::int64_t weight = sequence.between(range.smallest, range.largest);
                        weight != 0)
                        row.push_back({j, weight});
                take(i, row);
            }
        }};
}

GeneratedModel sparse(int size, std::int64_t entries, Range range, std::uint64_t seed) {
    return {size, [=](const TakeRow& take) {
                Congruential sequence(seed);
                const bool spans_zero = range.smallest <= 0 && 0 <= range.largest;
                const auto weight = [&] {
                    const std::int64_t value =
                        sequence.between(range.smallest, range.largest - (spans_zero ? 1 : 0));
                    return spans_zero && value >= 0 ? value + 1 : value;
                };
                // Each pair is taken with the chance wanted / left, which ends with all wanted.
                auto left =
                    static_cast<std::uint64_t>(size) * (static_cast<std::uint64_t>(size) + 1) / 2;
                auto wanted = static_cast<std::uint64_t>(entries);
                for (int i = 0; i < size; ++i) {
                    Row row;
                    for (int j = i; j < size; ++j, --left) {
                        if (sequence.next() * left >= wanted << 32) continue;
                        row.push_back({j, weight()});
                        --wanted;
                    }
                    take(i, row);
                }
            }};
}

}  // namespace orvex::toolkit::generate
