// Names of the instance generators and of the flip rules. The position in a table is the number
// under which a kind travels; the first letter is its code in the progress display. The last entry
// marks what no generator or rule has made: the start solution and fresh records.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace orvex::engine {

using INSTANCE_NAMES = std::array<std::string_view, 11>;
using ALGORITHM_NAMES = std::array<std::string_view, 6>;

inline constexpr INSTANCE_NAMES INSTANCE_TABLE = {"Random", "Best",    "Mutation", "Cross",
                                                  "XCross", "Zero",    "One",      "IntervalZero",
                                                  "Hint",   "AllBest", "*"};
inline constexpr ALGORITHM_NAMES ALGORITHM_TABLE = {"MaxMin",    "PositiveMin", "CyclicMin",
                                                    "RandomMin", "TwoNeighbor", "*"};

/** The generators by the number under which they travel. */
enum GENERATOR : signed char {
    RANDOM,
    BEST,
    MUTATION,
    CROSS,
    XCROSS,
    ZERO,
    ONE,
    INTERVAL_ZERO,
    HINT,
    ALL_BEST,
    NO_GENERATOR
};
inline constexpr int GENERATORS = 10;
inline constexpr int ALGORITHMS = 5;
inline constexpr signed char NO_ALGORITHM = 5;

/** Letter of a kind; "*" for a number outside the table. */
template <class TABLE>
char letter(const TABLE& table, int kind) {
    return kind >= 0 && kind < static_cast<int>(table.size())
               ? table[static_cast<std::size_t>(kind)][0]
               : '*';
}

/** The first entry, but for the last, that starts with `prefix`; -1 if none does. */
template <class TABLE>
int find_name(const TABLE& table, const std::string& prefix) {
    for (std::size_t i = 0; i + 1 < table.size(); ++i)
        if (table[i].substr(0, prefix.size()) == prefix) return static_cast<int>(i);
    return -1;
}

}  // namespace orvex::engine
