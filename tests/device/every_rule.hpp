// The numbers of the flip rules in the table, for the loops of tests: a rule that is entered there
// is played by all of them.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/device/flip_rules.hpp"

namespace orvex::device::test {

inline std::vector<std::int8_t> everyRule() {
    std::vector<std::int8_t> numbers;
    for (const FLIP_RULE& rule : FLIP_RULES)
        numbers.push_back(rule.number);
    return numbers;
}

/** Those that flip until the budget is spent. */
inline std::vector<std::int8_t> everySearchingRule() {
    std::vector<std::int8_t> numbers;
    for (const FLIP_RULE& rule : FLIP_RULES)
        if (rule.searches) numbers.push_back(rule.number);
    return numbers;
}

/** Those that make one pass over all bits. */
inline std::vector<std::int8_t> everyPassingRule() {
    std::vector<std::int8_t> numbers;
    for (const FLIP_RULE& rule : FLIP_RULES)
        if (!rule.searches) numbers.push_back(rule.number);
    return numbers;
}

}  // namespace orvex::device::test
