// The rings under random schedules: a test plays the host of some islands and decides at each
// moment who goes on, the host that sends or receives, or one of the blocks, which may take an
// instance now and work on it much later, when others have overtaken it. Invariant: every instance
// is taken once, in the order in which it was sent, and comes back once, with the energy of its
// bits.
#pragma once

#include <cstdlib>
#include <deque>
#include <memory>
#include <random>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "bench.hpp"
#include "rings.hpp"

namespace orvex::device::test {

template <class BLOCK>
class RING_PLAY {
  public:
    RING_PLAY(std::uint64_t seed, int instances)
        : random_(seed),
          islands_(1 + below(3)),
          blocks_per_island_(1 + below(4)),
          instances_(instances),
          model_(64, 30, dense(static_cast<int>(seed), -20, 20)),
          rings_(64, islands_, ring_size()),
          seeds_(seedsFor(seed, islands_ * blocks_per_island_ * model_.shape.threads)),
          hosts_(static_cast<std::size_t>(islands_)) {
        model_.needAllRows();
        for (int island = 0; island < islands_; ++island) {
            rings_.startTicketsAt(island, first_ticket());
            host(island).first = rings_.ticketsTaken(island);
            // Of 16 bits in a slot, and so unique however far it goes.
            host(island).next_id = static_cast<std::uint16_t>(65536 - below(2 * instances_));
        }
        const auto launch = rings_.launch(model_, seeds_);
        for (int block = 0; block < islands_ * blocks_per_island_; ++block)
            blocks_.push_back({.block = std::make_unique<BLOCK>(block, launch)});
    }

    void play() {
        constexpr int MOST_STEPS = 200000;  // of a play that goes wrong; others take some hundred
        int steps = 0;
        for (; !over() && steps < MOST_STEPS && !::testing::Test::HasFailure(); ++steps)
            step();
        EXPECT_TRUE(over()) << "a schedule that does not end";
        for (int island = 0; island < islands_; ++island) {
            EXPECT_TRUE(host(island).waiting.empty()) << "something was never taken";
            EXPECT_TRUE(host(island).taken.empty()) << "something never came back";
            EXPECT_EQ(distance(host(island).first, rings_.resultsHandedIn(island)), instances_);
            EXPECT_EQ(distance(host(island).first, rings_.ticketsTaken(island)),
                      instances_ + blocks_per_island_);
        }
    }

  private:
    struct HOST {
        int first = 0;
        std::uint16_t next_id = 0;
        int sent = 0, received = 0, stops = 0;
        std::deque<std::uint16_t> waiting;  ///< sent and not taken, in order
        std::set<std::uint16_t> taken;      ///< taken and not back
        std::set<int> held;                 ///< numbers of slots that blocks may still read
        int numbers = 0;                    ///< of slots taken, stop marks too
    };
    struct PLAYER {
        std::unique_ptr<BLOCK> block;
        bool holds = false, left = false;
        std::uint16_t id = 0;  ///< of what it holds
        int number = 0;        ///< of its slot, in the order of the island's
    };

    int below(int limit) { return static_cast<int>(random_() % static_cast<std::uint64_t>(limit)); }
    static std::uint32_t distance(int from, int to) {
        return static_cast<std::uint32_t>(to) - static_cast<std::uint32_t>(from);
    }
    HOST& host(int island) { return hosts_[static_cast<std::size_t>(island)]; }

    /** From one slot for each block on; powers of two and others. */
    unsigned ring_size() {
        return static_cast<unsigned>(blocks_per_island_ + below(4 * blocks_per_island_));
    }

    /** At the beginning, in front of 2^31, and as far as blocks can count. */
    std::uint32_t first_ticket() {
        const auto all = static_cast<std::uint32_t>(instances_ + blocks_per_island_);
        switch (below(3)) {
            case 0:
                return 0;
            case 1:
                return 0x80000000U - static_cast<std::uint32_t>(below(static_cast<int>(all)));
            default:
                return 0xFFFFFFFFU - all;
        }
    }

    bool over() {
        for (const PLAYER& player : blocks_)
            if (!player.left) return false;
        for (HOST& each : hosts_)
            if (each.received != instances_) return false;
        return true;
    }

    void step() {
        const int island = below(islands_);
        switch (below(4)) {
            case 0:
                return send(island);
            case 1:
                return receive(island);
            default:
                return advance(
                    blocks_[static_cast<std::size_t>(below(static_cast<int>(blocks_.size())))]);
        }
    }

    /**
     * Only into slots that nobody reads any more. A block reads a slot as soon as it has taken it,
     * so a host need not know; here it is between the two for as long as the schedule says.
     */
    void send(int island) {
        HOST& from = host(island);
        const auto slots = static_cast<int>(rings_.ring_size);
        const int oldest = from.held.empty() ? from.numbers : *from.held.begin();
        if (from.sent + from.stops - oldest >= slots || from.sent - from.received >= slots) return;
        if (from.sent == instances_) {
            if (from.stops == blocks_per_island_) return;
            ++from.stops;
            return rings_.sendStop(island);
        }
        INSTANCE instance{.target = BITS(64),
                          .algorithm = static_cast<std::int8_t>(below(5)),
                          .budget = static_cast<std::uint32_t>(below(12)),
                          .steps = static_cast<std::uint32_t>(1 + below(5)),
                          .generation = from.next_id};
        for (int bit = 0; bit < model_.n; ++bit)
            instance.target[static_cast<std::size_t>(bit)] = below(6) == 0;
        rings_.send(island, instance);
        from.waiting.push_back(from.next_id++);
        ++from.sent;
    }

    void receive(int island) {
        const std::optional<RESULT> result = rings_.receive(island);
        if (!result) return;
        HOST& to = host(island);
        ++to.received;
        EXPECT_EQ(to.taken.erase(result->tail.generation), 1u) << "a result of nothing";
        EXPECT_EQ(result->tail.block % islands_, island);
        EXPECT_EQ(result->energy, model_.energy(result->bits));
    }

    void advance(PLAYER& player) {
        if (player.left) return;
        if (player.holds) {
            EXPECT_TRUE(runInstance(*player.block));
            EXPECT_EQ(player.block->record.generation, player.id) << "not taken in order";
            host(player.block->record.island).held.erase(player.number);
            player.holds = false;
            return;
        }
        HOST& from = host(player.block->record.island);
        switch (player.block->takeInstance()) {
            case BLOCK::TAKEN::NOTHING:
                return;
            case BLOCK::TAKEN::STOP_MARK:
                player.left = true;
                ++from.numbers;
                return;
            case BLOCK::TAKEN::INSTANCE:
                player.holds = true;
        }
        ASSERT_FALSE(from.waiting.empty()) << "an instance that nobody sent, or one taken twice";
        player.id = from.waiting.front();
        player.number = from.numbers++;
        from.held.insert(player.number);
        from.taken.insert(player.id);
        from.waiting.pop_front();
    }

    std::mt19937_64 random_;
    const int islands_, blocks_per_island_, instances_;
    TEST_MODEL<std::int32_t> model_;
    TEST_RINGS rings_;
    std::vector<unsigned long> seeds_;
    std::vector<HOST> hosts_;
    std::vector<PLAYER> blocks_;
};

/**
 * Plays that many schedules, or as many as the variable ORVEX_SCHEDULES says; the seed of one that
 * fails is told.
 */
template <class BLOCK>
void playSchedules(int usual, int instances) {
    const char* const asked = std::getenv("ORVEX_SCHEDULES");
    const int count = asked != nullptr ? std::atoi(asked) : usual;
    for (int seed = 1; seed <= count && !::testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RING_PLAY<BLOCK>(static_cast<std::uint64_t>(seed), instances).play();
    }
}

}  // namespace orvex::device::test
