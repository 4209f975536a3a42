// The records that host and blocks exchange, and the record that the threads of one block share.
// Their layout is a contract: host code, the CPU block and the kernel all go by these structures,
// and the assertions below hold them to the stated offsets.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

#include "engine/device/dialect.hpp"

namespace orvex::device {

/** `energy` of a record that holds no solution yet. */
inline constexpr std::int64_t NO_ENERGY = std::numeric_limits<std::int64_t>::max();

/** Ticket of a stop mark; the block that meets it leaves. */
inline constexpr std::int64_t STOP_TICKET = -1;

/** First part of an instance: energy and W words of bits, bit i in word i / 64. */
template <int W>
struct INST_BODY {
    std::int64_t energy;
    std::uint64_t bits[static_cast<std::size_t>(W)];
};

/** Last part of an instance, the same in all bands; it follows the bits at once. */
struct INST_TAIL {
    std::int32_t island;          ///< island that found it; set in the all-time best only
    std::int32_t reserved_a;      ///< zero
    std::int64_t found_time;      ///< nanoseconds until the finding; -1000000000 when fresh
    std::int64_t ticket;          ///< mailbox word of the rings, written last
    std::uint32_t cycles;         ///< sent: flip budget; returned: flips done
    std::uint32_t annealing;      ///< sent: steps of one search
    std::int8_t inst;             ///< number of the generator that made it
    std::int8_t algorithm;        ///< index of the flip rule
    std::int8_t param;            ///< mutation parameter, -9 to 0
    std::uint8_t flag;            ///< kernel_flag of the run
    std::uint16_t generation;     ///< restart generation of the island, low 16 bits
    std::int16_t wait_exponent;   ///< how long the block waited for it
    std::int16_t block;           ///< order of entry of the block that made it
    std::uint8_t reserved_b[10];  ///< zero
    std::uint8_t overflow;        ///< not 0: arithmetic overflow in that block
    std::uint8_t reserved_c[3];   ///< zero
};

static_assert(sizeof(INST_TAIL) == 56);
static_assert(offsetof(INST_TAIL, found_time) == 8 && offsetof(INST_TAIL, ticket) == 16);
static_assert(offsetof(INST_TAIL, cycles) == 24 && offsetof(INST_TAIL, annealing) == 28);
static_assert(offsetof(INST_TAIL, inst) == 32 && offsetof(INST_TAIL, algorithm) == 33);
static_assert(offsetof(INST_TAIL, generation) == 36 && offsetof(INST_TAIL, wait_exponent) == 38);
static_assert(offsetof(INST_TAIL, block) == 40 && offsetof(INST_TAIL, overflow) == 52);

/** Bytes of an instance record of a band of `size` bits. */
ORVEX_HD constexpr std::size_t instance_bytes(int size) {
    return static_cast<std::size_t>(size) / 8 + 64;
}

/** Parameters of the run that the blocks read from constant memory. */
struct GPU_PARAMS {
    std::uint32_t tabu_cycles = 8;  ///< tabu length of the search, 0 to 255
    bool hash_table = true;         ///< carried along; no block reads it
};
static_assert(sizeof(GPU_PARAMS) == 8);

/** One per device, in device memory: what the blocks of a launch share. */
struct DeviceState {
    std::uint64_t start_time;   ///< global timer when the first block entered, nanoseconds
    std::uint32_t block_count;  ///< blocks that have entered
    std::uint32_t block_lock;   ///< spin lock over the two above
    std::uint8_t kill;          ///< the host writes 1 to stop all blocks at once
    std::uint8_t closing;       ///< the host writes 1 when the run's time is up; CPU blocks hurry
    int* state_a;               ///< per island: spin lock over taking an instance
    int* state_b;               ///< per island: spin lock over taking a result ticket
    int* state_c;               ///< per island: instances taken, results handed in
};
static_assert(sizeof(DeviceState) == 48);

/** The four bytes of an instance that come back as they were sent. */
struct Type {
    std::int8_t inst;
    std::int8_t A;  ///< the flip rule: an ALGORITHM, or any other byte
    std::int8_t param;
    std::uint8_t flag;
};

/** Kind (`inst`) of instances that may hold a solution as the caller gave it. */
inline constexpr std::int8_t GIVEN = 9;

/** The flip rules by the number under which they travel. */
enum ALGORITHM : std::int8_t { MAX_MIN, POSITIVE_MIN, CYCLIC_MIN, RANDOM_MIN, TWO_NEIGHBOR };

/** Whether a flipped bit is barred for some steps; under other rules it is for the whole search. */
ORVEX_HD constexpr bool counts_tabu_down(std::int8_t rule) {
    return rule <= POSITIVE_MIN;
}

/**
 * What the T threads of a block share, but for its two arrays of T words, whose place each
 * implementation chooses. D is the arithmetic type of the band. The record lives as long as the
 * block: what an instance does not clear passes to the next one.
 */
template <class D>
struct BLOCK_RECORD {
    static constexpr D MAX = std::numeric_limits<D>::max();
    static constexpr D LOWEST = std::numeric_limits<D>::min();

    std::int8_t flip_sign;  ///< +1 if the bit about to flip is 1, -1 if it is 0
    D walk_min, descent_min;
    std::int64_t best_candidate;  ///< lowest neighbour energy seen in this step
    D maxmin_low, maxmin_high, maxmin_threshold;
    std::int32_t maxmin_bid;
    D positive_low, positive_threshold;
    std::int32_t positive_bid, positive_count;
    D cyclic_low;
    D random_low;
    std::uint32_t random_threshold;
    std::int64_t walk_start_energy;
    std::int64_t energy;       ///< of the current solution
    std::int64_t best_energy;  ///< of this instance; never above 0
    std::uint64_t best_time;   ///< global timer when best_energy last changed
    std::int32_t cycle_start;  ///< start of the span of "CyclicMin", a thread index
    std::uint32_t steps;       ///< steps of one search
    std::int32_t selected;     ///< the bit to flip, as a bit index
    std::int32_t model_size;
    std::uint32_t flip_budget;
    std::int16_t wait_exponent;
    std::uint8_t island;  ///< local island index
    std::uint32_t block_sequence;
    std::uint16_t generation, done_generation;
    std::uint8_t overflow;
    std::uint32_t step;   ///< flips done in the present phase or search
    std::uint32_t flips;  ///< flips done on the present instance
    Type type;
};

/**
 * What a block tells of the instance that it has done, beside energy, bits and ticket. From now on
 * its generation counts as begun.
 */
template <class D>
ORVEX_BLOCK_CODE void tell_result(BLOCK_RECORD<D>& record, std::uint64_t start_time,
                                  INST_TAIL& out) {
    out.found_time = record.best_time < start_time
                         ? 0
                         : static_cast<std::int64_t>(record.best_time - start_time);
    out.cycles = record.flips;
    out.inst = record.type.inst;
    out.algorithm = record.type.A;
    out.param = record.type.param;
    out.flag = record.type.flag;
    out.generation = record.generation;
    out.wait_exponent = record.wait_exponent;
    out.block = static_cast<std::int16_t>(record.block_sequence);
    out.overflow = record.overflow;
    record.done_generation = record.generation;
}

}  // namespace orvex::device
