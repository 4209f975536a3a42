// How a block of device threads enters, takes instances and hands in results. Part of the CUDA
// block: block.hpp includes this.
//
// A block takes a ticket only when its slot is ready, and reads the slot at once. It
// never holds a ticket while it sleeps, so a slot cannot be filled anew before it was read, however
// far the other blocks of the island get meanwhile. The contents of a slot are read past the caches
// and only after the fence that follows the look at its sequence word; results go out in the
// opposite order.
//
// A grid may hold more blocks than the device can keep at once. The blocks that do not fit start
// when others have left, which happens at the end of a run only, and the run ends all the same:
//   * No block waits for another one: the locks are held for a few instructions by blocks that run,
//     and an instance is taken by whichever block of the island comes first. So the blocks that are
//     there do all the work, whether they are all or not.
//   * Blocks are dealt to islands in the order of entry, so an island gets exactly as many blocks
//     in the course of the run as the host sends it stop marks. Each block takes one mark and
//     leaves, which makes room for one that waits; that one is counted to an island whose marks are
//     not used up, finds nothing but a mark (or an instance that is still owed, and then a mark),
//     and leaves in its turn. Marks stand after all instances of the island, so nothing sent is
//     left lying.
//   * An island whose blocks all wait outside (there are more islands than blocks that fit) has its
//     instances done once the other islands have stopped, or never if they never stop, which is the
//     caller's choice of shape. Its results then find the run stopped and it stops too.
//   * The kill byte is looked at before a block waits for anything, so a block that enters after a
//     kill leaves at once.
#pragma once

#include "engine/device/cuda/block.hpp"

namespace orvex::device {

// ---- entry ---------------------------------------------------------------------------------

template <int S, class E, class D>
ORVEX_BLOCK_CODE CUDA_BLOCK<S, E, D>::CUDA_BLOCK(SHARED& shared, const CUDA_LAUNCH<E>& launch)
    : record(shared.record),
      shared_(shared),
      launch_(launch),
      thread_(static_cast<int>(threadIdx.x)) {
    shared_.best_bits[thread_] = 0;
    if (first()) enter();
    __syncthreads();  // redundant: the reset ends with a barrier
    __threadfence();
    const std::size_t place = static_cast<std::size_t>(blockIdx.x) * T + threadIdx.x;
    rng_ = usable_seed(launch_.seeds[place]);
    reset();
}

template <int S, class E, class D>
ORVEX_BLOCK_CODE void CUDA_BLOCK<S, E, D>::enter() {
    record = BLOCK_RECORD<D>{};
    record.best_time = global_timer_ns();
    record.model_size = *launch_.model_size;
    DeviceState& state = *launch_.device_state;
    mutexLock(state.block_lock);
    record.block_sequence = peek(state.block_count);
    if (record.block_sequence == 0) poke(state.start_time, global_timer_ns());
    poke(state.block_count, record.block_sequence + 1);
    mutexUnlock(state.block_lock);
    // A count of islands that is a multiple of 256 arrives as 0.
    const unsigned islands = launch_.islands_per_gpu;
    record.island = static_cast<std::uint8_t>(islands == 0 ? 0 : record.block_sequence % islands);
}

// ---- instances in --------------------------------------------------------------------------

template <int S, class E, class D>
ORVEX_BLOCK_CODE unsigned char* CUDA_BLOCK<S, E, D>::slot(unsigned ring,
                                                          std::uint32_t ticket) const {
    const std::size_t first_slot =
        static_cast<std::size_t>(2 * record.island + ring) * launch_.ring_size;
    return launch_.rings + (first_slot + ticket % launch_.ring_size) * instance_bytes(S);
}

template <int S, class E, class D>
ORVEX_BLOCK_CODE bool CUDA_BLOCK<S, E, D>::takeInstance() {
    if (first()) shared_.leaving = !waitForInstance();
    __syncthreads();
    __threadfence();
    return shared_.leaving == 0;
}

/** Thread 0: takes the island's next ticket once its slot is ready. False: kill or a stop mark. */
template <int S, class E, class D>
ORVEX_BLOCK_CODE bool CUDA_BLOCK<S, E, D>::waitForInstance() {
    auto& lock = *reinterpret_cast<unsigned int*>(launch_.device_state->state_a + record.island);
    int& taken = counter(0);
    std::int64_t sequence = 0;
    const auto ready = [&] {
        const std::uint32_t ticket = static_cast<std::uint32_t>(peek(taken));
        shared_.send_slot = slot(0, ticket);
        sequence = peek(tail(shared_.send_slot).ticket);
        return sequence == STOP_TICKET || sequence == static_cast<std::int64_t>(ticket + 1);
    };
    for (std::int16_t exponent = 0; killByte() == 0;) {
        if (ready()) {
            mutexLock(lock);
            const bool ours = ready();
            if (ours) atomicAdd(&taken, 1);
            mutexUnlock(lock);
            if (ours) {
                record.wait_exponent = exponent;
                return sequence != STOP_TICKET;
            }
        }
        __threadfence();
        __nanosleep(1u << (exponent + 4));
        if (exponent <= 25) ++exponent;
    }
    return false;
}

template <int S, class E, class D>
ORVEX_BLOCK_CODE void CUDA_BLOCK<S, E, D>::loadTarget() {
    // Own bits K * t to K * t + K - 1 lie in at most three neighbouring words of 32 bits.
    unsigned char* const source = shared_.send_slot;
    const std::uint32_t* const words = reinterpret_cast<const std::uint32_t*>(source + 8);
    const int word = thread_ * K / 32;
    const int shift = thread_ * K % 32;
    const auto at = [&](int i) { return i < S / 32 ? std::uint64_t{peek(words[i])} : 0u; };
    std::uint64_t own = (at(word) | at(word + 1) << 32) >> shift;
    if (K > 32 && shift != 0) own |= at(word + 2) << (64 - shift) % 64;
    constexpr std::uint64_t OWN_MASK = ~std::uint64_t{0} >> (64 - K);
    shared_.target_bits[thread_] = static_cast<BITS>(own & OWN_MASK);

    if (first()) {
        const INST_TAIL& sent = tail(source);
        record.type = {peek(sent.inst), peek(sent.algorithm), peek(sent.param), peek(sent.flag)};
        record.generation = peek(sent.generation);
        record.flip_budget = peek(sent.cycles);
        record.steps = peek(sent.annealing);
        record.step = 0;
        record.flips = 0;
        shared_.kill_seen = killByte();
    }
    __syncthreads();  // redundant: forgetting the best ends with a barrier
}

// ---- results out ---------------------------------------------------------------------------

template <int S, class E, class D>
ORVEX_BLOCK_CODE void CUDA_BLOCK<S, E, D>::handIn() {
    DeviceState& state = *launch_.device_state;
    if (first()) {
        auto& lock = *reinterpret_cast<unsigned int*>(state.state_b + record.island);
        mutexLock(lock);
        const std::uint32_t ticket = static_cast<std::uint32_t>(atomicAdd(&counter(1), 1));
        mutexUnlock(lock);
        shared_.receive_slot = slot(1, ticket);
        shared_.receive_sequence = ticket + 1;
    }
    __syncthreads();
    __threadfence();

    unsigned char* const result = shared_.receive_slot;
    std::uint32_t* const words = reinterpret_cast<std::uint32_t*>(result + 8);
    ORVEX_ROLLED
    for (int i = 0; i < K; ++i) {
        const int bit = i * T + thread_;
        const bool one = (shared_.best_bits[bit / K] >> (bit % K) & 1) != 0;
        const unsigned word = __ballot_sync(ALL_LANES, one);
        if (thread_ % WARP == 0) words[bit / WARP] = word;
    }
    INST_TAIL& out = tail(result);
    if (first()) {
        *reinterpret_cast<std::int64_t*>(result) = record.best_energy;
        tell_result(record, peek(state.start_time), out);
    }
    __syncthreads();
    __threadfence_system();
    if (first()) poke(out.ticket, static_cast<std::int64_t>(shared_.receive_sequence));
    __syncthreads();  // redundant: nothing of this is written before the next instance is there
}

}  // namespace orvex::device
