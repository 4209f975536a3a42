// Names of the instance generators and of the flip rules. The position in a table is the number
// under which a kind travels; the first letter is its code in the progress display. The last entry
// marks what no generator or rule has made: the start solution and fresh records.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "engine/device/flip_rules.hpp"
#include "engine/device/records.hpp"

namespace orvex::engine {

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
inline constexpr int GENERATORS = NO_GENERATOR;
static_assert(ALL_BEST == device::GIVEN);
using INSTANCE_NAMES = std::array<std::string_view, GENERATORS + 1>;
inline constexpr INSTANCE_NAMES INSTANCE_TABLE = {"Random", "Best",    "Mutation", "Cross",
                                                  "XCross", "Zero",    "One",      "IntervalZero",
                                                  "Hint",   "AllBest", "*"};

inline constexpr int ALGORITHMS = static_cast<int>(device::FLIP_RULES.size());
inline constexpr signed char NO_ALGORITHM = ALGORITHMS;
using ALGORITHM_NAMES = std::array<std::string_view, ALGORITHMS + 1>;
inline constexpr ALGORITHM_NAMES ALGORITHM_TABLE = [] {
    ALGORITHM_NAMES names;
    for (const device::FLIP_RULE& rule : device::FLIP_RULES)
        names[static_cast<std::size_t>(rule.number)] = rule.name;
    names[ALGORITHMS] = "*";
    return names;
}();

/** The display tells kinds apart by their letters. */
template <class TABLE>
constexpr bool has_letters_of_its_own(const TABLE& table) {
    for (std::size_t i = 0; i < table.size(); ++i)
        for (std::size_t k = 0; k < i; ++k)
            if (table[i][0] == table[k][0]) return false;
    return true;
}
static_assert(has_letters_of_its_own(INSTANCE_TABLE) && INSTANCE_TABLE.back() == "*");
static_assert(has_letters_of_its_own(ALGORITHM_TABLE) && ALGORITHM_TABLE.back() == "*");

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
