#include "engine/pool.hpp"

#include <algorithm>
#include <cassert>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "engine/error_exit.hpp"
#include "engine/names.hpp"
#include "engine/relaxed.hpp"

namespace orvex::engine {

SOLPOOL::SOLPOOL(const GLOBAL_VARS& of_run, int capacity)
    : run(of_run),
      pool_size(capacity),
      memory(allocate_instances(of_run.band.words(), static_cast<std::size_t>(capacity))),
      pool(memory.get(), of_run.band.words(), static_cast<std::size_t>(capacity)),
      order(new int[static_cast<std::size_t>(capacity)]),
      ring(static_cast<std::size_t>(ring_len)) {
    assert(capacity >= 2);
    for (int i = 0; i < pool_size; ++i) {
        pool[i].makeFresh(device::NO_ENERGY);
        order[static_cast<std::size_t>(i)] = i;
    }
    for (signed char& entry : ring)
        entry = static_cast<signed char>(dist(gen2));
}

/** Fills the pool with random solutions. The ranking may stay: all energies are equal then. */
void SOLPOOL::randomInit(int) {
    OWN_INSTANCE fresh(run.band.words());
    fresh.makeFresh(device::NO_ENERGY);
    for (int i = 0; i < pool_size; ++i)
        pool[i].copyRelaxed(fresh);
    for (int i = 0; i < pool_size; ++i) {
        const INSTANCE record = pool[i];
        assert(record.energy == device::NO_ENERGY);  // any ranking is right
        for (int w = 0; w < record.words; ++w) {
            std::uint64_t value = draw();
            for (int k = 0; k < run.random_and_rounds; ++k)
                value &= draw();
            set_relaxed(record.bits[w], value);
        }
        record.inst = RANDOM;
        record.algorithm = -1;
        record.flag = run.kernel_flag;
    }
    assert(isRanked());
}

/** Hamming distance of the candidate `in` to the record, over all bits of the band. */
int SOLPOOL::distance(const INSTANCE& record) const {
    assert(in->words == record.words);
    int sum = 0;
    for (int w = 0; w < record.words; ++w)
        sum += __builtin_popcountll(in->bits[w] ^ record.bits[w]);
    assert(sum <= 64 * record.words);
    return sum;
}

bool SOLPOOL::isRanked() const {
    std::vector<int> ranks(static_cast<std::size_t>(pool_size));
    for (int rank = 0; rank < pool_size; ++rank) {
        const int slot = order[static_cast<std::size_t>(rank)];
        if (slot < 0 || slot >= pool_size || ++ranks[static_cast<std::size_t>(slot)] > 1)
            return false;
        if (rank > 0 && ranked(rank).energy < ranked(rank - 1).energy) return false;
    }
    return true;
}

/**
 * Enters the candidate `in`, unless all records are better. It takes the rank in front of its
 * equals. The record that goes is the worst-ranked one near to it, so that near neighbours of a
 * better solution are driven out; if none is near, it is the record at that rank itself, and the
 * tail of the pool survives, which keeps the pool's spread of quality.
 */
void SOLPOOL::insert() {
    assert(in && in->words == run.band.words());
    assert(isRanked());
    int rank = 0;
    while (rank < pool_size && ranked(rank).energy < in->energy)
        ++rank;
    if (rank == pool_size) return;

    int victim = pool_size - 1;
    while (victim > rank && distance(ranked(victim)) > run.solution_proximity)
        --victim;

    assert(rank <= victim && victim < pool_size);
    rotate(rank, victim);
    ranked(rank).copyRelaxed(*in);
    assert(rank == 0 || ranked(rank - 1).energy < in->energy);  // in front of its equals
    assert(isRanked());
    if (in->inst == MUTATION) countMutation();
}

void SOLPOOL::countMutation() {
    assert(std::cmp_equal(param_hi - param_lo + 1, std::size(hits)));
    if (in->param < param_lo || in->param > param_hi)
        error_exit("Unexpected error in PARAM (" + std::to_string(in->param) + ")");
    assert(ring_pos >= 0 && ring_pos < ring_len);
    ring[static_cast<std::size_t>(ring_pos)] = in->param;
    ring_pos = (ring_pos + 1) % ring_len;
    const int hit = in->param - param_lo;
    assert(hit >= 0 && hit < static_cast<int>(std::size(hits)));
    ++hits[hit];
}

/** Moves the entry at `to` in the ranking to `from`; those from `from` on go one down. */
void SOLPOOL::rotate(int from, int to) {
    assert(0 <= from && from <= to && to < pool_size);
    [[maybe_unused]] const int moved = order[static_cast<std::size_t>(to)];
    std::rotate(order.get() + from, order.get() + to, order.get() + to + 1);
    assert(order[static_cast<std::size_t>(from)] == moved);
}

}  // namespace orvex::engine
