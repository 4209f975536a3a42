#include "engine/parameter_table.hpp"

#include <algorithm>
#include <array>
#include <iterator>
#include <string>

#include "engine/error_exit.hpp"
#include "engine/names.hpp"

namespace orvex::engine {

namespace {

// ---- how values are read -------------------------------------------------------------------

/** Into one field of the run, or two, by the forms of their types. */
template <auto... FIELDS>
void into(const PARAM_ENTRY& kv, const SETTINGS_TARGET& target) {
    parse_param(kv, target.run.*FIELDS...);
}

template <std::int8_t RUN_STATE::*FIELD>
void algorithm_into(const PARAM_ENTRY& kv, const SETTINGS_TARGET& target) {
    const int index = find_name(ALGORITHM_TABLE, kv.second);
    if (index < 0) error_exit("Algorithm [" + kv.second + "] not found.");
    target.run.*FIELD = static_cast<std::int8_t>(index);
}

void read_instance(const PARAM_ENTRY& kv, const SETTINGS_TARGET& target) {
    const int index = find_name(INSTANCE_TABLE, kv.second);
    if (index < 0) error_exit("Instance [" + kv.second + "] not found.");
    target.run.fix_instance = static_cast<std::int8_t>(index);
}

/** It has chosen the band already. */
void skip(const PARAM_ENTRY&, const SETTINGS_TARGET&) {}

void read_gpus(const PARAM_ENTRY& kv, const SETTINGS_TARGET& target) {
    RUN_STATE& run = target.run;
    parse_param(kv, run.gpus);
    if (run.gpus <= 0 || run.gpus > run.available_gpus)
        error_exit("gpus(" + std::to_string(run.gpus) + ") is wrong (vailable gpus(" +
                   std::to_string(run.available_gpus) + "))");
}

void read_pool_size(const PARAM_ENTRY& kv, const SETTINGS_TARGET& target) {
    parse_param(kv, target.run.pool_size);
    if (target.run.pool_size < 2) error_exit("pool_size must be at least 2.");
}

void read_energy_width(const PARAM_ENTRY& kv, const SETTINGS_TARGET& target) {
    target.run.energy_width = static_cast<int>(kv.second.length());
}

/** A given value scales the band, where its own default and all other factors scale the model. */
void read_batch_factor(const PARAM_ENTRY& kv, const SETTINGS_TARGET& target) {
    parse_param(kv, target.run.batch_factor);
    target.run.batch_cycles = cycles_of(target.run.batch_factor, target.band_size);
}

void read_tabu_cycles(const PARAM_ENTRY& kv, const SETTINGS_TARGET& target) {
    int tabu_cycles = 0;
    parse_param(kv, tabu_cycles);
    target.gpu_params.tabu_cycles = static_cast<std::uint32_t>(tabu_cycles);
    if (target.gpu_params.tabu_cycles > 255) error_exit("tabu_cycles must range from 0 to 255.");
}

void read_hash_table(const PARAM_ENTRY& kv, const SETTINGS_TARGET& target) {
    int hash_table = 0;
    parse_param(kv, hash_table);
    target.gpu_params.hash_table = hash_table != 0;
}

// ---- what callers are told -----------------------------------------------------------------

constexpr std::string_view WIDTHS[] = {"32", "64"};
constexpr std::string_view TRUTHS[] = {"0", "1", "false", "true"};
constexpr std::span<const std::string_view> RULES = std::span(ALGORITHM_TABLE).first<ALGORITHMS>();
constexpr std::span<const std::string_view> MAKERS = std::span(INSTANCE_TABLE).first<GENERATORS>();

constexpr std::string_view MOST_INT = "2147483647";
constexpr std::string_view MOST_LONG = "9223372036854775807";
constexpr std::string_view MOST_ISLANDS = "255";       // blocks are told the number in a byte
constexpr std::string_view MOST_BLOCKS = "134217727";  // 16 times as many are counted in an int
constexpr ParameterRange CYCLES = {"0", MOST_INT};
// With the largest model a count of cycles is a third of what its type holds.
constexpr ParameterRange FACTOR = {"0", "10000"};
constexpr ParameterRange SECONDS = {"-1e9", "1e9"};
constexpr ParameterRange GROWTH = {"1e-3", "1e6"};

constexpr ParameterValue integer(std::string_view settles, ParameterRange sensible,
                                 ParameterRange accepted = {}) {
    return {ParameterKind::INTEGER, settles, sensible, accepted};
}

constexpr ParameterValue number(std::string_view settles, ParameterRange sensible) {
    return {ParameterKind::NUMBER, settles, sensible};
}

constexpr ParameterValue name(std::string_view settles, std::span<const std::string_view> names) {
    return {.kind = ParameterKind::NAME, .settles = settles, .words = names};
}

constexpr ParameterValue word(std::string_view settles, std::span<const std::string_view> words) {
    return {.kind = ParameterKind::WORD, .settles = settles, .words = words};
}

constexpr PARAMETER_ROW TABLE[] = {
    {{.key = "time_limit",
      .first = integer("time_limit", {"0", "4294967295"}),
      .default_value = "0",
      .help = "seconds of search; 0 means no limit"},
     into<&RUN_STATE::time_limit>},
    {{.key = "target_energy",
      .first = integer("target_energy", {"-9223372036854775808", MOST_LONG}),
      .default_value = "-9223372036854775808",
      .default_words = "none",
      .help = "the search ends when the best energy is at or below it; a target of exactly 0 is "
              "no target"},
     into<&RUN_STATE::target_energy>},
    {{.key = "trial_limit",
      .first = integer("trial_limit", {"0", MOST_LONG}),
      .default_value = "0",
      .help = "most instances sent to the blocks; 0 means no limit"},
     into<&RUN_STATE::trial_limit>},
    {{.key = "arithmetic_bits",
      .first = word("arithmetic_bits", WIDTHS),
      .default_words = "64 for a model of 64-bit weights, else 32",
      .help = "width in which blocks keep energies and deltas; an overflow ends the process"},
     skip},
    {{.key = "gpus",
      .first = integer("gpus", {"1", MOST_INT}, {"1", ""}),
      .default_words = "all",
      .help = "devices to use; more than there are, or less than 1, is refused"},
     read_gpus},
    {{.key = "verbose",
      .first = integer("verbose", {"0", "32767"}),
      .default_value = "0",
      .help = "1: device lines, progress, final table on standard error; 2: also timing and "
              "occupancy"},
     into<&RUN_STATE::verbose>},
    {{.key = "log",
      .first = word("log", TRUTHS),
      .default_value = "false",
      .help = "a line \"seconds,energy\" per new best in the result's log"},
     into<&RUN_STATE::log>},
    {{.key = "search_cycles",
      .first = integer("flips", CYCLES),
      .second = integer("steps", CYCLES),
      .default_value = "0 0",
      .default_words = "derived",
      .help = "flip budget of an instance (at least 100) and steps of one search (at least 20); 0 "
              "in either place derives that one from its factor"},
     into<&RUN_STATE::batch_cycles, &RUN_STATE::annealing_cycles>},
    {{.key = "batch_factor",
      .first = number("flips", FACTOR),
      .default_words = "1.0, which alone is a multiple of the model's size",
      .help = "flip budget; a value that is given is a multiple of the band's size"},
     read_batch_factor},
    {{.key = "annealing_factor",
      .first = number("steps", FACTOR),
      .default_value = "0.2",
      .help = "steps of one search as a multiple of the model's size"},
     into<&RUN_STATE::annealing_factor>},
    {{.key = "search_cycles_factor",
      .first = number("flips", FACTOR),
      .second = number("steps", FACTOR),
      .default_value = "1.0 0.2",
      .help = "both, as multiples of the model's size"},
     into<&RUN_STATE::batch_factor, &RUN_STATE::annealing_factor>},
    {{.key = "tabu_cycles",
      .first = integer("tabu_cycles", {"0", "255"}, {"0", "255"}),
      .default_value = "8",
      .help = "steps for which a flipped bit stays barred"},
     read_tabu_cycles},
    {{.key = "pool_size",
      .first = integer("pool_size", {"2", MOST_INT}, {"2", ""}),
      .default_value = "100",
      .help = "solutions in each island's pool"},
     read_pool_size},
    {{.key = "solution_proximity",
      .first = integer("solution_proximity", {"-2147483648", MOST_INT}),
      .default_value = "-1",
      .default_words = "a hundredth of the variables",
      .help = "Hamming distance within which two solutions of a pool count as near; negative "
              "means the default"},
     into<&RUN_STATE::solution_proximity>},
    {{.key = "islands_per_gpu",
      .first = integer("islands_per_gpu", {"0", MOST_ISLANDS}),
      .default_value = "0",
      .default_words = "at least five in all",
      .help = "islands on each device; 0 means the default. Blocks know their island by 8 bits: "
              "with more the last ones would wait for ever"},
     into<&RUN_STATE::islands_per_gpu>},
    {{.key = "blocks_per_island",
      .first = integer("blocks_per_island", {"0", MOST_BLOCKS}),
      .default_value = "0",
      .default_words = "all blocks, dealt evenly",
      .help = "blocks that serve an island; 0 means the default"},
     into<&RUN_STATE::blocks_per_island>},
    {{.key = "restart_t0",
      .first = number("restart_t0", SECONDS),
      .default_value = "1.0",
      .help = "seconds of the first restart period; 0 or less turns restarts off"},
     into<&RUN_STATE::restart_t0>},
    {{.key = "restart_b",
      .first = number("restart_b", GROWTH),
      .default_value = "2.0",
      .help = "growth of the periods"},
     into<&RUN_STATE::restart_b>},
    {{.key = "restart_duration",
      .first = number("restart_t0", SECONDS),
      .second = number("restart_b", GROWTH),
      .default_value = "1.0 2.0",
      .help = "both at once"},
     into<&RUN_STATE::restart_t0, &RUN_STATE::restart_b>},
    {{.key = "restart_nobest",
      .first = number("restart_t0", SECONDS),
      .second = number("restart_nobest", {"0", "1"}),
      .default_value = "1.0 0.25",
      .help = "seconds of the first period, and the share of each period in which \"AllBest\" is "
              "not chosen"},
     into<&RUN_STATE::restart_t0, &RUN_STATE::restart_nobest>},
    {{.key = "fix_algorithm",
      .first = name("fix_algorithm", RULES),
      .default_words = "none",
      .help = "every instance uses this flip rule"},
     algorithm_into<&RUN_STATE::fix_algorithm>},
    {{.key = "exclude_algorithm",
      .first = name("exclude_algorithm", RULES),
      .default_words = "none",
      .help = "random choices skip this flip rule"},
     algorithm_into<&RUN_STATE::exclude_algorithm>},
    {{.key = "fix_instance",
      .first = name("fix_instance", MAKERS),
      .default_words = "none",
      .help = "every instance is made by this generator"},
     read_instance},
    {{.key = "best_priority",
      .first = integer("best_priority", {"-2147483648", MOST_INT}),
      .default_value = "0",
      .help = "mixing of \"Hint\" and \"AllBest\": from -9 to -1 a share of 2^value of the bits "
              "comes from the special solution; above 9 all; below -9 none; from 0 to 9 the "
              "previous instance stays"},
     into<&RUN_STATE::best_priority>},
    {{.key = "inst_zero",
      .first = integer("inst_zero", {"0", "63"}),
      .default_value = "3",
      .help = "\"Zero\" clears one bit in 2^value"},
     into<&RUN_STATE::inst_zero>},
    {{.key = "inst_one",
      .first = integer("inst_one", {"0", "63"}),
      .default_value = "3",
      .help = "\"One\" sets one bit in 2^value"},
     into<&RUN_STATE::inst_one>},
    {{.key = "expected_energy",
      .first = {ParameterKind::TEXT, "expected_energy"},
      .help = "its length is the width of the energy column in the progress lines"},
     read_energy_width},
    {{.key = "hash_table",
      .first = integer("hash_table", {"0", "1"}),
      .default_value = "1",
      .help = "accepted; nothing reads it"},
     read_hash_table},
    {{.key = "exp_popcount",
      .first = integer("exp_popcount", {"-2147483648", MOST_INT}),
      .default_value = "0",
      .help = "accepted; nothing reads it"},
     into<&RUN_STATE::exp_popcount>},
};

static_assert(
    [] {
        for (const PARAMETER_ROW& row : TABLE)
            for (const PARAMETER_ROW* other = TABLE; other != &row; ++other)
                if (other->told.key == row.told.key) return false;
        return true;
    }(),
    "every key has one row");

constexpr auto TOLD = [] {
    std::array<Parameter, std::size(TABLE)> told{};
    for (std::size_t i = 0; i < told.size(); ++i)
        told[i] = TABLE[i].told;
    return told;
}();

}  // namespace

std::span<const PARAMETER_ROW> parameter_rows() {
    return TABLE;
}

const PARAMETER_ROW* find_parameter(std::string_view key) {
    const auto row =
        std::find_if(std::begin(TABLE), std::end(TABLE),
                     [&](const PARAMETER_ROW& other) { return other.told.key == key; });
    return row == std::end(TABLE) ? nullptr : row;
}

}  // namespace orvex::engine

std::span<const orvex::Parameter> orvex::parameters() {
    return engine::TOLD;
}

std::span<const std::string_view> orvex::flip_rules() {
    return engine::RULES;
}

std::span<const std::string_view> orvex::generators() {
    return engine::MAKERS;
}
