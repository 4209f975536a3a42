// An island's population: its best instances, ranked by energy through an index array, and kept
// diverse by the replacement rule of insert(). It is the memory of the search: results from the
// device enter it, and all new instances are generated from it. One host thread uses a pool; only
// the bits of its records are also read by a neighbour, without a lock. Invariant: `order` is a
// permutation of the slots.
#pragma once

#include <cassert>
#include <memory>
#include <random>
#include <vector>

#include "engine/device/xor_shift.hpp"
#include "engine/globals.hpp"
#include "engine/instance.hpp"

namespace orvex::engine {

struct SOLPOOL {
    SOLPOOL(const GLOBAL_VARS& of_run, int capacity);

    /** Sets the staging records of the island: `out` is being built, `in` is the last result. */
    void init(INSTANCE& out_record, INSTANCE& in_record) {
        assert(&out_record != &in_record && out_record.words == in_record.words);
        out = &out_record;
        in = &in_record;
    }

    void randomInit(int);
    void insert();
    void rotate(int from, int to);

    // Choices, all drawn from `state`.
    unsigned long draw() {
        assert(state != 0);  // it never changes from 0
        return state = device::xor_shift(state);
    }
    int selIdx();
    signed char selAlgorithm();
    signed char selInst();

    // Generators: each builds the bits of `out` and stores its own index.
    void random(unsigned char kind);
    void best(unsigned char kind);
    void best(unsigned char kind, const INSTANCE& record);
    void mutation(unsigned char kind);
    void cross(unsigned char kind);
    void cross(unsigned char kind, const SOLPOOL& other);
    void zero(unsigned char kind);
    void one(unsigned char kind);
    void intervalZero(unsigned char kind);
    void hint(unsigned char kind);
    void allbest(unsigned char kind);

    const GLOBAL_VARS& run;
    unsigned long state = 0;  ///< the random state of this island, seeded by ALLISLAND
    std::random_device rd{"default"};
    std::mt19937_64 gen{rd()};
    int pool_size;
    INSTANCE_MEMORY memory;
    INSTANCES pool;                ///< the instances in physical slots
    std::unique_ptr<int[]> order;  ///< order[r] is the slot of rank r; rank 0 is the best
    INSTANCE* out = nullptr;
    INSTANCE* in = nullptr;

    // Statistics of the mutation parameter of results that entered the pool. Kept up to date as the
    // place where a mutation rate chosen by success would go; no generator looks at them.
    signed char param_lo = -9;
    signed char param_hi = 0;
    int ring_len = 100;
    float rate = 0.1f;
    std::vector<signed char> ring;
    int ring_pos = 0;
    std::random_device rd2{"default"};
    std::mt19937_64 gen2{rd2()};
    std::uniform_int_distribution<int> dist{-9, 0};
    unsigned hits[10] = {};

  private:
    INSTANCE ranked(int rank) const {
        assert(rank >= 0 && rank < pool_size);
        return pool[order[static_cast<std::size_t>(rank)]];
    }
    INSTANCE drawnMember();
    void built(unsigned char kind);
    void mix(unsigned char kind, const INSTANCE& special);
    int distance(const INSTANCE& record) const;
    /** Whether each slot has one rank, and no record is better than one of a lower rank. */
    bool isRanked() const;
    void countMutation();
};

}  // namespace orvex::engine
