// What a block does with an instance, written once for every implementation of a block: walk to the
// target, descend, then search and descend until the flip budget is spent. It is one loop of steps
// with a single place that flips and a single place that tracks; the phase only decides how the
// next bit is selected and what follows. That keeps the kernel small (both operations are unrolled
// over all bits of a thread) and lets a block of any kind be stepped through one text.
//
// BLOCK offers `record` (a BLOCK_RECORD) and these operations of the whole block:
//   loadTarget()      reads the target and the instance's fields from the slot
//   forgetBest()      best solution back to all zero, best_energy to 0
//   reset()           the block back to the all-zero solution
//   startWalk()       notes the energy from which the walk starts
//   select(bit)       sets `selected`
//   walkToTarget()    selects the next bit of the walk; false when no bit differs any more
//   descend()         selects the next bit of the descent; false in a local minimum
//   startSearch()     clears step, and the tabu bytes unless the rule is "CyclicMin"
//   selectMaxMin(), selectPositiveMin(), selectCyclicMin(), selectRandomMin()
//   flipBit(searching)  flips `selected`; in a search, if the rule counts tabus down
//                     (counts_tabu_down), every tabu byte then goes down by one, not below 0
//   trackBest()       whether a neighbour beats the best of the instance; keeps it if so
//   keepCurrent()     the current solution becomes the best of the instance
//   killed()          the kill byte, one answer for all threads
//   closing()         whether the run's time is up (see hurries); never on GPUs
//   reportWrongType() prints the diagnostic for an unknown rule
//   handIn()          writes the result and sets `done_generation`
// All branch conditions here depend on the record alone, so the threads of a block stay together.
#pragma once

#include <cstdint>

#include "engine/device/dialect.hpp"
#include "engine/device/records.hpp"

namespace orvex::device {

enum class PHASE { WALK, FIRST_DESCENT, SEARCH, DESCENT };

/** What follows when a phase has ended. */
enum class NEXT { PHASE, HAND_IN, LEAVE };

/**
 * Whether what is left of the phase is given up since the run's time is up. An instance in progress
 * still ends in a local minimum; one that was not begun is handed in as it came. A solution that
 * the caller gave is still walked to, and looked at from the first step of a search: what a walk
 * passes does not always count.
 */
template <class BLOCK>
ORVEX_BLOCK_CODE bool hurries(BLOCK& block, PHASE phase) {
    if (!block.closing()) return false;
    const auto& record = block.record;
    const bool given = record.type.inst == GIVEN;
    switch (phase) {
        case PHASE::WALK:
            return !given;
        case PHASE::SEARCH:
            return !given || record.step > 0;
        case PHASE::FIRST_DESCENT:
            return !given && record.flips == 0;
        case PHASE::DESCENT:
            break;
    }
    return false;
}

/** Selects the bit of the next step. False: the search, walk or descent ends here. */
template <class BLOCK>
ORVEX_BLOCK_CODE bool selectBit(BLOCK& block, PHASE phase, std::uint32_t pass_flips) {
    auto& record = block.record;
    if (phase == PHASE::WALK) {
        if (hurries(block, phase)) return false;
        return block.walkToTarget() && !block.killed();
    }
    if (phase != PHASE::SEARCH) return !hurries(block, phase) && block.descend() && !block.killed();
    if (record.type.A == TWO_NEIGHBOR) {
        // Flips 0, then 1 0, 2 1, 3 2, ...: after each pair, bit i + 1 alone differs from the
        // start.
        const std::uint32_t half = pass_flips / 2;
        block.select(pass_flips == 0 ? 0
                                     : static_cast<int>(pass_flips % 2 == 1 ? half + 1 : half - 1));
        return true;
    }
    if (record.step >= record.steps || hurries(block, phase) || block.killed()) return false;
    switch (record.type.A) {
        case MAX_MIN:
            block.selectMaxMin();
            return true;
        case POSITIVE_MIN:
            block.selectPositiveMin();
            return true;
        case CYCLIC_MIN:
            block.selectCyclicMin();
            return true;
        case RANDOM_MIN:
            block.selectRandomMin();
            return true;
        default:
            return false;
    }
}

/** Whether the pass of "TwoNeighbor" stops after its flip number `pass_flips` (from 1). */
template <class BLOCK>
ORVEX_BLOCK_CODE bool passStops(BLOCK& block, std::uint32_t pass_flips) {
    const std::int64_t last = 2 * static_cast<std::int64_t>(block.record.model_size) - 1;
    if (static_cast<std::int64_t>(pass_flips) >= last) return true;
    return pass_flips % 2 == 1 && (block.closing() || block.killed());
}

/** Starts a search; a value of A that is no rule makes no step. */
template <class BLOCK>
ORVEX_BLOCK_CODE void beginSearch(BLOCK& block) {
    const std::int8_t rule = block.record.type.A;
    if (rule == TWO_NEIGHBOR) return;
    if (rule < MAX_MIN || rule > TWO_NEIGHBOR) {
        block.reportWrongType();
        return;
    }
    block.startSearch();
}

/** What comes after the phase that has just ended; sets the new phase if there is one. */
template <class BLOCK>
ORVEX_BLOCK_CODE NEXT follow(BLOCK& block, PHASE& phase) {
    auto& record = block.record;
    switch (phase) {
        case PHASE::WALK:
            if (!record.overflow && record.walk_start_energy == record.energy) block.forgetBest();
            phase = PHASE::FIRST_DESCENT;
            return record.overflow ? NEXT::HAND_IN : NEXT::PHASE;
        case PHASE::FIRST_DESCENT:
            if (record.overflow) return NEXT::HAND_IN;
            if (record.energy == 0) {
                if (record.best_energy >= 1) block.keepCurrent();
                return NEXT::HAND_IN;
            }
            break;
        case PHASE::SEARCH:
            phase = PHASE::DESCENT;
            return record.overflow ? NEXT::HAND_IN : NEXT::PHASE;
        case PHASE::DESCENT:
            if (record.overflow || record.type.A == TWO_NEIGHBOR) return NEXT::HAND_IN;
            break;
    }
    if (block.killed()) return NEXT::LEAVE;
    if (block.closing() && (phase == PHASE::DESCENT || record.type.inst != GIVEN))
        return NEXT::HAND_IN;
    if (phase == PHASE::DESCENT && record.flips >= record.flip_budget) return NEXT::HAND_IN;
    phase = PHASE::SEARCH;
    beginSearch(block);
    return NEXT::PHASE;
}

/** Works on the instance in the block's slot and hands the result in. False: the block leaves. */
template <class BLOCK>
ORVEX_BLOCK_CODE bool runInstance(BLOCK& block) {
    auto& record = block.record;
    block.loadTarget();
    block.forgetBest();
    if (record.done_generation < record.generation) block.reset();
    block.startWalk();

    PHASE phase = PHASE::WALK;
    std::uint32_t pass_flips = 0;
    for (;;) {
        bool goes_on = selectBit(block, phase, pass_flips);
        if (goes_on) {
            const bool searching = phase == PHASE::SEARCH;
            const bool in_pass = searching && record.type.A == TWO_NEIGHBOR;
            block.flipBit(searching);
            pass_flips += in_pass;
            goes_on = !record.overflow && !(in_pass && passStops(block, pass_flips));
            const bool tracks = phase != PHASE::WALK || record.walk_start_energy != 0;
            if (goes_on && tracks) {
                const bool found = block.trackBest();
                goes_on = !(found && searching && !in_pass);
            }
        }
        if (goes_on) continue;
        const NEXT next = follow(block, phase);
        if (next == NEXT::LEAVE) return false;
        if (next == NEXT::HAND_IN) break;
    }
    block.handIn();
    return true;
}

}  // namespace orvex::device
