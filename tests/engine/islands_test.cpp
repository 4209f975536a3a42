// Islands as they are made, and how each one comes by its place on a device, its rings, its random
// state, its next instance and its restarts.
#include <set>

#include "engine/names.hpp"
#include "engine/support/death.hpp"
#include "engine/support/draws.hpp"
#include "engine/support/run_by_hand.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;
using band::INST_t;
using band::ISLAND;

/** The record that nobody made, with this energy and ticket. */
INST_t fresh(std::int64_t energy, std::int64_t ticket) {
    INST_t record{};
    record.energy = energy;
    record.found_time = -1000000000;
    record.inst = 10;
    record.algorithm = 5;
    record.ticket = ticket;
    return record;
}

bool same(const INST_t& a, const INST_t& b) {
    return std::memcmp(&a, &b, sizeof(INST_t)) == 0;
}

class Islands : public RunByHand {};

TEST_F(Islands, StartWithNoTraffic) {
    param.set("pool_size", "17");
    prepare(3, 2);
    for (int i = 0; i < 3; ++i) {
        ISLAND& member = island(i);
        EXPECT_EQ(member.id, i);
        EXPECT_EQ(member.pool.pool_size, 17);
        EXPECT_EQ(member.sent, 0);
        EXPECT_EQ(member.received, 0);
        EXPECT_EQ(member.send_pos, 0);
        EXPECT_EQ(member.recv_pos, 0);
        EXPECT_EQ(member.cross_pause, 0);
        EXPECT_EQ(member.generation, 0);
        EXPECT_EQ(member.last_generation, -1);
        EXPECT_EQ(member.flips, 0);
        EXPECT_EQ(member.restart, 0);
        EXPECT_EQ(member.block_hits, 0);
        EXPECT_EQ(member.block_total, 6) << "the blocks of the device";
        for (int b = 0; b < 6; ++b)
            EXPECT_EQ(member.block_results[b], 0);
        EXPECT_NE(member.stream, nullptr);
        EXPECT_EQ(member.pool.out, member.send_buf.get());
        EXPECT_EQ(member.pool.in, member.recv_buf.get());
    }
}

TEST_F(Islands, StartWithBestsOfEnergy0) {
    prepare(1, 1);
    EXPECT_TRUE(same(island(0).current, fresh(0, 0x7fffffff)));
    EXPECT_TRUE(same(island(0).best, fresh(0, 0x7fffffff)));
}

TEST_F(Islands, AllTogetherStartWithoutASolution) {
    prepare(2, 1);
    const band::ALLISLAND& all = *run->allisland;
    EXPECT_EQ(all.count, 2);
    EXPECT_EQ(all.islands.size(), 2u);
    EXPECT_EQ(all.allbest, &all.summary.best);
    EXPECT_TRUE(same(*all.allbest, fresh(device::NO_ENERGY, 0)));
    EXPECT_TRUE(same(all.hint, fresh(device::NO_ENERGY, 0)));
}

TEST_F(Islands, TheSummaryIsNoIslandOfADevice) {
    prepare(2, 1);
    const ISLAND& summary = run->allisland->summary;
    EXPECT_EQ(summary.id, -1);
    EXPECT_EQ(summary.stream, nullptr);
    EXPECT_EQ(summary.send_buf, nullptr);
    EXPECT_EQ(summary.recv_buf, nullptr);
    EXPECT_EQ(summary.best.ticket, 0);
}

TEST_F(Islands, AreDealtToTheDevicesInRows) {
    const PRESENTED_DEVICES two(2);
    begin();
    run->gpus = 2;
    run->islands_per_gpu = 3;
    run->blocks_per_gpu = 3;
    run->ring_size = 4;
    const band::ALLISLAND all(*run, 6);
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(all.islands[static_cast<std::size_t>(i)]->gpu, i / 3);
        EXPECT_EQ(all.islands[static_cast<std::size_t>(i)]->local, i % 3);
    }
}

TEST_F(Islands, HaveRandomStatesOfTheirOwn) {
    prepare(8, 1);
    std::set<unsigned long> states;
    for (int i = 0; i < 8; ++i)
        states.insert(island(i).pool.state);
    EXPECT_EQ(states.size(), 8u);
    EXPECT_EQ(states.count(0), 0u);
}

TEST_F(Islands, TheFirstWaveGoesToRingsSideBySide) {
    prepare(3, 2);
    EXPECT_EQ(run->ring_size, 8);
    for (int i = 0; i < 3; ++i) {
        island(i).send_ring = island(i).recv_ring = engine::INSTANCES();
        band::HOST_THREAD{.id = i, .island = &island(i)}.set_func();
        const std::size_t first = static_cast<std::size_t>(2 * i * 8);
        EXPECT_EQ(island(i).send_ring, run->rings[0].part(first, 8));
        EXPECT_EQ(island(i).recv_ring, run->rings[0].part(first + 8, 8));
        EXPECT_EQ(island(i).sent, 4) << "two for each block";
    }
}

TEST_F(Islands, TheNeighbourIsThePreviousOneInTheRingOfThoseThatRestart) {
    prepare(3, 1);
    EXPECT_EQ(&run->allisland->neighbourOf(0), &island(2));
    EXPECT_EQ(&run->allisland->neighbourOf(1), &island(0));
    EXPECT_EQ(&run->allisland->neighbourOf(2), &island(1));
}

TEST_F(Islands, AloneIsItsOwnNeighbour) {
    prepare(1, 1);
    EXPECT_EQ(&run->allisland->neighbourOf(0), &island(0));
}

class NextInstance : public RunByHand {
  protected:
    NextInstance() { prepare(2, 1); }
};

TEST_F(NextInstance, IsMarkedWithItsGenerator) {
    for (signed char kind = 0; kind < 10; ++kind) {
        island(0).generate(kind);
        EXPECT_EQ(island(0).send_buf->inst, kind);
    }
}

TEST_F(NextInstance, OfXCrossMixesWithTheNeighboursPool) {
    band::SOLPOOL& pool = island(0).pool;
    for (int slot = 0; slot < pool.pool_size; ++slot)
        for (int w = 0; w < 2; ++w) {
            pool.pool[slot].bits[w] = 0;
            island(1).pool.pool[slot].bits[w] = ~std::uint64_t{0};
        }
    island(0).generate(engine::XCROSS);
    EXPECT_NE(island(0).send_buf->bits[0], 0u) << "bits of the neighbour";
    EXPECT_NE(island(0).send_buf->bits[0], ~std::uint64_t{0}) << "bits of its own";
}

TEST_F(NextInstance, OfXCrossIsACrossWhileThePauseLasts) {
    band::SOLPOOL& pool = island(0).pool;
    for (int slot = 0; slot < pool.pool_size; ++slot)
        pool.pool[slot].bits[0] = pool.pool[slot].bits[1] = 0;
    island(0).cross_pause = 1;
    island(0).generate(engine::XCROSS);
    EXPECT_EQ(island(0).send_buf->inst, engine::CROSS);
    EXPECT_EQ(island(0).send_buf->bits[0], 0u) << "both members are its own";
    island(0).cross_pause = 0;
    island(0).generate(engine::XCROSS);
    EXPECT_EQ(island(0).send_buf->inst, engine::XCROSS);
}

TEST_F(NextInstance, OfAnUnknownGeneratorIsFatal) {
    EXPECT_ERROR(island(0).generate(10), "Unexpected error in instance selection (10)");
    EXPECT_ERROR(island(0).generate(-1), "Unexpected error in instance selection (-1)");
}

TEST_F(NextInstance, IsStampedWithTheRunsSettings) {
    run->batch_cycles = 4000;
    run->annealing_cycles = 300;
    run->kernel_flag = 9;
    island(0).generation = 65536 + 7;
    island(0).stampInstance();
    const INST_t& sent = *island(0).send_buf;
    EXPECT_EQ(sent.cycles, 4000u);
    EXPECT_EQ(sent.annealing, 300u);
    EXPECT_EQ(sent.flag, 9);
    EXPECT_EQ(sent.generation, 7) << "the low 16 bits";
}

class IslandRestart : public RunByHand {
  protected:
    IslandRestart() {
        prepare(3, 2);
        for (int i = 0; i < 3; ++i) {
            record(island(i).current) = result_of(-50);
            island(i).current.bits[0] = island(i).current.bits[1] = 99;
            record(island(i).best) = result_of(-60);
            record(island(i).pool.pool[0]) = result_of(-60);
            island(i).restart = 1;
        }
    }
};

TEST_F(IslandRestart, BeginsAGenerationAndForgetsThePresentBestButNotTheBestOfTheRun) {
    island(1).restartSearch();
    EXPECT_EQ(island(1).generation, 1);
    EXPECT_EQ(island(1).current.energy, device::NO_ENERGY);
    EXPECT_EQ(island(1).current.bits[0] | island(1).current.bits[1], 0u);
    EXPECT_EQ(island(1).best.energy, -60);
    EXPECT_EQ(island(1).restart, 0);
    EXPECT_EQ(island(0).generation, 0) << "the others do so by themselves";
    EXPECT_EQ(island(0).restart, 1);
}

TEST_F(IslandRestart, PausesXCrossForFourRings) {
    island(1).restartSearch();
    EXPECT_EQ(run->ring_size, 8);
    EXPECT_EQ(island(1).cross_pause, 32);
}

TEST_F(IslandRestart, FillsThePoolAtRandom) {
    island(1).pool.state = 77;
    DRAWS draws(77);
    island(1).restartSearch();
    EXPECT_EQ(island(1).pool.pool[0].energy, device::NO_ENERGY);
    EXPECT_EQ(island(1).pool.pool[0].bits[0], draws.next());
}

TEST_F(IslandRestart, LeavesThePoolOfAnIslandThatIsKept) {
    run->keep_islands = 1;
    size_run(*run);
    EXPECT_EQ(run->restart_islands, 2);
    island(2).restartSearch();
    EXPECT_EQ(island(2).generation, 1);
    EXPECT_EQ(island(2).pool.pool[0].energy, -60);
    island(1).restartSearch();
    EXPECT_EQ(island(1).pool.pool[0].energy, device::NO_ENERGY);
}

}  // namespace
