// How the next instance of an island is made: which generator, what it builds, which flip rule. A
// record of the pool remembers the generator and the rule that made it, so a draw from the pool
// chooses both in proportion to how well they have lately done.
//
// Every choice consumes a fixed number of draws in the order written here. Zero, One and the cases
// of Hint and AllBest that write nothing go by what `out` held before: the instance sent last.
#include <cassert>
#include <cstdlib>
#include <string>

#include "engine/error_exit.hpp"
#include "engine/island.hpp"
#include "engine/names.hpp"
#include "engine/relaxed.hpp"

namespace orvex::engine {

/** `out` has been built by this generator. */
void SOLPOOL::built(unsigned char kind) {
    assert(out && kind < GENERATORS);
    out->inst = static_cast<signed char>(kind);
}

/** A member, all of them equally likely. */
INSTANCE SOLPOOL::drawnMember() {
    assert(pool_size > 0);
    return pool[draw() % static_cast<unsigned long>(pool_size)];
}

/** A slot, with a bias to the best ranks: the cube root of f of all draws fall into fraction f. */
int SOLPOOL::selIdx() {
    const float u = static_cast<float>(draw() & 0xFFFF) / 65536.0f;
    const int rank = static_cast<int>(u * u * u * static_cast<float>(pool_size));
    assert(rank >= 0 && rank < pool_size);
    return order[static_cast<std::size_t>(rank)];
}

signed char SOLPOOL::selAlgorithm() {
    if (run.fix_algorithm != -1) return run.fix_algorithm;
    if (draw() % 20 != 0) {
        const signed char member = drawnMember().algorithm;
        assert(member >= -1 && member <= NO_ALGORITHM);
        if (member != -1 && member != run.exclude_algorithm) return member;
    }
    static_assert(ALGORITHMS > 1);  // one is left where one is excluded
    signed char any;
    do {
        any = static_cast<signed char>(draw() % ALGORITHMS);
    } while (any == run.exclude_algorithm);
    assert(any >= 0 && any < ALGORITHMS);
    return any;
}

signed char SOLPOOL::selInst() {
    if (run.fix_instance != -1) return run.fix_instance;
    if (draw() % 20 == 0) {
        const signed char any = static_cast<signed char>(draw() % GENERATORS);
        const bool available =
            any == ALL_BEST
                ? static_cast<double>(relaxed(run.restart_clock->nobest_until) - now()) / 1e9 < 0
            : any == HINT ? relaxed(run.hint_ready)
                          : true;
        assert(any >= 0 && any < GENERATORS);
        if (available) return any;
    }
    const signed char member = drawnMember().inst;
    // A member made at random carries no information.
    assert(member >= 0 && member <= NO_GENERATOR);
    if (member != RANDOM) return member;
    static_assert(HINT == 8 && ALL_BEST == 9);  // those before need nothing but the pools
    return static_cast<signed char>(draw() & 7);
}

void SOLPOOL::random(unsigned char kind) {
    assert(out && out->words == run.band.words());
    for (int w = 0; w < out->words; ++w)
        out->bits[w] = draw();
    built(kind);
}

void SOLPOOL::best(unsigned char kind) {
    best(kind, ranked(0));
}

void SOLPOOL::best(unsigned char kind, const INSTANCE& record) {
    assert(out && out->words == record.words);
    out->copy(record);
    built(kind);
}

/** A member with each bit flipped with a chance of 1 in 16. */
void SOLPOOL::mutation(unsigned char kind) {
    const INSTANCE member = pool[selIdx()];
    assert(member.words == out->words);
    for (int w = 0; w < out->words; ++w) {
        std::uint64_t mask = draw();
        for (int k = 1; k < 4; ++k)
            mask &= draw();
        out->bits[w] = member.bits[w] ^ mask;
    }
    built(kind);
}

void SOLPOOL::cross(unsigned char kind) {
    cross(kind, *this);
}

/**
 * Uniform crossover. The second slot is drawn from this pool's ranking and used in the other pool,
 * whatever its ranking; the other pool may be changing while it is read.
 */
void SOLPOOL::cross(unsigned char kind, const SOLPOOL& other) {
    const INSTANCE mine = pool[selIdx()];
    const INSTANCE theirs = other.pool[selIdx()];
    assert(mine.words == out->words && theirs.words == out->words);
    for (int w = 0; w < out->words; ++w) {
        std::uint64_t mask = draw();
        for (int k = 1; k < run.cross_and_rounds; ++k)
            mask &= draw();
        out->bits[w] = (mine.bits[w] & mask) | (relaxed(theirs.bits[w]) & ~mask);
    }
    built(kind);
}

/** The previous instance with some ones cleared: one in 2^inst_zero. */
void SOLPOOL::zero(unsigned char kind) {
    selIdx();  // for its draw alone
    for (int w = 0; w < out->words; ++w) {
        std::uint64_t mask = 0;
        for (int k = 0; k < run.inst_zero; ++k)
            mask |= draw();
        out->bits[w] &= mask;
    }
    built(kind);
}

/** The previous instance with some zeros set: one in 2^inst_one. */
void SOLPOOL::one(unsigned char kind) {
    selIdx();  // for its draw alone
    for (int w = 0; w < out->words; ++w) {
        std::uint64_t mask = ~std::uint64_t{0};
        for (int k = 0; k < run.inst_one; ++k)
            mask &= draw();
        out->bits[w] |= mask;
    }
    built(kind);
}

/** A member with about half of its ones cleared. */
void SOLPOOL::intervalZero(unsigned char kind) {
    const INSTANCE member = pool[selIdx()];
    assert(member.words == out->words);
    for (int w = 0; w < out->words; ++w)
        out->bits[w] = member.bits[w] & draw();
    built(kind);
}

/**
 * Mixes the special record with a base: one time in 20 the special record itself, else a member. A
 * priority from -9 to -1 takes a share of 2^priority of the bits from the special record; above 9
 * all of them, below -9 none. From 0 to 9 the previous instance stays, though its numbers are
 * drawn.
 */
void SOLPOOL::mix(unsigned char kind, const INSTANCE& special) {
    const INSTANCE base = draw() % 20 == 0 ? special : pool[selIdx()];
    assert(base.words == out->words && special.words == out->words);
    for (int w = 0; w < out->words; ++w) {
        const int priority = run.best_priority;
        const std::uint64_t special_word = relaxed(special.bits[w]);
        const std::uint64_t base_word = relaxed(base.bits[w]);
        if (priority > 9) {
            out->bits[w] = special_word;
        } else if (priority < -9) {
            out->bits[w] = base_word;
        } else {
            std::uint64_t mask = draw();
            for (int k = 1; k < std::abs(priority); ++k)
                mask &= draw();
            if (priority < 0) out->bits[w] = (special_word & mask) | (base_word & ~mask);
        }
    }
    built(kind);
}

void SOLPOOL::hint(unsigned char kind) {
    mix(kind, run.allisland->hint);
}

void SOLPOOL::allbest(unsigned char kind) {
    mix(kind, *run.allisland->allbest);
}

/** Builds the island's next instance by the generator of that kind. */
void ISLAND::generate(signed char kind) {
    assert(pool.out == send_buf.get());
    switch (kind) {
        case RANDOM:
            return pool.random(RANDOM);
        case BEST:
            return pool.best(BEST);
        case MUTATION:
            return pool.mutation(MUTATION);
        case CROSS:
            return pool.cross(CROSS);
        case XCROSS:
            // After a restart the neighbour's pool has nothing to give yet.
            if (cross_pause > 0) return pool.cross(CROSS);
            return pool.cross(XCROSS, run.allisland->neighbourOf(id).pool);
        case ZERO:
            return pool.zero(ZERO);
        case ONE:
            return pool.one(ONE);
        case INTERVAL_ZERO:
            return pool.intervalZero(INTERVAL_ZERO);
        case HINT:
            return pool.hint(HINT);
        case ALL_BEST:
            return pool.allbest(ALL_BEST);
        default:
            error_exit("Unexpected error in instance selection (" + std::to_string(kind) + ")");
    }
}

}  // namespace orvex::engine
