// A block of device threads: each thread keeps its K bits, their deltas and tabu counters for
// itself, in registers, and the threads meet in the shared record. The operations that the cycle
// (cycle.hpp) asks of a block are run by all T threads together.
//
// Two rules keep the threads of a block together and the record sound:
//   * When an operation returns, what it wrote to the record lies after a barrier; and it writes a
//     cell that the cycle or an earlier operation reads only after a barrier that follows that
//     read. So every thread finds the same record wherever the cycle branches.
//   * Loops over own bits are unrolled in full and private arrays are indexed by constants only: an
//     index known at run time would move the array to memory.
//
// The kill byte is host memory to a block: thread 0 looks at it where the block stops for a barrier
// anyway, and all threads go by what it noted in the record.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <type_traits>

#include "engine/device/cuda/reduce.hpp"
#include "engine/device/cuda/words.hpp"
#include "engine/device/cycle.hpp"
#include "engine/device/formulas.hpp"
#include "engine/device/records.hpp"
#include "engine/device/shape.hpp"

namespace orvex::device {

/** The own bits of one thread: bit c is own bit c. */
template <int S>
using OWN_BITS = std::conditional_t<(SHAPE(S).own > 32), std::uint64_t, std::uint32_t>;

/** All that the threads of a block share. */
template <int S, class D>
struct CUDA_SHARED {
    BLOCK_RECORD<D> record;
    OWN_BITS<S> best_bits[SHAPE(S).threads];    ///< best solution of the instance
    OWN_BITS<S> target_bits[SHAPE(S).threads];  ///< where the walk goes
    unsigned char* send_slot;                   ///< of the present instance
    unsigned char* receive_slot;                ///< of the present result
    std::uint32_t receive_sequence;
    std::uint8_t kill_seen;  ///< the kill byte as thread 0 saw it last
    std::uint8_t leaving;    ///< there is no instance any more
};

/** What the kernel is launched with; one for all blocks of a launch. */
template <class E>
struct CUDA_LAUNCH {
    const unsigned long* seeds;  ///< one per thread and block
    const E* weights;            ///< matrix rows
    const E* diagonal;           ///< in row order
    const int* model_size;
    unsigned ring_size;
    unsigned islands_per_gpu;
    unsigned char* rings;  ///< first slot of all rings
    DeviceState* device_state;
    const GPU_PARAMS* params;
};

template <int S, class E, class D>
class CUDA_BLOCK {
  public:
    static constexpr int T = SHAPE(S).threads;
    static constexpr int K = SHAPE(S).own;
    static constexpr D MAX = BLOCK_RECORD<D>::MAX;
    static constexpr D LOWEST = BLOCK_RECORD<D>::LOWEST;
    using BITS = OWN_BITS<S>;
    using SHARED = CUDA_SHARED<S, D>;
    static_assert(T % WARP == 0 && K <= static_cast<int>(8 * sizeof(BITS)));

    /** Enters: blocks of a launch deal themselves to its islands in the order of their entry. */
    ORVEX_BLOCK_CODE CUDA_BLOCK(SHARED& shared, const CUDA_LAUNCH<E>& launch);

    /** Waits for the next instance of the island. False: the block leaves. */
    ORVEX_BLOCK_CODE bool takeInstance();

    // Operations of the cycle.
    ORVEX_BLOCK_CODE void loadTarget();
    ORVEX_BLOCK_CODE void forgetBest();
    ORVEX_BLOCK_CODE void reset();
    ORVEX_BLOCK_CODE void startWalk();
    ORVEX_BLOCK_CODE bool walkToTarget();
    ORVEX_BLOCK_CODE bool descend();
    ORVEX_BLOCK_CODE void select(int bit);
    ORVEX_BLOCK_CODE void startSearch();
    ORVEX_BLOCK_CODE void selectMaxMin();
    ORVEX_BLOCK_CODE void selectPositiveMin();
    ORVEX_BLOCK_CODE void selectCyclicMin();
    ORVEX_BLOCK_CODE void selectRandomMin();
    ORVEX_BLOCK_CODE void flipBit(bool searching);
    ORVEX_BLOCK_CODE void countTabuDown();
    ORVEX_BLOCK_CODE bool trackBest();
    ORVEX_BLOCK_CODE void keepCurrent();
    ORVEX_BLOCK_CODE bool killed() const { return shared_.kill_seen != 0; }
    /** An instance is short, and one more word to look at in each step would cost more. */
    ORVEX_BLOCK_CODE static constexpr bool closing() { return false; }
    ORVEX_BLOCK_CODE void reportWrongType();
    ORVEX_BLOCK_CODE void handIn();

    BLOCK_RECORD<D>& record;

  protected:
    // Elements of a row that are asked for before the barrier in front of their use.
    static constexpr int AHEAD = K < 8 ? K : 8;
    static constexpr int TABU_WORDS = (K + 3) / 4;

    ORVEX_BLOCK_CODE bool first() const { return thread_ == 0; }
    ORVEX_BLOCK_CODE bool free(int c) const { return (tabu_[c / 4] >> 8 * (c % 4) & 0xFF) == 0; }
    ORVEX_BLOCK_CODE bool differs(int c, BITS from) const { return (bits_ ^ from) >> c & 1; }
    ORVEX_BLOCK_CODE void clearTabu();
    ORVEX_BLOCK_CODE unsigned long draw() { return rng_ = xor_shift(rng_); }

    /** The lowest of the own deltas that are wanted; the maximum of D if there is none. */
    template <class WANTED>
    ORVEX_BLOCK_CODE D lowestOwn(WANTED wanted) const;
    /** The first own bit with that delta that is wanted. */
    template <class WANTED>
    ORVEX_BLOCK_CODE int locate(D value, WANTED wanted) const;

    ORVEX_BLOCK_CODE void selectOwn(int c) { put(record.selected, thread_ * K + c); }
    ORVEX_BLOCK_CODE int pickBelowThreshold(D threshold);
    ORVEX_BLOCK_CODE int pickByWeight(D threshold, std::int32_t tied);
    ORVEX_BLOCK_CODE bool turnOwnBit(int own);

    ORVEX_BLOCK_CODE void enter();
    ORVEX_BLOCK_CODE bool waitForInstance();
    ORVEX_BLOCK_CODE unsigned char* slot(unsigned ring, std::uint32_t ticket) const;
    ORVEX_BLOCK_CODE static INST_TAIL& tail(unsigned char* slot) {
        return *reinterpret_cast<INST_TAIL*>(slot + S / 8 + 8);
    }
    ORVEX_BLOCK_CODE std::uint8_t killByte() const { return peek(launch_.device_state->kill); }
    ORVEX_BLOCK_CODE int& counter(int which) const {
        return launch_.device_state->state_c[2 * record.island + which];
    }

    SHARED& shared_;
    const CUDA_LAUNCH<E> launch_;
    const int thread_;
    D delta_[K];
    std::uint32_t tabu_[TABU_WORDS];
    BITS bits_;  ///< the current solution
    unsigned long rng_;
};

/** The whole life of a block. */
template <class BLOCK>
ORVEX_BLOCK_CODE void serve(BLOCK& block) {
    while (block.takeInstance())
        if (!runInstance(block)) return;
}

// ---- own bits ------------------------------------------------------------------------------

template <int S, class E, class D>
template <class WANTED>
ORVEX_BLOCK_CODE D CUDA_BLOCK<S, E, D>::lowestOwn(WANTED wanted) const {
    D lowest = MAX;
    ORVEX_UNROLL
    for (int c = 0; c < K; ++c)
        if (wanted(c) && delta_[c] < lowest) lowest = delta_[c];
    return lowest;
}

template <int S, class E, class D>
template <class WANTED>
ORVEX_BLOCK_CODE int CUDA_BLOCK<S, E, D>::locate(D value, WANTED wanted) const {
    int own = 0;
    ORVEX_UNROLL
    for (int c = K - 1; c >= 0; --c)
        if (wanted(c) && delta_[c] == value) own = c;
    return own;
}

template <int S, class E, class D>
ORVEX_BLOCK_CODE void CUDA_BLOCK<S, E, D>::clearTabu() {
    ORVEX_UNROLL
    for (int i = 0; i < TABU_WORDS; ++i)
        tabu_[i] = 0;
}

/** Every byte that is not 0 falls by 1: adding 0x7F to its low bits carries into its top bit. */
template <int S, class E, class D>
ORVEX_BLOCK_CODE void CUDA_BLOCK<S, E, D>::countTabuDown() {
    ORVEX_UNROLL
    for (int i = 0; i < TABU_WORDS; ++i) {
        const std::uint32_t low_bits = tabu_[i] & 0x7F7F7F7F;
        const std::uint32_t counting = ((low_bits + 0x7F7F7F7F) | tabu_[i]) & 0x80808080;
        tabu_[i] -= counting >> 7;
    }
}

// ---- solutions and their bests -------------------------------------------------------------

template <int S, class E, class D>
ORVEX_BLOCK_CODE void CUDA_BLOCK<S, E, D>::forgetBest() {
    shared_.best_bits[thread_] = 0;
    if (first()) record.best_energy = 0;
    __syncthreads();  // redundant: what follows in the cycle begins with a barrier
}

template <int S, class E, class D>
ORVEX_BLOCK_CODE void CUDA_BLOCK<S, E, D>::keepCurrent() {
    __syncthreads();
    shared_.best_bits[thread_] = bits_;
    if (first()) {
        record.best_energy = 0;
        record.best_time = global_timer_ns();
    }
    __syncthreads();
}

template <int S, class E, class D>
ORVEX_BLOCK_CODE void CUDA_BLOCK<S, E, D>::reset() {
    if (first()) record.energy = 0;
    ORVEX_UNROLL
    for (int c = 0; c < K; ++c)
        delta_[c] = __ldg(launch_.diagonal + c * T + thread_);
    bits_ = 0;
    clearTabu();
    __syncthreads();  // redundant: the walk begins with a barrier
}

template <int S, class E, class D>
ORVEX_BLOCK_CODE void CUDA_BLOCK<S, E, D>::startWalk() {
    if (first()) record.walk_start_energy = record.energy;
    __syncthreads();  // redundant: the walk begins with a barrier
}

// ---- one flip ------------------------------------------------------------------------------

template <int S, class E, class D>
ORVEX_BLOCK_CODE void CUDA_BLOCK<S, E, D>::select(int bit) {
    if (first()) record.selected = bit;
    __syncthreads();
}

/** What a flip does to its own bit, in the owner; whether energy or delta left their range. */
template <int S, class E, class D>
ORVEX_BLOCK_CODE bool CUDA_BLOCK<S, E, D>::turnOwnBit(int own) {
    const std::uint32_t byte = tenure(record.step, first_tenure(S), launch_.params->tabu_cycles);
    D delta = 0;
    ORVEX_UNROLL
    for (int c = 0; c < K; ++c) {
        if (c != own) continue;
        delta = delta_[c];
        delta_[c] = wrapping_negate(delta);
        tabu_[c / 4] = (tabu_[c / 4] & ~(0xFFu << 8 * (c % 4))) | byte << 8 * (c % 4);
    }
    const D energy = static_cast<D>(record.energy);
    const D sum = wrapping_add(energy, delta);
    record.energy = sum;
    return energy_overflows(energy, delta, sum) || delta == LOWEST;
}

template <int S, class E, class D>
ORVEX_BLOCK_CODE void CUDA_BLOCK<S, E, D>::flipBit(bool searching) {
    const int bit = record.selected;
    const int own = bit - thread_ * K;
    const bool owner = own >= 0 && own < K;
    const E* const row = launch_.weights + static_cast<std::size_t>(bit) * S + thread_;
    E ahead[AHEAD];
    ORVEX_UNROLL
    for (int c = 0; c < AHEAD; ++c)
        ahead[c] = __ldg(row + c * T);
    const std::uint8_t kill = first() ? killByte() : std::uint8_t{0};
    if (owner) record.flip_sign = (bits_ >> own & 1) != 0 ? 1 : -1;
    __syncthreads();

    // A neighbour that is 1 sees the element with the sign of the flip, one that is 0 with the
    // other.
    const BITS negated = record.flip_sign > 0 ? static_cast<BITS>(~bits_) : bits_;
    bool overflow = false;
    ORVEX_UNROLL
    for (int c = 0; c < K; ++c) {
        E element = c < AHEAD ? ahead[c < AHEAD ? c : 0] : __ldg(row + c * T);
        if (c == own) element = 0;
        const D change = (negated >> c & 1) != 0 ? wrapping_negate(element) : element;
        const D sum = wrapping_add(delta_[c], change);
        overflow |= delta_overflows(delta_[c], change, sum);
        delta_[c] = sum;
    }
    if (owner) overflow |= turnOwnBit(own);
    if (overflow) put(record.overflow, std::uint8_t{1});
    __syncthreads();
    if (first()) {
        ++record.flips;
        ++record.step;
        shared_.kill_seen = kill;
    }
    __syncthreads();
    if (owner) bits_ ^= BITS{1} << own;
    if (searching && counts_tabu_down(record.type.A)) countTabuDown();
}

template <int S, class E, class D>
ORVEX_BLOCK_CODE bool CUDA_BLOCK<S, E, D>::trackBest() {
    const auto any = [](int) { return true; };
    if (first()) record.best_candidate = record.best_energy;
    const D lowest = lowestOwn(any);
    const std::int64_t energy = wrapping_add<std::int64_t>(record.energy, lowest);
    __syncthreads();
    lower_to(record.best_candidate, energy);
    __syncthreads();
    const std::int64_t candidate = record.best_candidate;
    if (candidate == record.best_energy) return false;

    shared_.best_bits[thread_] = bits_;
    if (energy == candidate) selectOwn(locate(lowest, any));
    __syncthreads();
    const int own = record.selected - thread_ * K;
    if (own >= 0 && own < K) {
        shared_.best_bits[thread_] ^= BITS{1} << own;
        record.best_energy = candidate;
        record.best_time = global_timer_ns();
    }
    __syncthreads();
    return true;
}

// ---- walk and descent ----------------------------------------------------------------------

template <int S, class E, class D>
ORVEX_BLOCK_CODE bool CUDA_BLOCK<S, E, D>::walkToTarget() {
    const BITS target = shared_.target_bits[thread_];
    const auto wanted = [&](int c) { return differs(c, target); };
    if (first()) record.walk_min = MAX;
    const D lowest = lowestOwn(wanted);
    __syncthreads();
    post_min(record.walk_min, lowest, thread_);
    __syncthreads();
    if (lowest != MAX && lowest == record.walk_min) selectOwn(locate(lowest, wanted));
    __syncthreads();
    return record.walk_min != MAX;
}

template <int S, class E, class D>
ORVEX_BLOCK_CODE bool CUDA_BLOCK<S, E, D>::descend() {
    const auto any = [](int) { return true; };
    if (first()) record.descent_min = MAX;
    const D lowest = lowestOwn(any);
    __syncthreads();
    post_min(record.descent_min, lowest < 0 ? lowest : MAX, thread_);
    __syncthreads();
    if (lowest < 0 && lowest == record.descent_min) selectOwn(locate(lowest, any));
    __syncthreads();
    return record.descent_min != MAX;
}

}  // namespace orvex::device

#include "engine/device/cuda/rings.hpp"
#include "engine/device/cuda/rules.hpp"
