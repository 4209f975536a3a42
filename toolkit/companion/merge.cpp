#include "toolkit/companion/merge.hpp"

#include <cassert>

namespace orvex::toolkit {
namespace {

/** Variables gathered between two looks at whether to stop. */
constexpr std::size_t LOOK_EVERY = 4096;

enum Mark : std::uint8_t { SAME, DIFFERS, GATHERED };

std::size_t at(std::int32_t i) {
    return static_cast<std::size_t>(i);
}

}  // namespace

Merger::Merger(const SparseQubo& qubo, const std::atomic<bool>* stop)
    : qubo_(&qubo), stop_(stop), marks_(qubo.linear.size(), SAME) {}

Merged Merger::merge(Solution& elite, const Bits& other) {
    assert(elite.bits.size() == other.size());
    differing_.clear();
    for (std::size_t i = 0; i < other.size(); ++i)
        if (elite.bits[i] != other[i]) differing_.push_back(static_cast<std::int32_t>(i));
    return merge(elite, differing_);
}

std::optional<Wide> Merger::gather(const Bits& bits, std::int32_t seed) {
    component_.assign(1, seed);
    marks_[at(seed)] = GATHERED;
    Wide change = 0;
    for (std::size_t next = 0; next < component_.size(); ++next) {
        if (next % LOOK_EVERY == LOOK_EVERY - 1 && stop_ && stop_->load(std::memory_order_relaxed))
            return {};
        const std::int32_t i = component_[next];
        const bool one = bits[at(i)] != 0;
        const auto neighbours = qubo_->neighbours_of(i);
        const auto weights = qubo_->weights_of(i);
        // The variables flip in the order of their numbers: those below have flipped already.
        Wide field = qubo_->linear[at(i)];
        for (std::size_t k = 0; k < neighbours.size(); ++k) {
            const std::int32_t j = neighbours[k];
            bool other = bits[at(j)] != 0;
            if (std::uint8_t& mark = marks_[at(j)]; mark != SAME) {
                if (mark == DIFFERS) {
                    mark = GATHERED;
                    component_.push_back(j);
                }
                if (j < i) other = !other;
            }
            if (other) field += weights[k];
        }
        change += one ? -field : field;
    }
    return change;
}

Merged Merger::merge(Solution& elite, std::span<const std::int32_t> differing) {
    Merged merged;
    refused_.clear();
    for (const std::int32_t i : differing)
        marks_[at(i)] = DIFFERS;
    for (const std::int32_t seed : differing) {
        if (marks_[at(seed)] != DIFFERS) continue;
        const std::optional<Wide> change = gather(elite.bits, seed);
        if (!change) break;
        ++merged.components;
        if (*change > 0) {
            ++merged.refused;
            merged.loss += *change;
            refused_.insert(refused_.end(), component_.begin(), component_.end());
            continue;
        }
        ++merged.kept;
        merged.gain -= *change;
        for (const std::int32_t i : component_)
            elite.bits[at(i)] ^= 1;
    }
    for (const std::int32_t i : differing)
        marks_[at(i)] = SAME;
    elite.energy -= merged.gain;
    assert(merged.gain >= 0);
    return merged;
}

}  // namespace orvex::toolkit
