// What a block does with an instance, told straight: the walk, the descent, the searches and their
// order as nested loops, one flip site in each. It asks the same operations of a block as the
// cycle that the library runs, and is held against it.
#pragma once

#include "engine/device/records.hpp"

namespace orvex::device::test {

template <class BLOCK>
void plainWalk(BLOCK& block) {
    for (;;) {
        if (!block.walkToTarget()) return;
        if (block.killed()) return;
        block.flipBit(false);
        if (block.record.overflow) return;
        if (block.record.walk_start_energy != 0) block.trackBest();
    }
}

template <class BLOCK>
void plainDescent(BLOCK& block) {
    for (;;) {
        if (!block.descend()) return;
        if (block.killed()) return;
        block.flipBit(false);
        if (block.record.overflow) return;
        block.trackBest();
    }
}

/** A search by steps; `selectNext` is the rule. */
template <class BLOCK, class RULE>
void plainSearch(BLOCK& block, RULE selectNext) {
    block.startSearch();
    while (block.record.step < block.record.steps && !block.killed()) {
        selectNext();
        block.flipBit(true);
        if (block.record.overflow) return;
        if (block.trackBest()) return;
    }
}

template <class BLOCK>
void plainTwoNeighbor(BLOCK& block) {
    const int n = block.record.model_size;
    block.select(0);
    block.flipBit(false);
    if (n < 2 || block.record.overflow) return;
    for (int i = 0; i < n - 1; ++i) {
        if (block.killed()) return;
        block.trackBest();
        block.select(i + 1);
        block.flipBit(false);
        if (block.record.overflow) return;
        block.trackBest();
        block.select(i);
        block.flipBit(false);
        if (block.record.overflow) return;
    }
}

template <class BLOCK>
void plainSearchByRule(BLOCK& block) {
    switch (block.record.type.A) {
        case MAX_MIN:
            return plainSearch(block, [&] { block.selectMaxMin(); });
        case POSITIVE_MIN:
            return plainSearch(block, [&] { block.selectPositiveMin(); });
        case CYCLIC_MIN:
            return plainSearch(block, [&] { block.selectCyclicMin(); });
        case RANDOM_MIN:
            return plainSearch(block, [&] { block.selectRandomMin(); });
        case TWO_NEIGHBOR:
            return plainTwoNeighbor(block);
        default:
            block.reportWrongType();
    }
}

/** One instance from its slot to its result. False: the block leaves with no result. */
template <class BLOCK>
bool runPlainly(BLOCK& block) {
    auto& record = block.record;
    const auto handIn = [&] {
        block.handIn();
        return true;
    };

    block.loadTarget();
    block.forgetBest();
    if (record.done_generation < record.generation) block.reset();

    block.startWalk();
    plainWalk(block);
    if (!record.overflow && record.walk_start_energy == record.energy) block.forgetBest();
    if (record.overflow) return handIn();

    plainDescent(block);
    if (record.overflow) return handIn();
    if (record.energy == 0) {
        if (record.best_energy >= 1) block.keepCurrent();
        return handIn();
    }
    if (block.killed()) return false;

    for (;;) {
        plainSearchByRule(block);
        if (record.overflow) return handIn();
        plainDescent(block);
        if (record.overflow || record.type.A == TWO_NEIGHBOR) return handIn();
        if (block.killed()) return false;
        if (record.flips >= record.flip_budget) return handIn();
    }
}

}  // namespace orvex::device::test
