// What an island chooses by lot: a rank of its pool, a flip rule, a generator. Each choice is
// compared with a plain statement of it that draws from the same seed word, and both must have
// drawn equally often.
#include "engine/names.hpp"
#include "engine/support/draws.hpp"
#include "engine/support/run_by_hand.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;
using engine::INSTANCE_TABLE;

class Choices : public RunByHand {
  protected:
    static constexpr int POOL_SIZE = 30;

    Choices() {
        param.set("pool_size", std::to_string(POOL_SIZE));
        prepare(1, 1);
        std::mt19937_64 twister(1);
        for (int slot = 0; slot < POOL_SIZE; ++slot) {
            pool().pool[slot].inst = static_cast<signed char>(twister() % 10);
            pool().pool[slot].algorithm = static_cast<signed char>(twister() % 6 - 1);
            pool().order[slot] = (slot * 7 + 3) % POOL_SIZE;
        }
    }

    band::SOLPOOL& pool() { return island(0).pool; }

    void seed(std::uint64_t word) { pool().state = word; }

    /** The rule that an island chooses, stated step by step. */
    int algorithmBy(DRAWS& draws) {
        if (run->fix_algorithm != -1) return run->fix_algorithm;
        if (draws.next() % 20 != 0) {
            const int member = pool().pool[draws.next() % POOL_SIZE].algorithm;
            if (member != -1 && member != run->exclude_algorithm) return member;
        }
        for (;;) {
            const int any = static_cast<int>(draws.next() % 5);
            if (any != run->exclude_algorithm) return any;
        }
    }

    /** The generator that an island chooses, stated step by step. */
    int instanceBy(DRAWS& draws, bool allbest_free, bool hint_ready) {
        if (run->fix_instance != -1) return run->fix_instance;
        if (draws.next() % 20 == 0) {
            const int any = static_cast<int>(draws.next() % 10);
            const bool barred = (any == 9 && !allbest_free) || (any == 8 && !hint_ready);
            if (!barred) return any;
        }
        const int member = pool().pool[draws.next() % POOL_SIZE].inst;
        return member != 0 ? member : static_cast<int>(draws.next() & 7);
    }

    void expectAlgorithmsAsStated() {
        seed(4711);
        DRAWS draws(4711);
        for (int i = 0; i < 5000; ++i) {
            ASSERT_EQ(pool().selAlgorithm(), algorithmBy(draws)) << "choice " << i;
            ASSERT_EQ(pool().state, draws.state()) << "choice " << i;
        }
    }

    void expectInstancesAsStated(bool allbest_free, bool hint_ready) {
        seed(815);
        DRAWS draws(815);
        for (int i = 0; i < 5000; ++i) {
            ASSERT_EQ(pool().selInst(), instanceBy(draws, allbest_free, hint_ready))
                << "choice " << i;
            ASSERT_EQ(pool().state, draws.state()) << "choice " << i;
        }
    }

    /** How often each generator is chosen. */
    std::array<int, 11> chosenInstances(int choices) {
        std::array<int, 11> counts{};
        for (int i = 0; i < choices; ++i)
            ++counts.at(static_cast<std::size_t>(pool().selInst()));
        return counts;
    }

    void barAllBest() { run->restart_clock->nobest_until = engine::now() + 3600'000000000; }
    void freeAllBest() { run->restart_clock->nobest_until = engine::now() - 1; }

    /** Makes the pool one of fresh random records. */
    void makeRandom() {
        seed(5);
        pool().randomInit(0);
    }
};

TEST_F(Choices, ARankIsTheCubeOfAUniformDraw) {
    seed(99);
    DRAWS draws(99);
    for (int i = 0; i < 5000; ++i)
        ASSERT_EQ(pool().selIdx(), pool().order[draws.rank(POOL_SIZE)]);
    EXPECT_EQ(pool().state, draws.state()) << "one draw for each rank";
}

TEST_F(Choices, TheBestHalfOfTheRanksGetsTheCubeRootOfAHalf) {
    seed(7);
    int best_half = 0;
    for (int i = 0; i < 20000; ++i) {
        const int slot = pool().selIdx();
        const int rank =
            static_cast<int>(std::find(pool().order.get(), pool().order.get() + POOL_SIZE, slot) -
                             pool().order.get());
        best_half += rank < POOL_SIZE / 2;
    }
    EXPECT_NEAR(best_half / 20000.0, std::cbrt(0.5), 0.02);
}

TEST_F(Choices, RulesAreDrawnAsStated) {
    expectAlgorithmsAsStated();
}

TEST_F(Choices, RulesWithOneExcludedAreDrawnAsStated) {
    for (signed char excluded = 0; excluded < 5; ++excluded) {
        run->exclude_algorithm = excluded;
        expectAlgorithmsAsStated();
    }
}

TEST_F(Choices, AFixedRuleTakesNoDrawAndWinsOverAnExcludedOne) {
    run->fix_algorithm = run->exclude_algorithm = 2;
    seed(1);
    EXPECT_EQ(pool().selAlgorithm(), 2);
    EXPECT_EQ(pool().state, 1u);
}

TEST_F(Choices, WithAPoolOfTheExcludedRuleTheOthersAreChosen) {
    run->exclude_algorithm = 3;
    for (int slot = 0; slot < POOL_SIZE; ++slot)
        pool().pool[slot].algorithm = 3;
    expectAlgorithmsAsStated();
    std::array<int, 5> counts{};
    for (int i = 0; i < 4000; ++i)
        ++counts.at(static_cast<std::size_t>(pool().selAlgorithm()));
    EXPECT_EQ(counts[3], 0);
    for (const int rule : {0, 1, 2, 4})
        EXPECT_NEAR(counts[static_cast<std::size_t>(rule)], 1000, 150);
}

TEST_F(Choices, FromAPoolWithoutRulesAllAreEquallyLikely) {
    makeRandom();
    expectAlgorithmsAsStated();
    std::array<int, 5> counts{};
    for (int i = 0; i < 5000; ++i)
        ++counts.at(static_cast<std::size_t>(pool().selAlgorithm()));
    for (const int count : counts)
        EXPECT_NEAR(count, 1000, 150);
}

TEST_F(Choices, TheMarkOfNoRuleIsReturnedAsItIs) {
    for (int slot = 0; slot < POOL_SIZE; ++slot)
        pool().pool[slot].algorithm = 5;
    seed(3);
    int marks = 0;
    for (int i = 0; i < 100; ++i)
        marks += pool().selAlgorithm() == 5;
    EXPECT_GT(marks, 80);
}

TEST_F(Choices, GeneratorsAreDrawnAsStated) {
    for (const bool hint_ready : {false, true}) {
        run->hint_ready = hint_ready;
        barAllBest();
        expectInstancesAsStated(false, hint_ready);
        freeAllBest();
        expectInstancesAsStated(true, hint_ready);
    }
}

TEST_F(Choices, AFixedGeneratorTakesNoDraw) {
    for (signed char kind = 0; kind < 10; ++kind) {
        run->fix_instance = kind;
        seed(1);
        EXPECT_EQ(pool().selInst(), kind);
        EXPECT_EQ(pool().state, 1u);
    }
}

TEST_F(Choices, FromARandomPoolHintAndAllBestAreRareAndTheOthersEquallyLikely) {
    makeRandom();
    freeAllBest();
    run->hint_ready = true;
    seed(8);
    const std::array<int, 11> counts = chosenInstances(40000);
    for (std::size_t kind = 0; kind < 8; ++kind)
        EXPECT_NEAR(counts[kind], 40000 * (0.95 / 8 + 0.05 / 10), 400);
    EXPECT_NEAR(counts[8], 200, 60);
    EXPECT_NEAR(counts[9], 200, 60);
    EXPECT_EQ(counts[10], 0);
}

TEST_F(Choices, BarredHintAndAllBestAreNotChosenFromARandomPool) {
    makeRandom();
    barAllBest();
    seed(8);
    const std::array<int, 11> counts = chosenInstances(20000);
    EXPECT_EQ(counts[8], 0);
    EXPECT_EQ(counts[9], 0);
}

TEST_F(Choices, AMemberMadeByHintOrAllBestIsFollowedEvenWhenTheyAreBarred) {
    barAllBest();
    for (int slot = 0; slot < POOL_SIZE; ++slot)
        pool().pool[slot].inst = slot % 2 ? engine::HINT : engine::ALL_BEST;
    seed(8);
    const std::array<int, 11> counts = chosenInstances(2000);
    EXPECT_GT(counts[8], 800);
    EXPECT_GT(counts[9], 800);
}

}  // namespace
