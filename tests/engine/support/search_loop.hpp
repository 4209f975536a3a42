// The search loop of an island on its own: the results that it will meet lie in its receive ring
// before it starts, so that it runs through without waiting, and the test sees what it sent.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/support/run_by_hand.hpp"

namespace engine_tests {

class SearchLoop : public RunByHand {
  protected:
    static constexpr int BLOCKS_OF_ISLAND = 2;
    static constexpr int FIRST_WAVE = 2 * BLOCKS_OF_ISLAND;
    static constexpr int RING = 4 * BLOCKS_OF_ISLAND;

    /** Two islands after their first wave; `more` instances may follow it. */
    void prepareLoop(int more) {
        param.set("trial_limit", std::to_string(FIRST_WAVE + more));
        prepare(2, BLOCKS_OF_ISLAND);
        ASSERT_EQ(run->ring_size, RING);
        thread.emplace(band::HOST_THREAD{.id = 0, .island = &island(0)});
        thread->set_func();
        ASSERT_EQ(island(0).sent, FIRST_WAVE);
        blocks.emplace(island(0));
    }

    /** Results with these energies wait for the island; their bits are far apart. */
    void handIn(const std::vector<long>& energies) {
        for (const long energy : energies) {
            band::INST_t handed_in = result_of(energy);
            handed_in.bits[0] = std::uint64_t{0xFFF} << (12 * (handed_++ % 5));
            handed_in.bits[1] = static_cast<std::uint64_t>(handed_);
            blocks->handIn(handed_in);
        }
    }

    int handed_ = 0;

    void search() { thread->main_func(); }

    /** Tickets in the send ring after the first wave, in the order in which they were sent. */
    std::vector<std::int64_t> ticketsAfterFirstWave(int count) {
        std::vector<std::int64_t> tickets;
        for (int i = FIRST_WAVE; i < FIRST_WAVE + count; ++i)
            tickets.push_back(island(0).send_ring[i % RING].ticket);
        return tickets;
    }

    bool poolHolds(long energy) {
        const band::SOLPOOL& pool = island(0).pool;
        for (int slot = 0; slot < pool.pool_size; ++slot)
            if (pool.pool[slot].energy == energy) return true;
        return false;
    }

    std::optional<band::HOST_THREAD> thread;
    std::optional<BLOCKS> blocks;
};

/** Loops with a callback. */
class SearchLoopEvents : public SearchLoop {
  protected:
    /** Act on the n-th "new" event, from 1. */
    void onNew(int n, std::function<void(ON_EVENT&)> act) {
        callback.emplace([n, act = std::move(act)](ON_EVENT& self, const std::string&) {
            if (self.count("new") == n) act(self);
        });
        callback->set("new");
        param.set(*callback);
    }

    std::optional<ON_EVENT> callback;
};

}  // namespace engine_tests
