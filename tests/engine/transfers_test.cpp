// The two rings of an island: what the host writes and in which order, how it waits, what it counts
// when a result comes.
#include <thread>
#include <tuple>

#include "engine/names.hpp"
#include "engine/relaxed.hpp"
#include "engine/support/draws.hpp"
#include "engine/support/run_by_hand.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;
using band::INST_t;
using band::ISLAND;

class Sending : public RunByHand {
  protected:
    Sending() { prepare(2, 2); }
};

TEST_F(Sending, AnInstanceGoesToTheNextSlotWithTheNextTicket) {
    ISLAND& from = island(0);
    from.send_buf->bits[0] = 42;
    from.send_buf->cycles = 7;
    from.host2device(ISLAND::INSTANCE_MODE);
    from.send_buf->bits[0] = 43;
    from.host2device(ISLAND::INSTANCE_MODE);

    EXPECT_EQ(from.send_ring[0].bits[0], 42u);
    EXPECT_EQ(from.send_ring[0].cycles, 7u);
    EXPECT_EQ(from.send_ring[0].ticket, 1);
    EXPECT_EQ(from.send_ring[1].bits[0], 43u);
    EXPECT_EQ(from.send_ring[1].ticket, 2);
    EXPECT_EQ(from.send_ring[2].ticket, 0);
    EXPECT_EQ(from.sent, 2);
    EXPECT_EQ(from.send_pos, 2);
    EXPECT_EQ(island(1).send_ring[0].ticket, 0) << "the other island's ring";
}

TEST_F(Sending, AStopMarkTakesASlotAndIsNotCountedAsSent) {
    ISLAND& from = island(0);
    from.host2device(ISLAND::INSTANCE_MODE);
    from.send_buf->bits[0] = 5;
    from.host2device(ISLAND::STOP_MARK_MODE);
    EXPECT_EQ(from.send_ring[1].ticket, -1);
    EXPECT_EQ(from.send_ring[1].bits[0], 5u) << "it carries whatever the buffer held";
    EXPECT_EQ(from.sent, 1);
    EXPECT_EQ(from.send_pos, 2);
}

TEST_F(Sending, OneStopMarkIsSentForEachBlock) {
    island(0).host2device(ISLAND::INSTANCE_MODE);
    island(0).sendStopMarks();
    EXPECT_EQ(island(0).send_ring[0].ticket, 1);
    EXPECT_EQ(island(0).send_ring[1].ticket, -1);
    EXPECT_EQ(island(0).send_ring[2].ticket, -1);
    EXPECT_EQ(island(0).send_ring[3].ticket, 0);
}

TEST_F(Sending, TheRingIsUsedRoundAndRound) {
    ISLAND& from = island(0);
    ASSERT_EQ(run->ring_size, 8);
    for (int i = 1; i <= 20; ++i) {
        from.send_buf->bits[1] = static_cast<std::uint64_t>(i);
        from.host2device(ISLAND::INSTANCE_MODE);
        const INST_t& slot = from.send_ring[(i - 1) % 8];
        EXPECT_EQ(slot.ticket, i);
        EXPECT_EQ(slot.bits[1], static_cast<std::uint64_t>(i));
    }
    EXPECT_EQ(from.send_pos, 4);
}

TEST_F(Sending, WhoSeesTheTicketSeesTheBody) {
    ISLAND& from = island(0);
    constexpr int INSTANCES = 2000;
    int wrong = 0;
    std::atomic<int> seen{0};
    std::thread block([&] {
        for (std::int64_t ticket = 1; ticket <= INSTANCES; ++ticket) {
            const INST_t& slot = from.send_ring[(ticket - 1) % run->ring_size];
            while (__atomic_load_n(&slot.ticket, __ATOMIC_ACQUIRE) != ticket)
                std::this_thread::yield();
            wrong += slot.bits[0] != static_cast<std::uint64_t>(ticket) * 3;
            wrong += slot.cycles != static_cast<std::uint32_t>(ticket);
            seen = static_cast<int>(ticket);
        }
    });
    for (int i = 1; i <= INSTANCES; ++i) {
        while (seen < i - 8)
            std::this_thread::yield();
        from.send_buf->bits[0] = static_cast<std::uint64_t>(i) * 3;
        from.send_buf->cycles = static_cast<std::uint32_t>(i);
        from.host2device(ISLAND::INSTANCE_MODE);
    }
    block.join();
    EXPECT_EQ(wrong, 0);
}

class Receiving : public RunByHand {
  protected:
    Receiving() {
        prepare(2, 2);
        blocks.emplace(island(0));
    }

    /** The island takes the result that the test hands in. */
    void receive(const INST_t& handed_in) {
        blocks->handIn(handed_in);
        island(0).device2host();
    }

    std::optional<BLOCKS> blocks;
};

TEST_F(Receiving, AResultComesWholeAndIsCounted) {
    INST_t handed_in = result_of(-77);
    handed_in.bits[1] = 123;
    handed_in.algorithm = 3;
    handed_in.inst = 6;
    handed_in.wait_exponent = 4;
    receive(handed_in);
    const INST_t& got = *island(0).recv_buf;
    EXPECT_EQ(got.energy, -77);
    EXPECT_EQ(got.bits[1], 123u);
    EXPECT_EQ(got.wait_exponent, 4);
    EXPECT_EQ(island(0).received, 1);
    EXPECT_EQ(island(0).recv_pos, 1);
    EXPECT_EQ(island(0).flips, 1000);
    EXPECT_EQ(island(0).algorithm_count, (std::array<std::int64_t, 5>{0, 0, 0, 1, 0}));
    EXPECT_EQ(island(0).instance_count, (std::array<std::int64_t, 10>{0, 0, 0, 0, 0, 0, 1}));
}

TEST_F(Receiving, FlipsAddUpBeyond32Bits) {
    INST_t handed_in = result_of(0);
    handed_in.cycles = 4000000000u;
    receive(handed_in);
    receive(handed_in);
    EXPECT_EQ(island(0).flips, 8000000000);
}

TEST_F(Receiving, TheTicketBecomesTheNumberOfTheResultInTheRun) {
    run->trans_count->received(41);
    receive(result_of(0));
    EXPECT_EQ(island(0).recv_buf->ticket, 42);
}

TEST_F(Receiving, TheRingIsUsedRoundAndRound) {
    for (int i = 1; i <= 20; ++i) {
        receive(result_of(-i));
        EXPECT_EQ(island(0).recv_buf->energy, -i);
        EXPECT_EQ(island(0).received, i);
        EXPECT_EQ(island(0).recv_pos, i % 8);
    }
}

TEST_F(Receiving, ResultsAreCountedByTheirBlock) {
    for (const short block : {0, 3, 3}) {
        INST_t handed_in = result_of(0);
        handed_in.block = block;
        receive(handed_in);
    }
    EXPECT_EQ(island(0).block_total, 4);
    EXPECT_EQ(island(0).block_results[0], 1);
    EXPECT_EQ(island(0).block_results[3], 2);
    EXPECT_EQ(island(0).block_hits, 3);
    EXPECT_EQ(island(0).deliveringBlocks(), 2);
}

TEST_F(Receiving, AResultOfAnUnknownBlockIsCountedEverywhereElse) {
    for (const short block : {-1, 4, 32767}) {
        INST_t handed_in = result_of(0);
        handed_in.block = block;
        receive(handed_in);
    }
    EXPECT_EQ(island(0).received, 3);
    EXPECT_EQ(island(0).flips, 3000);
    EXPECT_EQ(island(0).algorithm_count[0], 3);
    EXPECT_EQ(island(0).block_hits, 0);
    EXPECT_EQ(island(0).deliveringBlocks(), 0);
}

TEST_F(Receiving, ThePauseOfXCrossGetsShorterByEachResult) {
    island(0).cross_pause = 2;
    receive(result_of(0));
    EXPECT_EQ(island(0).cross_pause, 1);
    receive(result_of(0));
    receive(result_of(0));
    EXPECT_EQ(island(0).cross_pause, 0);
}

TEST_F(Receiving, AnOverflowStopsTheRun) {
    receive(result_of(0));
    EXPECT_EQ(run->stop_code, 0);
    INST_t handed_in = result_of(0);
    handed_in.overflow = 1;
    receive(handed_in);
    EXPECT_EQ(run->stop_code, -1);
    EXPECT_EQ(island(0).received, 2);
}

TEST_F(Receiving, TheHostWaitsUntilTheResultIsThere) {
    std::thread late([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        blocks->handIn(result_of(-5));
    });
    island(0).device2host();
    late.join();
    EXPECT_EQ(island(0).recv_buf->energy, -5);
}

TEST_F(Receiving, AKillEndsTheWaitWithoutAResult) {
    std::thread killer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        engine::set_relaxed(run->killed, true);
    });
    island(0).device2host();
    killer.join();
    EXPECT_EQ(island(0).received, 0);
    EXPECT_EQ(island(0).recv_pos, 0);
    EXPECT_EQ(run->trans_count->received(0), 0);
}

TEST_F(Receiving, BitsAboveTheModelAreClearedAndTheirCostIsTakenOff) {
    INST_t handed_in = result_of(-1000000);
    handed_in.bits[0] = ~std::uint64_t{0};
    handed_in.bits[1] = std::uint64_t{0b1011} << 35 | std::uint64_t{1} << 63;
    receive(handed_in);
    const INST_t& got = *island(0).recv_buf;
    EXPECT_EQ(got.bits[0], ~std::uint64_t{0});
    EXPECT_EQ(got.bits[1], std::uint64_t{1} << 35) << "variable 99 is the last one";
    EXPECT_EQ(got.energy, -1000000 - 3 * 255);
}

TEST_F(Receiving, ResultsThatDifferAboveTheModelAloneAreTheSame) {
    INST_t handed_in = result_of(-5);
    handed_in.bits[1] = 7;
    receive(handed_in);
    island(0).regBest(0);
    handed_in.energy += 255;
    handed_in.bits[1] |= std::uint64_t{1} << 36;
    receive(handed_in);
    EXPECT_EQ(island(0).recv_buf->energy, island(0).best.energy);
    EXPECT_EQ(island(0).recv_buf->bits[1], island(0).best.bits[1]);
}

TEST_F(Receiving, WhereTheModelEndsDecidesWhatIsCleared) {
    const std::uint64_t all = ~std::uint64_t{0};
    for (const auto& [size, first, second] :
         {std::tuple(128, all, all), std::tuple(127, all, all >> 1), std::tuple(65, all, all >> 63),
          std::tuple(64, all, std::uint64_t{0}), std::tuple(63, all >> 1, std::uint64_t{0}),
          std::tuple(1, std::uint64_t{1}, std::uint64_t{0}),
          std::tuple(0, std::uint64_t{0}, std::uint64_t{0})}) {
        run->size = size;
        INST_t handed_in = result_of(7);
        handed_in.bits[0] = handed_in.bits[1] = all;
        receive(handed_in);
        EXPECT_EQ(island(0).recv_buf->bits[0], first) << size;
        EXPECT_EQ(island(0).recv_buf->bits[1], second) << size;
        EXPECT_EQ(island(0).recv_buf->energy, 7 - 255 * (128 - size)) << size;
    }
}

class FirstWave : public RunByHand {
  protected:
    /** What the island has sent, from its first slot on. */
    std::vector<INST_t> sentBy(ISLAND& from) {
        BLOCKS blocks(from);
        std::vector<INST_t> sent;
        for (int i = 0; i < from.sent; ++i)
            sent.push_back(blocks.take());
        return sent;
    }

    Sol start{128};
};

TEST_F(FirstWave, IsRandomAndDrawnFromTheIslandsState) {
    param.set("search_cycles", "5000 600");
    prepare(2, 2);
    island(1).pool.state = 31415;
    DRAWS draws(31415);
    island(1).sendRandom(4);
    for (const INST_t& sent : sentBy(island(1))) {
        EXPECT_EQ(sent.bits[0], draws.next());
        EXPECT_EQ(sent.bits[1], draws.next());
        EXPECT_EQ(sent.inst, engine::RANDOM);
        if (draws.next() % 20 != 0) draws.next();  // a member without a rule
        EXPECT_EQ(sent.algorithm, static_cast<int>(draws.next() % 5));
        EXPECT_EQ(sent.cycles, 5000u);
        EXPECT_EQ(sent.annealing, 600u);
        EXPECT_EQ(sent.generation, 0);
    }
    EXPECT_EQ(island(1).sent, 4);
    EXPECT_EQ(island(1).pool.state, draws.state());
}

TEST_F(FirstWave, OfNoneSendsNothingAndAsksForNoTicket) {
    param.set("trial_limit", "1");
    prepare(1, 1);
    island(0).sendRandom(0);
    island(0).sendRandom(-3);
    EXPECT_EQ(island(0).sent, 0);
    EXPECT_TRUE(run->trans_count->request(1)) << "the first request";
}

TEST_F(FirstWave, BeginsWithTheStartSolutionOnTheFirstIsland) {
    start.impl().data[0] = 111;
    start.impl().data[1] = 222;
    prepare(2, 2, &start);
    island(0).sendRandom(4);
    island(1).sendRandom(4);
    const std::vector<INST_t> first = sentBy(island(0));
    EXPECT_EQ(first[0].bits[0], 111u);
    EXPECT_EQ(first[0].bits[1], 222u);
    EXPECT_EQ(first[0].inst, 9);
    EXPECT_EQ(first[0].algorithm, 0);
    EXPECT_EQ(first[0].cycles, static_cast<unsigned>(run->batch_cycles));
    for (int i = 1; i < 4; ++i)
        EXPECT_EQ(first[static_cast<std::size_t>(i)].inst, engine::RANDOM);
    for (const INST_t& sent : sentBy(island(1)))
        EXPECT_EQ(sent.inst, engine::RANDOM);
}

TEST_F(FirstWave, OfAShortStartSolutionHasZerosAfterIt) {
    Sol shorter(10);
    shorter.set(9, true);
    prepare(1, 1, &shorter);
    island(0).sendRandom(1);
    const INST_t sent = sentBy(island(0))[0];
    EXPECT_EQ(sent.bits[0], 512u);
    EXPECT_EQ(sent.bits[1], 0u);
    EXPECT_EQ(allbest().bits[0], 512u);
    EXPECT_EQ(allbest().bits[1], 0u);
}

TEST_F(FirstWave, SendsTheStartSolutionWhoeverTookTheTrials) {
    param.set("trial_limit", "3");
    prepare(2, 2, &start);
    island(1).sendRandom(4);
    island(0).sendRandom(4);
    EXPECT_EQ(island(1).sent, 2);
    EXPECT_EQ(island(0).sent, 1);
    EXPECT_EQ(sentBy(island(0))[0].inst, engine::ALL_BEST);
}

TEST_F(FirstWave, EndsAtTheTrialLimit) {
    param.set("trial_limit", "3");
    prepare(2, 2);
    island(0).sendRandom(4);
    island(1).sendRandom(4);
    EXPECT_EQ(island(0).sent, 3);
    EXPECT_EQ(island(1).sent, 0);
}

TEST_F(FirstWave, UsesAFixedRule) {
    param.set("fix_algorithm", "Two");
    prepare(1, 2);
    island(0).sendRandom(4);
    for (const INST_t& sent : sentBy(island(0)))
        EXPECT_EQ(sent.algorithm, 4);
}

}  // namespace
