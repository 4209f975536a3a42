// The record that travels between host and device: its layout, and what loads and prints it.
#include <cstddef>
#include <cstdio>
#include <cstring>

#include <gtest/gtest.h>

#include "engine/support/band_10240_32_32.hpp"
#include "engine/support/band_128_32_32.hpp"
#include "engine/support/band_64_32_32.hpp"

namespace {

using namespace orvex;
using INST_t = qb128_32_32::INST_t;

constexpr std::uint64_t ALL = ~std::uint64_t{0};

TEST(Instance, TheRecordIsAnEighthOfTheBandAnd64Bytes) {
    EXPECT_EQ(sizeof(qb64_32_32::INST_t), 72u);
    EXPECT_EQ(sizeof(INST_t), 80u);
    EXPECT_EQ(sizeof(qb10240_32_32::INST_t), 1344u);
    EXPECT_EQ(device::instance_bytes(65536), 8256u);
}

template <class FIELD>
std::ptrdiff_t offset_in(const INST_t& record, const FIELD& field) {
    return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&record);
}

TEST(Instance, FieldsStandAtTheirOffsets) {
    const INST_t r{};
    constexpr int TAIL = 128 / 8;
    EXPECT_EQ(offset_in(r, r.energy), 0);
    EXPECT_EQ(offset_in(r, r.bits), 8);
    EXPECT_EQ(offset_in(r, r.island), TAIL + 8);
    EXPECT_EQ(offset_in(r, r.found_time), TAIL + 16);
    EXPECT_EQ(offset_in(r, r.ticket), TAIL + 24);
    EXPECT_EQ(offset_in(r, r.cycles), TAIL + 32);
    EXPECT_EQ(offset_in(r, r.annealing), TAIL + 36);
    EXPECT_EQ(offset_in(r, r.inst), TAIL + 40);
    EXPECT_EQ(offset_in(r, r.algorithm), TAIL + 41);
    EXPECT_EQ(offset_in(r, r.param), TAIL + 42);
    EXPECT_EQ(offset_in(r, r.flag), TAIL + 43);
    EXPECT_EQ(offset_in(r, r.generation), TAIL + 44);
    EXPECT_EQ(offset_in(r, r.wait_exponent), TAIL + 46);
    EXPECT_EQ(offset_in(r, r.block), TAIL + 48);
    EXPECT_EQ(offset_in(r, r.overflow), TAIL + 60);
}

TEST(Instance, FieldsHaveTheirWidths) {
    const INST_t r{};
    EXPECT_EQ(sizeof(r.energy), 8u);
    EXPECT_EQ(sizeof(r.island), 4u);
    EXPECT_EQ(sizeof(r.found_time), 8u);
    EXPECT_EQ(sizeof(r.ticket), 8u);
    EXPECT_EQ(sizeof(r.cycles), 4u);
    EXPECT_EQ(sizeof(r.annealing), 4u);
    EXPECT_EQ(sizeof(r.inst) + sizeof(r.algorithm) + sizeof(r.param) + sizeof(r.flag), 4u);
    EXPECT_EQ(sizeof(r.generation), 2u);
    EXPECT_EQ(sizeof(r.wait_exponent), 2u);
    EXPECT_EQ(sizeof(r.block), 2u);
    EXPECT_EQ(sizeof(r.overflow), 1u);
}

TEST(Instance, AFreshRecordIsZeroButForItsMarks) {
    INST_t expected{};
    expected.energy = device::NO_ENERGY;
    expected.found_time = -1000000000;
    expected.inst = 10;
    expected.algorithm = 5;

    INST_t record;
    std::memset(&record, 0xFF, sizeof(record));
    engine::INSTANCE(record).makeFresh(device::NO_ENERGY);
    EXPECT_EQ(std::memcmp(&record, &expected, sizeof(record)), 0);
}

TEST(Instance, LoadingSetsAndClearsTheSolutionsBitsAndNoOthers) {
    Sol sol(70);
    sol.set(1, true);
    sol.set(69, true);
    INST_t record{};
    record.bits[0] = ALL;
    record.bits[1] = ALL;
    record.load(sol);
    EXPECT_EQ(record.bits[0], 2u);
    EXPECT_EQ(record.bits[1], (ALL << 6) | (1u << 5));
}

TEST(Instance, LoadingTakesNoMoreThanTheBandHolds) {
    Sol sol(200);
    for (int i = 0; i < 200; ++i)
        sol.set(i, true);
    INST_t record{};
    record.load(sol);
    EXPECT_EQ(record.bits[1], ALL);
    EXPECT_EQ(record.island, 0);
}

TEST(Instance, PrintingShowsTheBitsAsDigitsAndTheEnergy) {
    INST_t record{};
    record.bits[0] = 0b1011;
    record.bits[1] = 0b10;
    record.energy = -42;
    char* text = nullptr;
    std::size_t length = 0;
    std::FILE* out = open_memstream(&text, &length);
    record.print(out, 66);
    std::fclose(out);
    EXPECT_EQ(std::string(text, length), "1101" + std::string(61, '0') + "1\n-42\n");
    std::free(text);
}

TEST(Instance, WordsOfASolutionGoOverWhole) {
    Sol sol(128);
    sol.impl().data[0] = 5;
    sol.impl().data[1] = ALL;
    INST_t record{};
    engine::INSTANCE(record).loadWords(sol.impl());
    EXPECT_EQ(record.bits[0], 5u);
    EXPECT_EQ(record.bits[1], ALL);
}

TEST(Instance, WordsThatASolutionDoesNotHaveStayAsTheyAre) {
    Sol sol(10);
    sol.set(3, true);
    INST_t record{};
    record.bits[0] = ALL;
    record.bits[1] = 77;
    engine::INSTANCE(record).loadWords(sol.impl());
    EXPECT_EQ(record.bits[0], 8u);
    EXPECT_EQ(record.bits[1], 77u);
}

TEST(Instance, WordsBeyondTheBandAreLeftOut) {
    Sol sol(200);
    sol.impl().data[2] = ALL;
    INST_t record{};
    engine::INSTANCE(record).loadWords(sol.impl());
    EXPECT_EQ(record.island, 0);
}

}  // namespace
