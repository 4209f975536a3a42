// The five flip rules of the plain block, but for "TwoNeighbor", which selects nothing and is
// in reference_cycle.hpp. Each runs as its threads do between barriers: all threads the first step,
// then all threads the second.
#pragma once

#include <algorithm>
#include <cmath>

#include "reference_block.hpp"

namespace orvex::device::test {

template <class E, class D>
void REFERENCE_BLOCK<E, D>::startSearch() {
    record.step = 0;
    if (record.type.A == CYCLIC_MIN) return;
    for (int t = 0; t < T; ++t)
        for (int c = 0; c < K; ++c)
            tabuOf(t, c) = 0;
}

template <class E, class D>
void REFERENCE_BLOCK<E, D>::countTabuDown() {
    for (int t = 0; t < T; ++t)
        for (int c = 0; c < K; ++c)
            if (tabuOf(t, c) > 0) --tabuOf(t, c);
}

// ---- "MaxMin" ------------------------------------------------------------------------------

template <class E, class D>
void REFERENCE_BLOCK<E, D>::selectMaxMin() {
    record.maxmin_low = MAX;
    record.maxmin_high = LOWEST;
    for (const THREAD& own : threads)
        for (int c = 0; c < K; ++c)
            if (own.free(c) && own.at(c) != MAX) {
                record.maxmin_low = std::min(record.maxmin_low, own.at(c));
                record.maxmin_high = std::max(record.maxmin_high, own.at(c));
            }

    thread(0).rng = xor_shift(thread(0).rng);
    const float u = unit_draw(thread(0).rng);
    record.maxmin_threshold =
        maxmin_threshold<D>(record.maxmin_low, record.maxmin_high, u, record.step, record.steps);

    record.maxmin_bid = -1;
    for (int t = 0; t < T; ++t) {
        THREAD& own = thread(t);
        std::int32_t key = -1;
        for (int c = 0; c < K; ++c)
            if (own.free(c) && own.at(c) <= record.maxmin_threshold) {
                own.rng = xor_shift(own.rng);
                key = std::max(key, static_cast<std::int32_t>(own.rng & 0x7FFFFC00));
            }
        if (key >= 0) record.maxmin_bid = std::max(record.maxmin_bid, key | t);
    }

    for (int t = 0; t < T; ++t) {
        if (t != (record.maxmin_bid & 0x3FF)) continue;
        THREAD& own = thread(t);
        std::vector<int> eligible;
        for (int c = 0; c < K; ++c)
            if (own.free(c) && own.at(c) <= record.maxmin_threshold) eligible.push_back(c);
        if (eligible.size() == 1) {
            record.selected = t * K + eligible[0];
            continue;
        }
        own.rng = xor_shift(own.rng);
        const bool none = eligible.empty();  // the remainder by zero selects the first bit
        const std::size_t r = none ? 0 : (own.rng >> 32) % eligible.size();
        record.selected = t * K + (none ? 0 : eligible[r]);
    }
}

// ---- "PositiveMin" -------------------------------------------------------------------------

template <class E, class D>
void REFERENCE_BLOCK<E, D>::selectPositiveMin() {
    record.positive_low = MAX;
    for (const THREAD& own : threads)
        for (int c = 0; c < K; ++c)
            if (own.free(c) && own.at(c) >= 1 && own.at(c) != MAX)
                record.positive_low = std::min(record.positive_low, own.at(c));
    const D m = record.positive_low == MAX ? 0 : record.positive_low;
    record.positive_threshold = m;

    record.positive_count = 0;
    for (const THREAD& own : threads)
        for (int c = 0; c < K; ++c)
            if (own.at(c) == m) ++record.positive_count;

    record.positive_bid = -1;
    for (int t = 0; t < T; ++t) {
        THREAD& own = thread(t);
        float w = 0.0f;
        for (int c = 0; c < K; ++c) {
            if (own.free(c) && own.at(c) < m) w += 1.0f;
            if (own.free(c) && own.at(c) == m)
                w += 1.0f / static_cast<float>(record.positive_count);
        }
        if (!(w > 0.0f)) continue;
        own.rng = xor_shift(own.rng);
        const std::uint32_t rank = sampling_rank(unit_draw(own.rng), w);
        const std::int32_t bid = static_cast<std::int32_t>(rank & 0x7FFFFC00) | t;
        record.positive_bid = std::max(record.positive_bid, bid);
    }

    for (int t = 0; t < T; ++t) {
        if (t != (record.positive_bid & 0x3FF)) continue;
        const THREAD& own = thread(t);
        int l = 0;
        int e = 0;
        for (int c = 0; c < K; ++c) {
            if (own.free(c) && own.at(c) < m) ++l;
            if (own.free(c) && own.at(c) == m) ++e;
        }
        if (l + e == 1) {
            int c = 0;
            while (!own.free(c) || own.at(c) > m)
                ++c;
            record.selected = t * K + c;
            continue;
        }
        const std::uint32_t draw = static_cast<std::uint32_t>(own.rng & 0xFFFFFFFF);
        const std::uint32_t weights = static_cast<std::uint32_t>(record.positive_count * l + e);
        std::int64_t r = weights == 0 ? -1 : static_cast<std::int64_t>(draw % weights);
        for (int c = 0; c < K; ++c) {
            if (own.at(c) < m) r -= record.positive_count;
            if (own.at(c) == m) r -= 1;
            if (r >= 0) continue;
            record.selected = t * K + c;
            break;
        }
    }
}

// ---- "CyclicMin" ---------------------------------------------------------------------------

template <class E, class D>
void REFERENCE_BLOCK<E, D>::selectCyclicMin() {
    const int span_width = cyclic_span_width(record.step, record.steps, T);
    const auto place = [&](int t) { return (t + T - record.cycle_start) % T; };
    record.cyclic_low = MAX;
    record.selected = -1;
    const OFFERS offers = lowestOf([&](int t, int c) {
        return place(t) < span_width && thread(t).free(c) && thread(t).at(c) != MAX;
    });
    record.cyclic_low = lowest(offers);
    if (record.cyclic_low == MAX)
        record.selected = record.cycle_start * K;
    else
        storeSelected(offers, record.cyclic_low);
    record.cycle_start = (record.cycle_start + span_width) % T;
}

// ---- "RandomMin" ---------------------------------------------------------------------------

template <class E, class D>
void REFERENCE_BLOCK<E, D>::selectRandomMin() {
    record.random_threshold = random_threshold(record.step, record.steps);
    record.selected = -1;
    std::vector<OFFER> running(static_cast<std::size_t>(T), OFFER{MAX, 0});
    for (int t = 0; t < T; ++t) {
        THREAD& own = thread(t);
        OFFER& kept = running[static_cast<std::size_t>(t)];
        for (int c = 0; c < K; ++c) {
            if (!own.free(c)) continue;
            if (c == 0 ? own.at(c) == MAX : own.at(c) >= kept.value) continue;
            own.rng = xor_shift(own.rng);
            if ((own.rng & 0xFFFFFFFF) <= record.random_threshold) kept = {own.at(c), c};
        }
    }
    record.random_low = MAX;
    for (const OFFER& kept : running)
        record.random_low = std::min(record.random_low, kept.value);
    for (int t = 0; t < T; ++t) {
        const OFFER& kept = running[static_cast<std::size_t>(t)];
        if (kept.value == record.random_low) record.selected = t * K + kept.own;
    }
    if (record.selected == -1)
        record.selected = static_cast<std::int32_t>((thread(0).rng >> 32) %
                                                    static_cast<unsigned>(record.model_size));
}

}  // namespace orvex::device::test
