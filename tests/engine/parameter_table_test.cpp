// The table of parameters, row by row: what callers are told of a key holds for the fields of a
// run. Nothing here names a key that is like the others, so that a new one is tested by being
// entered.
#include "engine/parameter_table.hpp"

#include <cstring>
#include <map>
#include <new>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "engine/names.hpp"

namespace {

using namespace orvex;
using namespace orvex::engine;

constexpr int BAND_SIZE = 1024;

/** The fields that settings go to, with their defaults, compared byte by byte. */
class FIELDS {
  public:
    FIELDS()
        : run_(new (bytes_) RUN_STATE{
              .sol = nullptr, .model = nullptr, .param = nullptr, .start = nullptr, .size = 600}) {
        run_->available_gpus = 2;
    }
    ~FIELDS() { run_->~RUN_STATE(); }
    FIELDS(const FIELDS&) = delete;
    FIELDS& operator=(const FIELDS&) = delete;

    FIELDS& read(const PARAMETER_ROW& row, const std::string& value) {
        row.read({std::string(row.told.key), value}, {*run_, gpu_params_, BAND_SIZE});
        return *this;
    }

    bool operator==(const FIELDS& other) const {
        return std::memcmp(bytes_, other.bytes_, sizeof(bytes_)) == 0 &&
               gpu_params_.tabu_cycles == other.gpu_params_.tabu_cycles &&
               gpu_params_.hash_table == other.gpu_params_.hash_table;
    }

  private:
    alignas(RUN_STATE) unsigned char bytes_[sizeof(RUN_STATE)] = {};
    RUN_STATE* run_;
    device::GPU_PARAMS gpu_params_;
};

/** Values of one form, one of which at least is not the default. */
std::vector<std::string> samples(const ParameterValue& value) {
    std::vector<std::string> all;
    if (value.kind == ParameterKind::TEXT) return {"some text"};
    for (const std::string_view word : value.words)
        all.emplace_back(word);
    if (!all.empty()) return all;
    all.emplace_back(value.sensible.least);
    // Of the devices of a run there are fewer than could be counted.
    if (value.settles != "gpus") all.emplace_back(value.sensible.most);
    return all;
}

std::vector<std::string> samples(const Parameter& parameter) {
    if (!parameter.second) return samples(parameter.first);
    std::vector<std::string> all;
    for (const std::string& first : samples(parameter.first))
        for (const std::string& second : samples(*parameter.second))
            all.push_back(first + " " + second);
    return all;
}

TEST(ParameterTable, HasEachKeyOnce) {
    std::set<std::string_view> keys;
    for (const Parameter& parameter : parameters()) {
        EXPECT_TRUE(keys.insert(parameter.key).second) << parameter.key;
        EXPECT_FALSE(parameter.help.empty()) << parameter.key;
    }
}

TEST(ParameterTable, IsWhatCallersAreShown) {
    ASSERT_EQ(parameters().size(), parameter_rows().size());
    for (std::size_t i = 0; i < parameters().size(); ++i) {
        const std::string_view key = parameters()[i].key;
        EXPECT_EQ(key, parameter_rows()[i].told.key);
        EXPECT_EQ(find_parameter(key), &parameter_rows()[i]);
    }
    EXPECT_EQ(find_parameter("no_such_key"), nullptr);
    EXPECT_EQ(find_parameter(""), nullptr);
}

TEST(ParameterTable, ADefaultValueLeavesTheRunAsItIsWithoutTheKey) {
    int seen = 0;
    for (const PARAMETER_ROW& row : parameter_rows()) {
        const std::string value(row.told.default_value);
        if (value.empty()) continue;
        EXPECT_EQ(FIELDS().read(row, value), FIELDS()) << row.told.key << " of " << value;
        ++seen;
    }
    EXPECT_GE(seen, 20);
}

TEST(ParameterTable, WhereNoValueIsTheDefaultThereAreWordsForIt) {
    for (const Parameter& parameter : parameters()) {
        if (!parameter.default_value.empty() || parameter.first.kind == ParameterKind::TEXT)
            continue;
        EXPECT_FALSE(parameter.default_words.empty()) << parameter.key;
    }
}

TEST(ParameterTable, EverySensibleValueIsReadAndSomeOfThemChangeTheRun) {
    for (const PARAMETER_ROW& row : parameter_rows()) {
        bool changes = false;
        for (const std::string& value : samples(row.told))
            changes |= !(FIELDS().read(row, value) == FIELDS());
        // The width of the arithmetic has chosen the band before anything is read.
        EXPECT_EQ(changes, row.told.key != "arithmetic_bits") << row.told.key;
    }
}

TEST(ParameterTable, ANumberHasARangeAndAChoiceHasWords) {
    for (const Parameter& parameter : parameters())
        for (const auto& value : {std::optional(parameter.first), parameter.second}) {
            if (!value) continue;
            const bool number =
                value->kind == ParameterKind::INTEGER || value->kind == ParameterKind::NUMBER;
            const bool choice =
                value->kind == ParameterKind::WORD || value->kind == ParameterKind::NAME;
            EXPECT_EQ(number, !value->sensible.least.empty()) << parameter.key;
            EXPECT_EQ(number, !value->sensible.most.empty()) << parameter.key;
            EXPECT_EQ(choice, !value->words.empty()) << parameter.key;
            EXPECT_FALSE(value->settles.empty()) << parameter.key;
        }
}

TEST(ParameterTable, KeysThatSettleTheSameAreTheKnownOnes) {
    std::map<std::string_view, std::set<std::string_view>> keys_of;
    for (const Parameter& parameter : parameters()) {
        keys_of[parameter.first.settles].insert(parameter.key);
        if (parameter.second) keys_of[parameter.second->settles].insert(parameter.key);
    }
    std::erase_if(keys_of, [](const auto& settled) { return settled.second.size() == 1; });
    const std::map<std::string_view, std::set<std::string_view>> known = {
        {"flips", {"search_cycles", "search_cycles_factor", "batch_factor"}},
        {"steps", {"search_cycles", "search_cycles_factor", "annealing_factor"}},
        {"restart_t0", {"restart_t0", "restart_duration", "restart_nobest"}},
        {"restart_b", {"restart_b", "restart_duration"}},
    };
    EXPECT_EQ(keys_of, known);
}

TEST(ParameterTable, TheNamesAreThoseOfTheEngineWithoutTheMarkOfNone) {
    ASSERT_EQ(flip_rules().size(), static_cast<std::size_t>(ALGORITHMS));
    for (std::size_t i = 0; i < flip_rules().size(); ++i)
        EXPECT_EQ(flip_rules()[i], ALGORITHM_TABLE[i]);
    ASSERT_EQ(generators().size(), static_cast<std::size_t>(GENERATORS));
    for (std::size_t i = 0; i < generators().size(); ++i)
        EXPECT_EQ(generators()[i], INSTANCE_TABLE[i]);
}

}  // namespace
