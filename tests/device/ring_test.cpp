// How blocks and the host meet: entering, tickets, the wait for a slot, stop marks, the kill byte,
// and what a result holds at which byte. The rings are filled by hand.
#include <cstring>
#include <thread>

#include <gtest/gtest.h>

#include "bench.hpp"

namespace orvex::device::test {
namespace {

using BLOCK = CPU_BLOCK<std::int32_t, std::int32_t>;
using OUTCOME = platform::BLOCK_TASK::OUTCOME;

/** Some blocks of one launch, made in order, on the rings of some islands. */
class RingTest : public ::testing::Test {
  protected:
    RingTest() { model_.needAllRows(); }

    void launch(int blocks, int islands, unsigned ring_size) {
        rings_ = std::make_unique<TEST_RINGS>(model_.size(), islands, ring_size);
        seeds_ = seedsFor(71, blocks * model_.shape.threads);
        for (int i = 0; i < blocks; ++i)
            blocks_.push_back(std::make_unique<BLOCK>(i, rings_->launch(model_, seeds_)));
    }

    /** Sends one instance to the island and lets the block do it. */
    RESULT exchange(int block, int island, const INSTANCE& instance) {
        rings_->send(island, instance);
        EXPECT_EQ(blocks_[static_cast<std::size_t>(block)]->advance(), OUTCOME::WORKED);
        const auto result = rings_->receive(island);
        EXPECT_TRUE(result.has_value());
        EXPECT_EQ(result->energy, model_.energy(result->bits));
        return *result;
    }

    /** The solution at which the block is. */
    static BITS currentOf(BLOCK& block) {
        return snapshotOf<std::int32_t>(block, block.arrays().shape).ones;
    }

    BLOCK& block(int i) { return *blocks_[static_cast<std::size_t>(i)]; }

    TEST_MODEL<std::int32_t> model_{128, 100, dense(72, -100, 100)};
    std::unique_ptr<TEST_RINGS> rings_;
    std::vector<unsigned long> seeds_;
    std::vector<std::unique_ptr<BLOCK>> blocks_;
    const INSTANCE any_ = {.target = bits(128, {1, 2, 3}), .budget = 20, .steps = 20};
};

// ---- entering ------------------------------------------------------------------------------

TEST_F(RingTest, BlocksDealThemselvesToTheIslandsInTurn) {
    launch(5, 2, 4);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(block(i).record.island, i % 2);
        EXPECT_EQ(block(i).record.block_sequence, static_cast<unsigned>(i));
    }
    EXPECT_EQ(rings_->state.block_count, 5u);
}

TEST_F(RingTest, TheFirstBlockSetsTheStartTime) {
    const std::uint64_t before = global_timer();
    launch(2, 1, 4);
    EXPECT_GE(rings_->state.start_time, before);
    EXPECT_LE(rings_->state.start_time, global_timer());
}

TEST_F(RingTest, WithNoIslandsEveryBlockIsOnTheFirst) {
    rings_ = std::make_unique<TEST_RINGS>(model_.size(), 1, 4);
    seeds_ = seedsFor(71, model_.shape.threads);
    CPU_LAUNCH<std::int32_t> launch = rings_->launch(model_, seeds_);
    launch.islands_per_gpu = 0;
    BLOCK alone(0, launch);
    EXPECT_EQ(alone.record.island, 0);
    rings_->send(0, any_);
    EXPECT_EQ(alone.advance(), OUTCOME::WORKED);
    EXPECT_TRUE(rings_->receive(0).has_value());
}

TEST_F(RingTest, EachBlockDrawsFromTheSeedOfItsFirstThreadAndZeroIsReplaced) {
    launch(2, 1, 4);
    EXPECT_EQ(block(0).rng(), 0x0139408DCBBF7A44u);  // seedsFor starts with 0
    EXPECT_EQ(block(1).rng(), seeds_[64]);
    EXPECT_EQ(seeds_[0], 0u);  // seeds are read, not written
}

// ---- tickets -------------------------------------------------------------------------------

TEST_F(RingTest, InstancesAreTakenAndResultsHandedInInOrder) {
    launch(1, 1, 4);
    for (std::int8_t i = 0; i < 3; ++i) {
        INSTANCE instance = any_;
        instance.inst = i;
        rings_->send(0, instance);
    }
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(block(0).advance(), OUTCOME::WORKED);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(rings_->receive(0)->tail.inst, i);
    EXPECT_EQ(rings_->ticketsTaken(0), 3);
    EXPECT_EQ(rings_->resultsHandedIn(0), 3);
}

TEST_F(RingTest, BlocksOfAnIslandShareItsTickets) {
    launch(4, 2, 4);
    for (int i = 0; i < 4; ++i)
        rings_->send(i % 2, any_);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(block(i).advance(), OUTCOME::WORKED);
    for (int island = 0; island < 2; ++island) {
        EXPECT_EQ(rings_->ticketsTaken(island), 2);
        EXPECT_EQ(rings_->receive(island)->tail.block, island);
        EXPECT_EQ(rings_->receive(island)->tail.block, island + 2);
        EXPECT_FALSE(rings_->receive(island).has_value());
    }
}

TEST_F(RingTest, TheTicketOfTheRingsSizeUsesSlotZeroAgain) {
    launch(1, 1, 3);
    for (int ticket = 0; ticket < 10; ++ticket) {
        const RESULT result = exchange(0, 0, any_);
        EXPECT_EQ(result.tail.ticket, ticket + 1);
        EXPECT_EQ(*rings_->ticketWord(rings_->receiveSlot(0, static_cast<unsigned>(ticket % 3))),
                  ticket + 1);
    }
}

TEST_F(RingTest, AnOldInstanceInASlotIsNotTakenAgain) {
    launch(1, 1, 2);
    exchange(0, 0, any_);
    exchange(0, 0, any_);
    EXPECT_EQ(block(0).advance(), OUTCOME::WAITING);
    EXPECT_EQ(rings_->ticketsTaken(0), 2);
}

TEST_F(RingTest, ABlockWaitsUntilItsSlotIsReady) {
    launch(1, 1, 4);
    EXPECT_EQ(block(0).advance(), OUTCOME::WAITING);
    std::this_thread::sleep_for(std::chrono::microseconds(100));
    EXPECT_EQ(block(0).advance(), OUTCOME::WAITING);
    const RESULT result = exchange(0, 0, any_);
    // Pauses of 16, 32, 64, ... nanoseconds: thirteen make 131056, more than the wait at least.
    EXPECT_GE(result.tail.wait_exponent, 13);
    EXPECT_LE(result.tail.wait_exponent, 26);
    EXPECT_EQ(exchange(0, 0, any_).tail.wait_exponent, 0);  // this one was there
}

TEST_F(RingTest, TicketsGoOnAfterTheLargestSignedNumber) {
    launch(1, 1, 4);
    rings_->startTicketsAt(0, 0x7FFFFFFE);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(exchange(0, 0, any_).tail.ticket, 0x7FFFFFFFll + i);
}

// ---- stop marks and the kill byte ----------------------------------------------------------

TEST_F(RingTest, AStopMarkEndsTheBlockWithoutAResultAndKeepsItsTicket) {
    launch(2, 1, 4);
    rings_->sendStop(0);
    rings_->send(0, any_);
    EXPECT_EQ(block(0).advance(), OUTCOME::LEFT);
    EXPECT_EQ(rings_->ticketsTaken(0), 1);
    EXPECT_EQ(rings_->resultsHandedIn(0), 0);
    EXPECT_EQ(block(1).advance(), OUTCOME::WORKED);  // the next ticket's slot
}

TEST_F(RingTest, OneStopMarkEndsOneBlock) {
    launch(2, 1, 4);
    rings_->sendStop(0);
    EXPECT_EQ(block(0).advance(), OUTCOME::LEFT);
    EXPECT_EQ(block(1).advance(), OUTCOME::WAITING);
    rings_->sendStop(0);
    EXPECT_EQ(block(1).advance(), OUTCOME::LEFT);
}

TEST_F(RingTest, KilledWhileItWaitsABlockLeavesWithoutReadingTheSlot) {
    launch(1, 1, 4);
    EXPECT_EQ(block(0).advance(), OUTCOME::WAITING);
    rings_->send(0, any_);
    rings_->kill();
    EXPECT_EQ(block(0).advance(), OUTCOME::LEFT);
    EXPECT_EQ(block(0).record.flip_budget, 0u);  // nothing of the instance came in
    EXPECT_EQ(rings_->resultsHandedIn(0), 0);
}

// ---- results -------------------------------------------------------------------------------

TEST_F(RingTest, TheFieldsOfAResultStandAtTheirBytes) {
    launch(3, 1, 4);
    const INSTANCE sent = {.target = bits(128, {1, 2, 3}),
                           .algorithm = POSITIVE_MIN,
                           .budget = 50,
                           .steps = 30,
                           .generation = 0xABCD,
                           .inst = 7,
                           .param = -3,
                           .flag = 0xF1};
    rings_->send(0, sent);
    ASSERT_EQ(block(2).advance(), OUTCOME::WORKED);
    const unsigned char* slot = rings_->receiveSlot(0, 0);
    const auto at = [&](std::size_t offset, auto value) {
        std::memcpy(&value, slot + offset, sizeof(value));
        return value;
    };
    const std::size_t tail = 128 / 8;
    const auto& record = block(2).record;
    EXPECT_EQ(at(0, std::int64_t{}), record.best_energy);
    for (int bit = 0; bit < 128; ++bit)
        EXPECT_EQ(at(8 + static_cast<std::size_t>(bit / 32 * 4), 0u) >> bit % 32 & 1,
                  static_cast<unsigned>(isOneInBest(block(2), bit)));
    EXPECT_EQ(at(tail + 16, std::uint64_t{}), record.best_time - rings_->state.start_time);
    EXPECT_EQ(at(tail + 24, std::int64_t{}), 1);
    EXPECT_EQ(at(tail + 32, std::uint32_t{}), record.flips);
    EXPECT_GE(at(tail + 32, std::uint32_t{}), 50u);
    EXPECT_EQ(at(tail + 40, std::int8_t{}), 7);
    EXPECT_EQ(at(tail + 41, std::int8_t{}), POSITIVE_MIN);
    EXPECT_EQ(at(tail + 42, std::int8_t{}), -3);
    EXPECT_EQ(at(tail + 43, std::uint8_t{}), 0xF1);
    EXPECT_EQ(at(tail + 44, std::uint16_t{}), 0xABCD);
    EXPECT_EQ(at(tail + 46, std::int16_t{}), 0);
    EXPECT_EQ(at(tail + 48, std::int16_t{}), 2);
    EXPECT_EQ(at(tail + 60, std::uint8_t{}), 0);
}

TEST_F(RingTest, AResultLeavesTheOtherBytesOfItsSlotAlone) {
    launch(1, 1, 4);
    const std::size_t tail = 128 / 8;
    unsigned char* slot = rings_->receiveSlot(0, 0);
    std::memset(slot, 0x5A, instance_bytes(128));
    exchange(0, 0, any_);
    for (std::size_t offset : {8, 9, 15, 36, 39, 50, 59, 61, 63})
        EXPECT_EQ(slot[tail + offset], 0x5A) << offset;
}

TEST_F(RingTest, AResultWithOverflowIsHandedInLikeAnyOther) {
    launch(1, 1, 4);
    block(0).record.overflow = 1;
    EXPECT_EQ(exchange(0, 0, any_).tail.overflow, 1);
    EXPECT_EQ(exchange(0, 0, any_).tail.overflow, 1);
}

TEST_F(RingTest, WithNoNewBestAResultCarriesTheTimeOfAnEarlierOne) {
    launch(1, 1, 4);
    const RESULT first = exchange(0, 0, any_);
    EXPECT_GT(first.tail.found_time, 0);
    const RESULT second = exchange(0, 0, {.target = currentOf(block(0))});
    EXPECT_EQ(second.energy, 0);  // nothing to walk, nothing to descend
    EXPECT_EQ(second.tail.found_time, first.tail.found_time);
}

TEST_F(RingTest, ABestFromBeforeTheStartHasTimeZero) {
    launch(1, 1, 4);
    exchange(0, 0, any_);
    block(0).record.best_time = rings_->state.start_time - 1;
    EXPECT_EQ(exchange(0, 0, {.target = currentOf(block(0))}).tail.found_time, 0);
}

TEST_F(RingTest, TheBlockNumberOfAResultHasSixteenBits) {
    launch(1, 1, 4);
    block(0).record.block_sequence = 0x18001;
    EXPECT_EQ(exchange(0, 0, any_).tail.block, static_cast<std::int16_t>(0x8001));
}

TEST_F(RingTest, EveryResultsEnergyIsThatOfItsBits) {
    launch(1, 1, 4);  // exchange() computes it from the model
    for (int i = 0; i < 300; ++i) {
        INSTANCE instance = any_;
        instance.algorithm = static_cast<std::int8_t>(i % 5);
        instance.target[static_cast<std::size_t>(i % 100)] = 1;
        instance.generation = static_cast<std::uint16_t>(1 + i / 10);
        EXPECT_LE(exchange(0, 0, instance).energy, 0);
    }
}

}  // namespace
}  // namespace orvex::device::test
