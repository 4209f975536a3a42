// What each generator builds, compared with a plain statement of it that draws from the same seed
// word; both must have drawn equally often. A generator writes the bits and its own number and
// leaves the rest of the record as it is.
#include <bit>

#include "engine/names.hpp"
#include "engine/support/draws.hpp"
#include "engine/support/run_by_hand.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;
using band::INST_t;

using WORD_PAIR = std::array<std::uint64_t, 2>;

constexpr std::uint64_t ALL = ~std::uint64_t{0};
constexpr std::uint64_t SEED = 271828;

class Generators : public RunByHand {
  protected:
    static constexpr int POOL_SIZE = 20;

    Generators() {
        param.set("pool_size", std::to_string(POOL_SIZE));
        prepare(2, 1);
        std::mt19937_64 twister(1);
        for (int i = 0; i < 2; ++i)
            for (int slot = 0; slot < POOL_SIZE; ++slot) {
                INST_t& record = island(i).pool.pool[slot];
                record = result_of(-slot);
                record.bits[0] = twister();
                record.bits[1] = twister();
                island(i).pool.order[slot] = (slot * 7 + 3 + i) % POOL_SIZE;
            }
        INST_t& hint = run->allisland->hint;
        for (int w = 0; w < 2; ++w) {
            previous[w] = out().bits[w] = twister();
            hint.bits[w] = twister();
            allbest().bits[w] = twister();
        }
        out().energy = 5;
        out().found_time = 6;
        out().cycles = 7;
        out().inst = 99;
        pool().state = SEED;
    }

    band::SOLPOOL& pool() { return island(0).pool; }
    INST_t& out() { return *island(0).send_buf; }
    const INST_t& ranked(int rank) { return pool().pool[pool().order[rank]]; }

    /** The record has these bits and this generator, and the draws are used up. */
    void expectBuilt(const WORD_PAIR& bits, int inst, const DRAWS& draws) {
        EXPECT_EQ(out().bits[0], bits[0]);
        EXPECT_EQ(out().bits[1], bits[1]);
        EXPECT_EQ(out().inst, inst);
        EXPECT_EQ(pool().state, draws.state());
        EXPECT_EQ(out().energy, 5);
        EXPECT_EQ(out().found_time, 6);
        EXPECT_EQ(out().cycles, 7u);
    }

    WORD_PAIR previous{};
};

TEST_F(Generators, RandomDrawsEveryWord) {
    DRAWS draws(SEED);
    const std::uint64_t first = draws.next();
    const std::uint64_t second = draws.next();
    pool().random(engine::RANDOM);
    expectBuilt({first, second}, 0, draws);
}

TEST_F(Generators, BestCopiesTheWholeRecordOfRank0) {
    pool().best(engine::BEST);
    INST_t expected = ranked(0);
    expected.inst = 1;
    EXPECT_EQ(std::memcmp(&out(), &expected, sizeof(INST_t)), 0);
    EXPECT_EQ(pool().state, SEED) << "no draw";
}

TEST_F(Generators, BestOfAGivenRecordCopiesThatRecord) {
    INST_t expected = result_of(-77);
    expected.bits[1] = 123;
    pool().best(engine::BEST, expected);
    expected.inst = 1;
    EXPECT_EQ(std::memcmp(&out(), &expected, sizeof(INST_t)), 0);
}

TEST_F(Generators, MutationFlipsAMembersBitsByFourDrawsEach) {
    DRAWS draws(SEED);
    const INST_t& member = ranked(draws.rank(POOL_SIZE));
    const std::uint64_t first = member.bits[0] ^ draws.all_of(4);
    const std::uint64_t second = member.bits[1] ^ draws.all_of(4);
    pool().mutation(engine::MUTATION);
    expectBuilt({first, second}, 2, draws);
}

TEST_F(Generators, MutationFlipsOneBitIn16) {
    for (int slot = 0; slot < POOL_SIZE; ++slot)
        pool().pool[slot].bits[0] = pool().pool[slot].bits[1] = 0;
    int flipped = 0;
    for (int i = 0; i < 2000; ++i) {
        pool().mutation(engine::MUTATION);
        flipped += std::popcount(out().bits[0]) + std::popcount(out().bits[1]);
    }
    EXPECT_NEAR(flipped / (2000.0 * 128), 1.0 / 16, 0.002);
}

TEST_F(Generators, CrossTakesEachBitFromOneOfTwoMembers) {
    DRAWS draws(SEED);
    const INST_t& mine = ranked(draws.rank(POOL_SIZE));
    const INST_t& theirs = ranked(draws.rank(POOL_SIZE));
    WORD_PAIR expected;
    for (std::size_t w = 0; w < 2; ++w) {
        const std::uint64_t mask = draws.next();
        expected[w] = (mine.bits[w] & mask) | (theirs.bits[w] & ~mask);
    }
    pool().cross(engine::CROSS);
    expectBuilt(expected, 3, draws);
}

TEST_F(Generators, RoundsOfCrossAreTakenTogetherByAnd) {
    run->cross_and_rounds = 3;
    DRAWS draws(SEED);
    const INST_t& mine = ranked(draws.rank(POOL_SIZE));
    const INST_t& theirs = ranked(draws.rank(POOL_SIZE));
    WORD_PAIR expected;
    for (std::size_t w = 0; w < 2; ++w) {
        const std::uint64_t mask = draws.all_of(3);
        expected[w] = (mine.bits[w] & mask) | (theirs.bits[w] & ~mask);
    }
    pool().cross(engine::CROSS);
    expectBuilt(expected, 3, draws);
}

TEST_F(Generators, XCrossUsesASlotOfThisRankingInTheNeighboursPool) {
    DRAWS draws(SEED);
    const INST_t& mine = ranked(draws.rank(POOL_SIZE));
    const int slot = pool().order[draws.rank(POOL_SIZE)];
    const INST_t& theirs = island(1).pool.pool[slot];
    WORD_PAIR expected;
    for (std::size_t w = 0; w < 2; ++w) {
        const std::uint64_t mask = draws.next();
        expected[w] = (mine.bits[w] & mask) | (theirs.bits[w] & ~mask);
    }
    pool().cross(engine::XCROSS, island(1).pool);
    expectBuilt(expected, 4, draws);
    EXPECT_NE(island(1).pool.state, draws.state()) << "the neighbour's draws are its own";
}

TEST_F(Generators, ZeroClearsOnesOfThePreviousInstance) {
    DRAWS draws(SEED);
    draws.rank(POOL_SIZE);  // drawn and dropped
    const std::uint64_t first = previous[0] & draws.any_of(3);
    const std::uint64_t second = previous[1] & draws.any_of(3);
    pool().zero(engine::ZERO);
    expectBuilt({first, second}, 5, draws);
}

TEST_F(Generators, OneSetsZerosOfThePreviousInstance) {
    DRAWS draws(SEED);
    draws.rank(POOL_SIZE);  // drawn and dropped
    const std::uint64_t first = previous[0] | draws.all_of(3);
    const std::uint64_t second = previous[1] | draws.all_of(3);
    pool().one(engine::ONE);
    expectBuilt({first, second}, 6, draws);
}

TEST_F(Generators, WithoutRoundsZeroClearsAllAndOneSetsAll) {
    for (const int rounds : {0, -5}) {
        run->inst_zero = run->inst_one = rounds;
        pool().state = SEED;
        DRAWS draws(SEED);
        draws.next();
        pool().zero(engine::ZERO);
        expectBuilt({0, 0}, 5, draws);
        draws.next();
        pool().one(engine::ONE);
        expectBuilt({ALL, ALL}, 6, draws);
    }
}

TEST_F(Generators, WithOneRoundZeroClearsHalfOfTheOnesAndOneSetsHalfOfTheZeros) {
    run->inst_zero = run->inst_one = 1;
    int left = 0;
    int set = 0;
    for (int i = 0; i < 2000; ++i) {
        out().bits[0] = out().bits[1] = ALL;
        pool().zero(engine::ZERO);
        left += std::popcount(out().bits[0]) + std::popcount(out().bits[1]);
        out().bits[0] = out().bits[1] = 0;
        pool().one(engine::ONE);
        set += std::popcount(out().bits[0]) + std::popcount(out().bits[1]);
    }
    EXPECT_NEAR(left / (2000.0 * 128), 0.5, 0.01);
    EXPECT_NEAR(set / (2000.0 * 128), 0.5, 0.01);
}

TEST_F(Generators, IntervalZeroClearsHalfOfAMembersOnes) {
    DRAWS draws(SEED);
    const INST_t& member = ranked(draws.rank(POOL_SIZE));
    const std::uint64_t first = member.bits[0] & draws.next();
    const std::uint64_t second = member.bits[1] & draws.next();
    pool().intervalZero(engine::INTERVAL_ZERO);
    expectBuilt({first, second}, 7, draws);
}

/** Hint and AllBest differ only in the special record that they mix in. */
class Mixing : public Generators, public testing::WithParamInterface<int> {
  protected:
    const INST_t& special() {
        return GetParam() == engine::HINT ? run->allisland->hint : allbest();
    }

    void mix() {
        if (GetParam() == engine::HINT)
            pool().hint(engine::HINT);
        else
            pool().allbest(engine::ALL_BEST);
    }

    /** The mixture, stated word by word; counts how often the special record is the base. */
    WORD_PAIR mixture(DRAWS& draws, int priority) {
        const bool from_special = draws.next() % 20 == 0;
        special_bases += from_special;
        const INST_t& base = from_special ? special() : ranked(draws.rank(POOL_SIZE));
        WORD_PAIR words = {out().bits[0], out().bits[1]};
        for (std::size_t w = 0; w < 2; ++w) {
            if (priority > 9) {
                words[w] = special().bits[w];
            } else if (priority < -9) {
                words[w] = base.bits[w];
            } else if (priority < 0) {
                const std::uint64_t mask = draws.all_of(-priority);
                words[w] = (special().bits[w] & mask) | (base.bits[w] & ~mask);
            } else {
                draws.all_of(std::max(priority, 1));  // drawn, and nothing written
            }
        }
        return words;
    }

    int special_bases = 0;
};

TEST_P(Mixing, IsAsStatedForEveryPriority) {
    for (int priority = -11; priority <= 11; ++priority) {
        run->best_priority = priority;
        DRAWS draws(pool().state);
        for (int i = 0; i < 200; ++i) {
            const WORD_PAIR expected = mixture(draws, priority);
            mix();
            expectBuilt(expected, GetParam(), draws);
        }
    }
    EXPECT_NEAR(special_bases, 23 * 200 / 20, 80);
}

TEST_P(Mixing, ANonNegativePriorityLeavesThePreviousInstance) {
    for (int priority = 0; priority <= 9; ++priority) {
        run->best_priority = priority;
        mix();
        EXPECT_EQ(out().bits[0], previous[0]);
        EXPECT_EQ(out().bits[1], previous[1]);
        EXPECT_EQ(out().inst, GetParam());
    }
}

TEST_P(Mixing, APriorityAbove9CopiesTheSpecialRecord) {
    run->best_priority = 10;
    mix();
    EXPECT_EQ(out().bits[0], special().bits[0]);
    EXPECT_EQ(out().bits[1], special().bits[1]);
}

INSTANTIATE_TEST_SUITE_P(HintAndAllBest, Mixing, testing::Values(8, 9), [](const auto& kind) {
    return std::string(engine::INSTANCE_TABLE[static_cast<std::size_t>(kind.param)]);
});

}  // namespace
