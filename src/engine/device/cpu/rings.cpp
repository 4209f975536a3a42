// How a CPU block meets its island: it enters the launch, takes instances from the send ring and
// hands results in at the receive ring. The words that blocks share are touched here alone.
#include <algorithm>
#include <cassert>
#include <thread>

#include "engine/device/cpu/block.hpp"
#include "engine/device/formulas.hpp"
#include "platform/cpu/signal.hpp"

namespace orvex::device {

namespace {

// Words of DeviceState that blocks share. They lie in device memory as plain words, since the host
// copies the record as a whole.
template <class X>
X load_relaxed(const X& word) {
    return __atomic_load_n(&word, __ATOMIC_RELAXED);
}

class SPIN_GUARD {
  public:
    explicit SPIN_GUARD(int& word) : word_(word) {
        while (__atomic_exchange_n(&word_, 1, __ATOMIC_ACQUIRE) != 0)
            std::this_thread::yield();
    }
    ~SPIN_GUARD() {
        assert(load_relaxed(word_) == 1);
        __atomic_store_n(&word_, 0, __ATOMIC_RELEASE);
    }
    SPIN_GUARD(const SPIN_GUARD&) = delete;
    SPIN_GUARD& operator=(const SPIN_GUARD&) = delete;

  private:
    int& word_;
};

/**
 * The back-off exponent at which a wait of that many nanoseconds ends, if the i-th pause from 0
 * lasts 2^(i + 4) nanoseconds and the exponent stops rising at 26.
 */
std::int16_t wait_exponent_of(std::uint64_t waited) {
    std::int16_t exponent = 0;
    for (std::uint64_t pauses = 0; pauses < waited && exponent < 26; ++exponent)
        pauses += std::uint64_t{1} << (exponent + 4);
    return exponent;
}

}  // namespace

template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::enter() {
    // Blocks are made one after the other by the launching thread, before any of them runs.
    DeviceState& state = *launch_.device_state;
    record.best_time = global_timer();
    record.block_sequence = state.block_count;
    const int islands = launch_.islands_per_gpu;
    const int island = islands == 0 ? 0 : static_cast<int>(record.block_sequence) % islands;
    assert(island >= 0 && island < std::max(islands, 1));
    record.island = static_cast<std::uint8_t>(island);
    record.model_size = launch_.model_size;
    if (record.block_sequence == 0) state.start_time = global_timer();
    state.block_count = record.block_sequence + 1;
}

template <class E, class D, class N>
unsigned char* CPU_BLOCK<E, D, N>::slot(unsigned ring, std::uint32_t ticket) const {
    assert(ring <= 1);
    assert(launch_.islands_per_gpu == 0 || record.island < launch_.islands_per_gpu);
    const std::size_t first =
        static_cast<std::size_t>(2 * record.island + ring) * launch_.ring_size;
    return launch_.rings + (first + ticket % launch_.ring_size) * instance_bytes(launch_.size);
}

template <class E, class D, class N>
INST_TAIL& CPU_BLOCK<E, D, N>::tail(unsigned char* slot) const {
    assert(slot >= launch_.rings);
    assert((slot - launch_.rings) % static_cast<std::ptrdiff_t>(instance_bytes(launch_.size)) == 0);
    return *reinterpret_cast<INST_TAIL*>(slot + launch_.size / 8 + 8);
}

template <class E, class D, class N>
typename CPU_BLOCK<E, D, N>::TAKEN CPU_BLOCK<E, D, N>::takeInstance() {
    DeviceState& state = *launch_.device_state;
    int& counter = state.state_c[2 * record.island];
    const auto sequence_at = [&](int ticket) {
        return __atomic_load_n(&tail(slot(0, static_cast<std::uint32_t>(ticket))).ticket,
                               __ATOMIC_ACQUIRE);
    };
    const auto ready = [&](int ticket) {
        const std::int64_t sequence = sequence_at(ticket);
        return sequence == STOP_TICKET ||
               sequence == static_cast<std::int64_t>(static_cast<std::uint32_t>(ticket) + 1);
    };
    const auto nothing = [&] {
        if (waits_since_ == 0) waits_since_ = global_timer();
        return TAKEN::NOTHING;
    };

    if (!ready(load_relaxed(counter))) return nothing();
    const SPIN_GUARD guard(state.state_a[record.island]);
    const int ticket = load_relaxed(counter);
    if (!ready(ticket)) return nothing();
    __atomic_store_n(&counter, wrapping_add(ticket, 1), __ATOMIC_RELAXED);
    if (sequence_at(ticket) == STOP_TICKET) return TAKEN::STOP_MARK;
    record.wait_exponent =
        waits_since_ == 0 ? std::int16_t{0} : wait_exponent_of(global_timer() - waits_since_);
    assert(record.wait_exponent >= 0 && record.wait_exponent <= 26);
    waits_since_ = 0;
    readInstance(slot(0, static_cast<std::uint32_t>(ticket)));
    return TAKEN::INSTANCE;
}

template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::readInstance(unsigned char* slot) {
    const SHAPE& shape = arrays_.shape;
    assert(shape.threads * shape.own == shape.size);
    const std::uint64_t* words = reinterpret_cast<const std::uint64_t*>(slot + 8);
    for (int t = 0, j = 0; t < shape.threads; ++t)
        for (int c = 0; c < shape.own; ++c, ++j)
            target_[c * shape.threads + t] =
                static_cast<std::int8_t>(-static_cast<int>(words[j / 64] >> (j % 64) & 1));
    for (int p = 0; p < shape.size; ++p)
        arrays_.differs[p] = static_cast<std::int8_t>(target_[p] ^ arrays_.ones[p]);

    const INST_TAIL& sent = tail(slot);
    record.type = {sent.inst, sent.algorithm, sent.param, sent.flag};
    record.generation = sent.generation;
    record.flip_budget = sent.cycles;
    record.steps = sent.annealing;
    record.step = 0;
    record.flips = 0;
}

template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::handIn() {
    DeviceState& state = *launch_.device_state;
    std::uint32_t ticket;
    {
        const SPIN_GUARD guard(state.state_b[record.island]);
        int& counter = state.state_c[2 * record.island + 1];
        ticket = static_cast<std::uint32_t>(counter);
        counter = wrapping_add(counter, 1);
    }
    assert(record.best_energy <= 0);
    unsigned char* result = slot(1, ticket);
    *reinterpret_cast<std::int64_t*>(result) = record.best_energy;
    const SHAPE& shape = arrays_.shape;
    std::uint64_t* words = reinterpret_cast<std::uint64_t*>(result + 8);
    std::fill_n(words, shape.size / 64, std::uint64_t{0});
    for (int t = 0, j = 0; t < shape.threads; ++t)
        for (int c = 0; c < shape.own; ++c, ++j)
            words[j / 64] |= static_cast<std::uint64_t>(best_[c * shape.threads + t] & 1)
                             << (j % 64);

    INST_TAIL& out = tail(result);
    assert(out.ticket != static_cast<std::int64_t>(ticket + 1));  // not handed in yet
    tell_result(record, state.start_time, out);
    __atomic_store_n(&out.ticket, static_cast<std::int64_t>(ticket + 1), __ATOMIC_RELEASE);
    platform::block_wrote(&out.ticket).notify();
}

ORVEX_INSTANTIATE_CPU_BLOCKS

}  // namespace orvex::device
