// A block on a CPU thread: the private state of all its T threads in arrays in row order, so that a
// step of the block is a pass over S elements, one random number generator that draws for all of
// them (one_rng.hpp), and the shared record beside them. It implements the operations that the
// cycle (cycle.hpp) asks of a block, and takes instances from its island's ring.
//
// The class knows S as a number, not as a band: it is compiled once per pair of widths.
#pragma once

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include "engine/device/cpu/ops.hpp"
#include "engine/device/cpu/rows.hpp"
#include "engine/device/cpu/tabu_list.hpp"
#include "engine/device/records.hpp"
#include "engine/device/shape.hpp"
#include "engine/device/xor_shift.hpp"
#include "platform/cpu/workers.hpp"

namespace orvex::device {

/** What the kernel is launched with, as a CPU block needs it; one for all blocks of a launch. */
template <class E>
struct CPU_LAUNCH {
    int size;                    ///< S of the band
    const unsigned long* seeds;  ///< one per thread and block, of which the first of each counts
    const E* weights;            ///< matrix rows
    const E* diagonal;           ///< in row order
    /** The rows in the form that flips read; null: `weights`, with every sum tested. */
    const CPU_ROWS<E>* rows = nullptr;
    int model_size;
    unsigned ring_size;
    unsigned char islands_per_gpu;
    unsigned char* rings;  ///< first slot of all rings, records of instance_bytes(size)
    DeviceState* device_state;
    const GPU_PARAMS* params;
};

/** Nanoseconds of a clock that only rises; in place of the device's global timer. */
std::uint64_t global_timer();

/** A solution next to the block's own: its energy, and the bit that leads to it. */
struct NEIGHBOUR {
    std::int64_t energy;
    int bit;
};

/**
 * E is the element type of the matrix record, D the arithmetic type of the band. N is the type in
 * which the deltas are kept: D, or a narrower one, so that a step is a pass over less memory in
 * vectors of more deltas. The latter needs a launch whose rows say that it holds all deltas, which
 * make_block() sees to: no sum is tested then.
 */
template <class E, class D, class N = D>
class CPU_BLOCK : public platform::BLOCK_TASK {
  public:
    /** Enters: blocks of a launch deal themselves to its islands in the order of their making. */
    CPU_BLOCK(int block_index, const CPU_LAUNCH<E>& launch);

    /** Does the next instance, if its slot is ready. */
    OUTCOME advance() override;

    /**
     * Takes the next instance of the island into the block, if it is there. The ticket is taken and
     * the target read under the island's lock and only once the slot is ready: a block never holds
     * a ticket while it waits, so no slot can be filled anew before it was read, however long the
     * threads that run the other blocks of the island leave this one alone.
     */
    enum class TAKEN { INSTANCE, STOP_MARK, NOTHING };
    TAKEN takeInstance();

    // Operations of the cycle.
    void loadTarget() {}  // takeInstance() has read it
    void forgetBest();
    void reset();
    void startWalk() { record.walk_start_energy = record.energy; }
    bool walkToTarget();
    bool descend();
    void select(int bit) {
        assert(bit >= 0 && bit < arrays_.shape.size);
        record.selected = bit;
    }
    void startSearch();
    void selectMaxMin();
    void selectPositiveMin();
    void selectCyclicMin();
    void selectRandomMin();
    void flipBit(bool searching);
    bool trackBest();
    void keepCurrent();
    bool killed() const;
    bool closing() const;
    void reportWrongType() const;
    void handIn();

    BLOCK_RECORD<D> record{};

    /** State in row order, for tests and checks. */
    const BLOCK_ARRAYS<N>& arrays() const { return arrays_; }
    const std::int8_t* best() const { return best_; }
    /** The lowest delta of all bits. */
    D lowestDelta() const { return lowest_; }
    /** The tabu counters, by place. */
    TABU_LIST& tabu() { return tabu_; }
    unsigned long& rng() { return rng_; }

  private:
    int place(int bit) const {
        assert(bit >= 0 && bit < arrays_.shape.size);
        return arrays_.shape.place(bit);
    }

    /** The ends of N's range stand for nothing found, as those of D's do in the record. */
    static D arithmetic(N value) {
        if (value == std::numeric_limits<N>::max()) return BLOCK_RECORD<D>::MAX;
        if (value == std::numeric_limits<N>::min()) return BLOCK_RECORD<D>::LOWEST;
        return value;
    }
    static N stored(D value) {
        return static_cast<N>(
            std::clamp<D>(value, std::numeric_limits<N>::min(), std::numeric_limits<N>::max()));
    }

    unsigned char* slot(unsigned ring, std::uint32_t ticket) const;
    INST_TAIL& tail(unsigned char* slot) const;
    void readInstance(unsigned char* slot);
    void enter();
    void bindRows();
    void fillWords();
    // What a flip of the bit at place p does to the deltas, by the form of the rows.
    void addTestedRow(int p, bool one, PREPARE_FOR rule);
    void sweepRow(int p, bool one, PREPARE_FOR rule);
    void sweepRecordRow(int p, bool one, PREPARE_FOR rule);
    void addListedRow(int p, bool one, PREPARE_FOR rule);
    void sweep(const void* row, std::int8_t sign, PREPARE_FOR rule);
    bool mayWrap() const;
    NEIGHBOUR lowestWrappedNeighbour() const;

    // Selections (rules.cpp).
    /** "PositiveMin": the thread that the step is given to. */
    struct WINNER {
        int thread;
        bool lowest_rank;  ///< all threads drew the lowest rank
    };
    unsigned long draw() { return rng_ = xor_shift(rng_); }
    int tryPlaces(N threshold);
    /** Whether the numbers of the words are right for the present selection. */
    bool byWords() const { return keeps_words_ && prepared_for_ != PREPARE_FOR::NOTHING; }
    const std::uint64_t* tiedBits();
    WINNER drawThread(const WEIGHED& weighed);
    int pickByWeight(const WINNER& winner, const WEIGHED& weighed);
    int lastThreadOf(const std::uint64_t* noted) const;

    const CPU_LAUNCH<E> launch_;
    const BLOCK_OPS<E, N> ops_;
    const std::unique_ptr<unsigned char, void (*)(void*)> memory_;
    BLOCK_ARRAYS<N> arrays_;
    std::int8_t* target_;
    std::int8_t* best_;
    TABU_LIST tabu_;
    unsigned long rng_;
    std::vector<int> left_out_;  // places, empty between selections
    void (CPU_BLOCK::*change_deltas_)(int p, bool one, PREPARE_FOR rule);
    SWEEPS<N> sweeps_{};  // over the rows, or over what they were added to
    PREPARE_FOR prepared_for_ = PREPARE_FOR::NOTHING;  // by the last flip, about the present state
    SWEEP<N> sweep_{};
    bool weighed_by_words_ = false;  // "PositiveMin": the tied bits are not noted yet
    bool keeps_words_ = false;       // rows are short: see words.hpp
    std::optional<PREPARE_FOR> words_known_for_{};  // the rule whose numbers are right, if any
    D lowest_ = 0;                                  // kept by every flip and reset
    bool wide_ = false;                             // see ROW_SUM
    std::uint64_t waits_since_ = 0;  // global timer when the present wait began, 0 for none
};

/** All widths of blocks that there are; each file that defines members ends with this. */
#define ORVEX_INSTANTIATE_CPU_BLOCKS                                    \
    template class CPU_BLOCK<std::int32_t, std::int32_t>;               \
    template class CPU_BLOCK<std::int32_t, std::int32_t, std::int16_t>; \
    template class CPU_BLOCK<std::int32_t, std::int64_t>;               \
    template class CPU_BLOCK<std::int32_t, std::int64_t, std::int32_t>; \
    template class CPU_BLOCK<std::int32_t, std::int64_t, std::int16_t>; \
    template class CPU_BLOCK<std::int64_t, std::int64_t>;

/** A block that keeps its deltas in the narrowest type that holds them. */
template <class E, class D>
std::unique_ptr<platform::BLOCK_TASK> make_block(int block_index, const CPU_LAUNCH<E>& launch);

}  // namespace orvex::device
