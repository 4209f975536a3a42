// The plain block, against which the fast ones are held. T thread objects with K bits each; a step
// between two barriers is a loop over the threads in ascending order, and every operation is
// written as one would tell it, with no thought for speed. Where several threads may store, each
// stores, so the highest one stays.
//
// The five selections are in reference_rules.hpp, the order of all steps in reference_cycle.hpp.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

#include "engine/device/cpu/block.hpp"
#include "engine/device/formulas.hpp"
#include "engine/device/records.hpp"
#include "engine/device/shape.hpp"
#include "engine/device/xor_shift.hpp"

namespace orvex::device::test {

template <class E, class D>
class REFERENCE_BLOCK {
  public:
    static constexpr D MAX = std::numeric_limits<D>::max();
    static constexpr D LOWEST = std::numeric_limits<D>::min();

    struct THREAD {
        std::vector<D> delta;
        std::vector<std::uint8_t> tabu;
        std::uint64_t current_bits = 0;  ///< own bit c is bit c
        unsigned long rng = 0;

        bool one(int c) const { return current_bits >> c & 1; }
        bool free(int c) const { return tabu[static_cast<std::size_t>(c)] == 0; }
        D at(int c) const { return delta[static_cast<std::size_t>(c)]; }
    };

    /** A value that a thread has to offer, and the own bit that it belongs to. */
    struct OFFER {
        D value;
        int own;
    };
    using OFFERS = std::vector<std::optional<OFFER>>;  // one for each thread

    REFERENCE_BLOCK(int block_index, const CPU_LAUNCH<E>& launch)
        : shape(launch.size),
          threads(static_cast<std::size_t>(T)),
          best_bits(static_cast<std::size_t>(T)),
          target_bits(static_cast<std::size_t>(T)),
          launch_(launch) {
        DeviceState& state = *launch_.device_state;
        record.best_time = global_timer();
        record.block_sequence = state.block_count;
        if (launch_.islands_per_gpu != 0)
            record.island =
                static_cast<std::uint8_t>(record.block_sequence % launch_.islands_per_gpu);
        record.model_size = launch_.model_size;
        if (record.block_sequence == 0) state.start_time = global_timer();
        state.block_count = record.block_sequence + 1;
        for (int t = 0; t < T; ++t) {
            thread(t).delta.resize(static_cast<std::size_t>(K));
            thread(t).tabu.resize(static_cast<std::size_t>(K));
            const unsigned long seed = launch_.seeds[block_index * T + t];
            thread(t).rng = seed == 0 ? 0x0139408DCBBF7A44 : seed;
        }
        reset();
    }

    // ---- rings -----------------------------------------------------------------------------

    enum class TAKEN { INSTANCE, STOP_MARK, NOTHING };

    /** A ticket once taken is kept until its slot is ready. */
    TAKEN takeInstance() {
        if (!send_slot_) {
            const std::uint32_t ticket =
                static_cast<std::uint32_t>(launch_.device_state->state_c[2 * record.island]++);
            send_slot_ = slot(0, ticket);
            send_sequence_ = ticket + 1;
            record.wait_exponent = 0;
        }
        const std::int64_t word = tailOf(send_slot_)->ticket;
        if (word != STOP_TICKET && word != static_cast<std::int64_t>(send_sequence_)) {
            if (record.wait_exponent <= 25) ++record.wait_exponent;
            return TAKEN::NOTHING;
        }
        if (word == STOP_TICKET) return TAKEN::STOP_MARK;
        taken_slot_ = send_slot_;
        send_slot_ = nullptr;
        return TAKEN::INSTANCE;
    }

    void loadTarget() {
        const std::uint32_t* words = reinterpret_cast<const std::uint32_t*>(taken_slot_ + 8);
        for (int t = 0; t < T; ++t) {
            targetOf(t) = 0;
            for (int c = 0; c < K; ++c) {
                const int j = t * K + c;
                const std::uint64_t bit = words[j / 32] >> (j % 32) & 1;
                targetOf(t) |= bit << c;
            }
        }
        const INST_TAIL* sent = tailOf(taken_slot_);
        record.type = {sent->inst, sent->algorithm, sent->param, sent->flag};
        record.generation = sent->generation;
        record.flip_budget = sent->cycles;
        record.steps = sent->annealing;
        record.step = 0;
        record.flips = 0;
    }

    void handIn() {
        const std::uint32_t ticket =
            static_cast<std::uint32_t>(launch_.device_state->state_c[2 * record.island + 1]++);
        unsigned char* result = slot(1, ticket);
        // A word of the result holds one bit of each of 32 neighbouring threads.
        std::uint32_t* words = reinterpret_cast<std::uint32_t*>(result + 8);
        for (int i = 0; i * T < shape.size; ++i)
            for (int t = 0; t < T; ++t) {
                const int j = i * T + t;
                std::uint32_t& word = words[i * (T / 32) + t / 32];
                if (t % 32 == 0) word = 0;
                word |= static_cast<std::uint32_t>(bestOf(j / K) >> (j % K) & 1) << t % 32;
            }
        *reinterpret_cast<std::int64_t*>(result) = record.best_energy;
        INST_TAIL* tail = tailOf(result);
        const std::uint64_t start = launch_.device_state->start_time;
        tail->found_time =
            record.best_time >= start ? static_cast<std::int64_t>(record.best_time - start) : 0;
        tail->inst = record.type.inst;
        tail->algorithm = record.type.A;
        tail->param = record.type.param;
        tail->flag = record.type.flag;
        tail->generation = record.generation;
        tail->wait_exponent = record.wait_exponent;
        tail->block = static_cast<std::int16_t>(record.block_sequence);
        tail->overflow = record.overflow;
        tail->cycles = record.flips;
        record.done_generation = record.generation;
        tail->ticket = static_cast<std::int64_t>(ticket + 1);
    }

    bool killed() const { return launch_.device_state->kill != 0; }
    bool closing() const { return launch_.device_state->closing != 0; }

    void reportWrongType() const {
        for (int t = 0; t < T; ++t)
            std::printf("Type.A=%d\n", record.type.A);
    }

    // ---- solutions -------------------------------------------------------------------------

    void forgetBest() {
        std::fill(best_bits.begin(), best_bits.end(), 0);
        record.best_energy = 0;
    }

    void keepCurrent() {
        for (int t = 0; t < T; ++t)
            bestOf(t) = thread(t).current_bits;
        record.best_energy = 0;
        record.best_time = global_timer();
    }

    void reset() {
        record.energy = 0;
        for (int t = 0; t < T; ++t) {
            thread(t).current_bits = 0;
            for (int c = 0; c < K; ++c) {
                deltaOf(t, c) = launch_.diagonal[c * T + t];
                tabuOf(t, c) = 0;
            }
        }
    }

    void startWalk() { record.walk_start_energy = record.energy; }

    bool walkToTarget() {
        const OFFERS offers = lowestOf([&](int t, int c) {
            const bool differs = thread(t).one(c) != static_cast<bool>(targetOf(t) >> c & 1);
            return differs && thread(t).at(c) != MAX;
        });
        record.walk_min = lowest(offers);
        storeSelected(offers, record.walk_min);
        return record.walk_min != MAX;
    }

    bool descend() {
        OFFERS offers = lowestOf([](int, int) { return true; });
        for (auto& offer : offers)
            if (offer->value >= 0) offer.reset();
        record.descent_min = lowest(offers);
        storeSelected(offers, record.descent_min);
        return record.descent_min != MAX;
    }

    void select(int bit) { record.selected = bit; }

    // ---- one flip --------------------------------------------------------------------------

    void flipBit(bool searching) {
        const int j = record.selected;
        THREAD& owner = thread(j / K);
        record.flip_sign = owner.one(j % K) ? 1 : -1;
        const E* row = launch_.weights + static_cast<std::ptrdiff_t>(j) * shape.size;
        for (int t = 0; t < T; ++t)
            for (int c = 0; c < K; ++c)
                if (t * K + c != j) addToDelta(t, c, row[c * T + t]);
        flipOwn(owner, j % K);
        ++record.flips;
        ++record.step;
        owner.current_bits ^= std::uint64_t{1} << j % K;
        if (searching && record.type.A <= POSITIVE_MIN) countTabuDown();
    }

    bool trackBest() {
        record.best_candidate = record.best_energy;
        const OFFERS offers = lowestOf([](int, int) { return true; });
        const auto neighbour = [&](int t) {
            const D delta = offers[static_cast<std::size_t>(t)]->value;
            return wrapping_add<std::int64_t>(record.energy, delta);
        };
        for (int t = 0; t < T; ++t)
            record.best_candidate = std::min(record.best_candidate, neighbour(t));
        if (record.best_candidate == record.best_energy) return false;
        for (int t = 0; t < T; ++t) {
            bestOf(t) = thread(t).current_bits;
            if (neighbour(t) == record.best_candidate)
                record.selected = t * K + offers[static_cast<std::size_t>(t)]->own;
        }
        bestOf(record.selected / K) ^= std::uint64_t{1} << record.selected % K;
        record.best_energy = record.best_candidate;
        record.best_time = global_timer();
        return true;
    }

    // ---- search (reference_rules.hpp) ------------------------------------------------------

    void startSearch();
    void countTabuDown();
    void selectMaxMin();
    void selectPositiveMin();
    void selectCyclicMin();
    void selectRandomMin();

    const SHAPE shape;
    const int T = shape.threads;
    const int K = shape.own;
    BLOCK_RECORD<D> record{};
    std::vector<THREAD> threads;
    std::vector<std::uint64_t> best_bits, target_bits;

    THREAD& thread(int t) { return threads[static_cast<std::size_t>(t)]; }
    D& deltaOf(int t, int c) { return thread(t).delta[static_cast<std::size_t>(c)]; }
    std::uint8_t& tabuOf(int t, int c) { return thread(t).tabu[static_cast<std::size_t>(c)]; }
    std::uint64_t& bestOf(int t) { return best_bits[static_cast<std::size_t>(t)]; }
    std::uint64_t& targetOf(int t) { return target_bits[static_cast<std::size_t>(t)]; }

  private:
    // ---- what threads do together ----------------------------------------------------------

    /** Each thread's lowest delta of the own bits that `counts(t, c)`, the lower c on a tie. */
    template <class COUNTS>
    OFFERS lowestOf(COUNTS counts) {
        OFFERS offers(static_cast<std::size_t>(T));
        for (int t = 0; t < T; ++t) {
            std::optional<OFFER>& offer = offers[static_cast<std::size_t>(t)];
            for (int c = 0; c < K; ++c)
                if (counts(t, c) && (!offer || thread(t).at(c) < offer->value))
                    offer = OFFER{thread(t).at(c), c};
        }
        return offers;
    }

    /** The block-wide minimum, the maximum of D if no thread has an offer. */
    D lowest(const OFFERS& offers) const {
        D low = MAX;
        for (const auto& offer : offers)
            if (offer) low = std::min(low, offer->value);
        return low;
    }

    /** Every thread whose offer is `value` stores its bit. */
    void storeSelected(const OFFERS& offers, D value) {
        for (int t = 0; t < T; ++t) {
            const auto& offer = offers[static_cast<std::size_t>(t)];
            if (offer && offer->value == value) record.selected = t * K + offer->own;
        }
    }

    // ---- arithmetic of a flip --------------------------------------------------------------

    void addToDelta(int t, int c, E weight) {
        if (weight == 0) return;
        const bool negates = (record.flip_sign < 0) == thread(t).one(c);
        const E change = negates ? wrapping_negate(weight) : weight;
        const D before = deltaOf(t, c);
        const D sum = wrapping_add<D>(before, change);
        if (leavesRange(before, change, sum)) record.overflow = 1;
        deltaOf(t, c) = sum;
    }

    static bool leavesRange(D delta, D change, D sum) {
        if (sizeof(D) == 4)
            return static_cast<std::int64_t>(delta) + change != static_cast<std::int64_t>(sum);
        return (delta > 0 && change > 0 && sum < 0) || (delta < 0 && change < 0 && sum > 0);
    }

    void flipOwn(THREAD& owner, int c) {
        D& delta = owner.delta[static_cast<std::size_t>(c)];
        const D energy = static_cast<D>(record.energy);
        const D sum = wrapping_add(energy, delta);
        if (energy > 0 && delta > 0 && sum < 0) record.overflow = 1;
        if (energy < 0 && delta < 0 && sum > 0) record.overflow = 1;
        record.energy = sum;
        if (delta == LOWEST) record.overflow = 1;
        delta = wrapping_negate(delta);
        const std::uint32_t first = std::min(static_cast<std::uint32_t>(shape.size / 10), 255u);
        const std::uint32_t tenure = record.step < first ? first : launch_.params->tabu_cycles;
        owner.tabu[static_cast<std::size_t>(c)] = static_cast<std::uint8_t>(tenure & 0xFF);
    }

    // ---- slots -----------------------------------------------------------------------------

    unsigned char* slot(int ring, std::uint32_t ticket) const {
        const std::size_t first =
            static_cast<std::size_t>(2 * record.island + ring) * launch_.ring_size;
        return launch_.rings + (first + ticket % launch_.ring_size) * instance_bytes(shape.size);
    }
    INST_TAIL* tailOf(unsigned char* slot) const {
        return reinterpret_cast<INST_TAIL*>(slot + shape.size / 8 + 8);
    }

    const CPU_LAUNCH<E> launch_;
    unsigned char* send_slot_ = nullptr;  // while a ticket is held
    unsigned char* taken_slot_ = nullptr;
    std::uint32_t send_sequence_ = 0;
};

}  // namespace orvex::device::test

#include "reference_rules.hpp"
