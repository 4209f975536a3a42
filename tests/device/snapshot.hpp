// The whole state of a block at one moment, in bit order, whatever the block keeps it in; and the
// words to say in what two such states differ. Also the few ways to reach into a block, by bit,
// which are all that a new implementation has to add to be run by these tests.
#pragma once

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "model.hpp"
#include "one_rng_block.hpp"
#include "reference_block.hpp"

namespace orvex::device::test {

// ---- a block by bits -----------------------------------------------------------------------

template <class E, class D, class N>
N& deltaOf(CPU_BLOCK<E, D, N>& block, int bit) {
    return block.arrays().delta[block.arrays().shape.place(bit)];
}
template <class E, class D, class N>
std::uint8_t tabuOf(CPU_BLOCK<E, D, N>& block, int bit) {
    return block.tabu().value(block.arrays().shape.place(bit));
}
template <class E, class D, class N>
void setTabu(CPU_BLOCK<E, D, N>& block, int bit, std::uint8_t value) {
    block.tabu().bar(block.arrays().shape.place(bit), value, 0);
}
template <class E, class D, class N>
bool isOneInBest(CPU_BLOCK<E, D, N>& block, int bit) {
    return block.best()[block.arrays().shape.place(bit)] != 0;
}
template <class E, class D, class N>
std::vector<unsigned long> rngsOf(CPU_BLOCK<E, D, N>& block) {
    return {block.rng()};
}

template <class E, class D>
D& deltaOf(REFERENCE_BLOCK<E, D>& block, int bit) {
    return block.deltaOf(bit / block.K, bit % block.K);
}
template <class E, class D>
std::uint8_t tabuOf(REFERENCE_BLOCK<E, D>& block, int bit) {
    return block.tabuOf(bit / block.K, bit % block.K);
}
template <class E, class D>
void setTabu(REFERENCE_BLOCK<E, D>& block, int bit, std::uint8_t value) {
    block.tabuOf(bit / block.K, bit % block.K) = value;
}
template <class E, class D>
bool isOneInBest(REFERENCE_BLOCK<E, D>& block, int bit) {
    return block.bestOf(bit / block.K) >> (bit % block.K) & 1;
}
template <class E, class D>
unsigned long& rngOf(REFERENCE_BLOCK<E, D>& block, int thread) {
    return block.thread(thread).rng;
}
/** One for each thread, or the block's. */
template <class E, class D>
std::vector<unsigned long> rngsOf(REFERENCE_BLOCK<E, D>& block) {
    std::vector<unsigned long> states;
    for (const auto& thread : block.threads)
        states.push_back(thread.rng);
    return states;
}
template <class E, class D>
std::vector<unsigned long> rngsOf(ONE_RNG_BLOCK<E, D>& block) {
    return {block.rng()};
}

// ---- snapshots -----------------------------------------------------------------------------

template <class D>
struct SNAPSHOT {
    BLOCK_RECORD<D> record;
    std::vector<D> delta;
    BITS ones, best;
    std::vector<std::uint8_t> tabu;
    std::vector<unsigned long> rngs;
};

// Most of the time of the tests went into the snapshots of these two, taken after every flip, so
// their bits are found by counting, without a division for each.

template <class D, class E, class N>
void takeByCounting(CPU_BLOCK<E, D, N>& block, const SHAPE& shape, SNAPSHOT<D>& shot) {
    const auto& arrays = block.arrays();
    const auto& tabu = block.tabu();
    const auto& best = block.best();
    std::size_t i = 0;
    for (int t = 0; t < shape.threads; ++t)
        for (int place = t; place < shape.size; place += shape.threads, ++i) {
            shot.delta[i] = arrays.delta[place];
            shot.ones[i] = arrays.ones[place] != 0;
            shot.best[i] = best[place] != 0;
            shot.tabu[i] = tabu.value(place);
        }
}

template <class D, class E>
void takeByCounting(REFERENCE_BLOCK<E, D>& block, const SHAPE& shape, SNAPSHOT<D>& shot) {
    std::size_t i = 0;
    for (int t = 0; t < shape.threads; ++t) {
        const auto& thread = block.thread(t);
        const std::uint64_t best = block.bestOf(t);
        for (int c = 0; c < shape.own; ++c, ++i) {
            shot.delta[i] = thread.at(c);
            shot.ones[i] = thread.one(c);
            shot.best[i] = best >> c & 1;
            shot.tabu[i] = thread.tabu[static_cast<std::size_t>(c)];
        }
    }
}

template <class D, class BLOCK>
SNAPSHOT<D> snapshotOf(BLOCK& block, const SHAPE& shape) {
    SNAPSHOT<D> shot;
    shot.record = block.record;
    const std::size_t size = static_cast<std::size_t>(shape.size);
    shot.delta.resize(size);
    shot.ones.resize(size);
    shot.best.resize(size);
    shot.tabu.resize(size);
    if constexpr (requires { takeByCounting(block, shape, shot); }) {
        takeByCounting(block, shape, shot);
    } else {
        for (int bit = 0; bit < shape.size; ++bit) {
            const std::size_t i = static_cast<std::size_t>(bit);
            shot.delta[i] = deltaOf(block, bit);
            shot.ones[i] = isOne(block, bit);
            shot.best[i] = isOneInBest(block, bit);
            shot.tabu[i] = tabuOf(block, bit);
        }
    }
    shot.rngs = rngsOf(block);
    return shot;
}

/** Collects what differs, as text. */
class DIFFERENCES {
  public:
    template <class X>
    void cell(const char* name, X expected, X seen) {
        if (expected != seen) text_ << name << ": " << +expected << ", not " << +seen << "\n";
    }

    template <class X>
    void list(const char* name, const std::vector<X>& expected, const std::vector<X>& seen) {
        if (expected == seen) return;
        std::size_t i = 0;
        while (expected[i] == seen[i])
            ++i;
        text_ << name << "[" << i << "]: " << +expected[i] << ", not " << +seen[i] << "\n";
    }

    std::string text() const { return text_.str(); }

  private:
    std::ostringstream text_;
};

/**
 * Every cell but the times, what the block learnt when it entered, and random_low, which a block
 * need not fill: it serves within one selection only.
 */
template <class D>
void compareRecords(const BLOCK_RECORD<D>& expected, const BLOCK_RECORD<D>& seen,
                    DIFFERENCES& differences) {
#define ORVEX_COMPARE(field) differences.cell(#field, expected.field, seen.field)
    ORVEX_COMPARE(selected);
    ORVEX_COMPARE(flip_sign);
    ORVEX_COMPARE(energy);
    ORVEX_COMPARE(best_energy);
    ORVEX_COMPARE(best_candidate);
    ORVEX_COMPARE(step);
    ORVEX_COMPARE(flips);
    ORVEX_COMPARE(overflow);
    ORVEX_COMPARE(walk_min);
    ORVEX_COMPARE(descent_min);
    ORVEX_COMPARE(walk_start_energy);
    ORVEX_COMPARE(maxmin_low);
    ORVEX_COMPARE(maxmin_high);
    ORVEX_COMPARE(maxmin_threshold);
    ORVEX_COMPARE(maxmin_bid);
    ORVEX_COMPARE(positive_low);
    ORVEX_COMPARE(positive_threshold);
    ORVEX_COMPARE(positive_bid);
    ORVEX_COMPARE(positive_count);
    ORVEX_COMPARE(cyclic_low);
    ORVEX_COMPARE(cycle_start);
    ORVEX_COMPARE(random_threshold);
    ORVEX_COMPARE(steps);
    ORVEX_COMPARE(flip_budget);
    ORVEX_COMPARE(generation);
    ORVEX_COMPARE(done_generation);
    ORVEX_COMPARE(type.A);
#undef ORVEX_COMPARE
}

/** Empty if the two states are the same. */
template <class D>
std::string difference(const SNAPSHOT<D>& expected, const SNAPSHOT<D>& seen) {
    DIFFERENCES differences;
    compareRecords(expected.record, seen.record, differences);
    differences.list("delta", expected.delta, seen.delta);
    differences.list("ones", expected.ones, seen.ones);
    differences.list("best", expected.best, seen.best);
    differences.list("tabu", expected.tabu, seen.tabu);
    differences.list("rngs", expected.rngs, seen.rngs);
    return differences.text();
}

}  // namespace orvex::device::test
