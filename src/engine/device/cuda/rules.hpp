// The five selection rules on device threads, and what a search starts with. Part of the CUDA
// block: block.hpp includes this.
//
// In each rule thread 0 brings the rule's cells to their neutral values in front of the first
// barrier; between two barriers a cell is only posted to, after them it is only read.
#pragma once

#include "engine/device/cuda/block.hpp"

namespace orvex::device {

template <int S, class E, class D>
ORVEX_BLOCK_CODE void CUDA_BLOCK<S, E, D>::startSearch() {
    __syncthreads();  // the cycle has just looked at killed()
    if (first()) {
        record.step = 0;
        shared_.kill_seen = killByte();
    }
    if (record.type.A != CYCLIC_MIN) clearTabu();
    __syncthreads();
}

template <int S, class E, class D>
ORVEX_BLOCK_CODE void CUDA_BLOCK<S, E, D>::reportWrongType() {
    printf("Type.A=%d\n", record.type.A);
    __syncthreads();  // the cycle has just looked at killed()
    if (first()) shared_.kill_seen = killByte();
    __syncthreads();  // redundant: the descent begins with a barrier
}

// ---- "MaxMin" ------------------------------------------------------------------------------

template <int S, class E, class D>
ORVEX_BLOCK_CODE void CUDA_BLOCK<S, E, D>::selectMaxMin() {
    D low = MAX;
    D high = LOWEST;
    ORVEX_UNROLL
    for (int c = 0; c < K; ++c) {
        if (!free(c) || delta_[c] == MAX) continue;
        if (delta_[c] < low) low = delta_[c];
        if (delta_[c] > high) high = delta_[c];
    }
    if (first()) {
        record.maxmin_low = MAX;
        record.maxmin_high = LOWEST;
    }
    __syncthreads();
    post_min(record.maxmin_low, low, thread_);
    post_max(record.maxmin_high, high, LOWEST, thread_);
    __syncthreads();
    if (first()) {
        record.maxmin_threshold = maxmin_threshold(record.maxmin_low, record.maxmin_high,
                                                   unit_draw(draw()), record.step, record.steps);
        record.maxmin_bid = -1;
    }
    __syncthreads();
    const D threshold = record.maxmin_threshold;
    std::int32_t highest = -1;
    ORVEX_UNROLL
    for (int c = 0; c < K; ++c) {
        if (!free(c) || delta_[c] > threshold) continue;
        const std::int32_t offer = bid(low_word(draw()), thread_);
        if (offer > highest) highest = offer;
    }
    post_max(record.maxmin_bid, highest, std::int32_t{-1}, thread_);
    __syncthreads();
    if (thread_ == (record.maxmin_bid & BID_THREAD)) selectOwn(pickBelowThreshold(threshold));
    __syncthreads();
}

/** One of the thread's eligible bits, all alike; bit 0 if there is none. */
template <int S, class E, class D>
ORVEX_BLOCK_CODE int CUDA_BLOCK<S, E, D>::pickBelowThreshold(D threshold) {
    std::uint32_t count = 0;
    ORVEX_UNROLL
    for (int c = 0; c < K; ++c)
        count += free(c) && delta_[c] <= threshold;
    std::int32_t rest = count == 1 ? 0 : remainder_pick(high_word(draw()), count);
    int own = 0;
    ORVEX_UNROLL
    for (int c = 0; c < K; ++c)
        if (free(c) && delta_[c] <= threshold && rest-- == 0) own = c;
    return own;
}

// ---- "PositiveMin" -------------------------------------------------------------------------

template <int S, class E, class D>
ORVEX_BLOCK_CODE void CUDA_BLOCK<S, E, D>::selectPositiveMin() {
    const D low = lowestOwn([&](int c) { return free(c) && delta_[c] >= 1; });
    if (first()) {
        record.positive_low = MAX;
        record.positive_count = 0;
        record.positive_bid = -1;
    }
    __syncthreads();
    post_min(record.positive_low, low, thread_);
    __syncthreads();
    if (first()) record.positive_threshold = record.positive_low == MAX ? 0 : record.positive_low;
    __syncthreads();
    const D threshold = record.positive_threshold;
    std::int32_t equal = 0;
    ORVEX_UNROLL
    for (int c = 0; c < K; ++c)
        equal += delta_[c] == threshold;
    post_sum(record.positive_count, equal, thread_);
    __syncthreads();
    const std::int32_t tied = record.positive_count;
    const float tied_share = tied_weight(tied);
    float weight = 0.0f;
    ORVEX_UNROLL
    for (int c = 0; c < K; ++c) {
        if (!free(c) || delta_[c] > threshold) continue;
        weight += delta_[c] < threshold ? 1.0f : tied_share;
    }
    std::int32_t offer = -1;
    if (weight > 0.0f) offer = bid(sampling_rank(unit_draw(draw()), weight), thread_);
    post_max(record.positive_bid, offer, std::int32_t{-1}, thread_);
    __syncthreads();
    if (thread_ == (record.positive_bid & BID_THREAD)) selectOwn(pickByWeight(threshold, tied));
    __syncthreads();
}

/** One of the thread's bits up to the threshold, those below it `tied` times as likely. */
template <int S, class E, class D>
ORVEX_BLOCK_CODE int CUDA_BLOCK<S, E, D>::pickByWeight(D threshold, std::int32_t tied) {
    std::uint32_t below = 0;
    std::uint32_t equal = 0;
    int first_free = 0;
    ORVEX_UNROLL
    for (int c = K - 1; c >= 0; --c) {
        if (!free(c) || delta_[c] > threshold) continue;
        first_free = c;
        below += delta_[c] < threshold;
        equal += delta_[c] == threshold;
    }
    if (below + equal == 1) return first_free;
    std::int32_t rest =
        remainder_pick(low_word(rng_), static_cast<std::uint32_t>(tied) * below + equal);
    int own = -1;
    ORVEX_UNROLL
    for (int c = 0; c < K; ++c) {
        rest -= delta_[c] < threshold ? tied : delta_[c] == threshold ? 1 : 0;
        if (own < 0 && rest < 0) own = c;
    }
    return own;
}

// ---- "CyclicMin" ---------------------------------------------------------------------------

template <int S, class E, class D>
ORVEX_BLOCK_CODE void CUDA_BLOCK<S, E, D>::selectCyclicMin() {
    const auto wanted = [&](int c) { return free(c); };
    const int start = record.cycle_start;
    const int width = cyclic_span_width(record.step, record.steps, T);
    const int place = thread_ >= start ? thread_ - start : thread_ - start + T;
    if (place == 0) {
        record.cyclic_low = MAX;
        record.selected = -1;
    }
    const D low = place < width ? lowestOwn(wanted) : MAX;
    __syncthreads();
    post_min(record.cyclic_low, low, thread_);
    __syncthreads();
    if (record.cyclic_low == MAX) {
        if (place == 0) selectOwn(0);
    } else if (low == record.cyclic_low) {
        selectOwn(locate(low, wanted));
    }
    __syncthreads();
    if (first()) record.cycle_start = (start + width) % T;
}

// ---- "RandomMin" ---------------------------------------------------------------------------

template <int S, class E, class D>
ORVEX_BLOCK_CODE void CUDA_BLOCK<S, E, D>::selectRandomMin() {
    if (first()) {
        record.random_threshold = random_threshold(record.step, record.steps);
        record.random_low = MAX;
    }
    __syncthreads();
    const std::uint32_t threshold = record.random_threshold;
    D low = MAX;
    int own = 0;
    ORVEX_UNROLL
    for (int c = 0; c < K; ++c) {
        if (!free(c) || delta_[c] >= low) continue;
        if (low_word(draw()) > threshold) continue;
        low = delta_[c];
        own = c;
    }
    post_min(record.random_low, low, thread_);
    __syncthreads();
    // If no bit stayed in the race, all threads offer their first one.
    if (low == record.random_low) selectOwn(own);
    __syncthreads();
}

}  // namespace orvex::device
