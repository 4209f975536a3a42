// What may be set in a Param: every key with the form, range, default and meaning of its value, the
// names of flip rules and generators, and a check that says what is wrong with a setting before a
// run would end the process over it. Invariant: the engine reads settings by the same table.
//
//     for (const orvex::Parameter& parameter : orvex::parameters())
//         std::cout << parameter.key << ": " << parameter.help << "\n";
//     std::string wrong = orvex::check_parameter("tabu_cycles", "256");
//     // tabu_cycles must be an integer from 0 to 255, not "256"
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "orvex/export.hpp"

namespace orvex {

/** The form of a value. Numbers and words end at white space, and what follows is ignored. */
enum class ParameterKind {
    INTEGER,  ///< decimal digits, with or without a sign
    NUMBER,   ///< a decimal number, with or without an exponent
    WORD,     ///< one of some words, whole
    NAME,     ///< the beginning of one of some names, of which the first that fits is meant
    TEXT      ///< anything
};

/** The bounds of a number, both inclusive, as text; empty where there is none. */
struct ParameterRange {
    std::string_view least;
    std::string_view most;
};

/** One of the one or two values of a key. */
struct ParameterValue {
    ParameterKind kind;
    /** What it settles. Keys that settle the same contradict each other: a run takes either. */
    std::string_view settles;
    /**
     * What means something. Beyond, a value is refused by the run, or taken for something else: cut
     * to the width of its type, or read as a number that no search can go by.
     */
    ParameterRange sensible{};
    /** Beyond this a run ends the process, as it does for what is not a number at all. */
    ParameterRange accepted{};
    /** The words or names to choose from. */
    std::span<const std::string_view> words{};
};

/** A key and what is known of it. */
struct Parameter {
    std::string_view key;
    ParameterValue first;
    std::optional<ParameterValue> second{};  ///< where a value is a pair
    /** The value that says the same as no setting; empty where none does. */
    std::string_view default_value{};
    /** In words what holds without the setting, where that is worked out for each run. */
    std::string_view default_words{};
    std::string_view help;  ///< what it means, as a phrase
};

/** All parameters, each once. The table lives as long as the process. */
ORVEX_API std::span<const Parameter> parameters();

/** The names of the flip rules, as "fix_algorithm" and "exclude_algorithm" take them. */
ORVEX_API std::span<const std::string_view> flip_rules();

/** The names of the instance generators, as "fix_instance" takes them. */
ORVEX_API std::span<const std::string_view> generators();

/**
 * What is wrong with a setting; empty if a run takes it for what it says. All that would end the
 * process is refused, and so is what lies outside of the sensible range; for an unknown key the
 * nearest known one is named. "gpus" is held against the devices that there are.
 *
 * Settings that each are right may contradict each other: see ParameterValue::settles.
 */
ORVEX_API std::string check_parameter(std::string_view key, std::string_view value);

}  // namespace orvex
