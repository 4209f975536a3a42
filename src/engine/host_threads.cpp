#include "engine/host_threads.hpp"

#include <cassert>
#include <mutex>
#include <utility>

#include "engine/error_exit.hpp"
#include "engine/relaxed.hpp"

namespace orvex::engine {

using namespace platform;

HOST_THREADS::HOST_THREADS(const ALLISLAND& islands) : count(islands.count) {
    assert(std::cmp_equal(count, islands.islands.size()));
    threads.reserve(islands.islands.size());
    for (int i = 0; i < count; ++i)
        threads.push_back(
            HOST_THREAD{.id = i, .island = islands.islands[static_cast<std::size_t>(i)].get()});
}

/** Every block has two instances waiting before the kernel exists. */
void HOST_THREAD::set_func() {
    assert(island && island->id == id);
    cuda_check(cudaSetDevice(island->gpu));
    island->findRings();
    island->sendRandom(2 * island->run.blocks_per_island);
    assert(island->sent <= island->run.ring_size);
}

void HOST_THREAD::main_func() {
    assert(island->send_ring.size() > 0 && island->recv_ring.size() > 0);
    assert(run().restart_clock);
    cuda_check(cudaSetDevice(island->gpu));
    while (relaxed(run().stop_code) == 0 && island->hasTickets() &&
           run().trans_count->request(run().trial_limit))
        if (!feed()) break;
    if (!relaxed(run().killed)) stopAndDrain();
}

/** Takes one result and sends one instance. False if the run is killed or the target reached. */
bool HOST_THREAD::feed() {
    assert(!island->stopping);
    if (relaxed(run().killed) || !takeResult()) return false;
    if (island->recv_buf->generation == island->generation) island->pool.insert();
    island->regBest(island->recv_buf->generation != island->generation);
    if (relaxed(run().killed)) return false;
    if (targetReached()) {
        run().dev_threads->close();
        return false;
    }

    lookAtRestartClock();
    if (relaxed(island->restart)) island->restartSearch();

    if (!std::exchange(island->answer_is_hint, false)) {
        island->generate(island->pool.selInst());
        island->send_buf->algorithm = island->pool.selAlgorithm();
    }
    island->stampInstance();
    island->host2device(ISLAND::INSTANCE_MODE);
    assert(island->sent - island->received <= run().ring_size);  // no slot is overwritten unread
    return true;
}

/** Waits for the next result. False if the run is killed. */
bool HOST_THREAD::takeResult() {
    island->device2host();
    return !relaxed(run().killed);
}

/** A target of exactly 0 is no target. */
bool HOST_THREAD::targetReached() const {
    return run().target_energy != 0 &&
           run().target_energy >= relaxed(run().allisland->allbest->energy);
}

/** Whichever thread comes first after the end of a period begins the next one for all islands. */
void HOST_THREAD::lookAtRestartClock() {
    const std::lock_guard lock(run().band.restart_mtx);
    RESTART_CLOCK& clock = *run().restart_clock;
    if (!(run().restart_t0 > 0) || now() < clock.next_restart) return;
    assert(clock.count > 0);  // the clock began the first period itself
    clock.nextPeriod();
    for (const auto& member : run().allisland->islands)
        set_relaxed(member->restart, 1);
}

/**
 * One stop mark for each block of the island, then the results still owed. Results of every
 * generation enter the pool here; nothing is made from it any more.
 */
void HOST_THREAD::stopAndDrain() {
    island->sendStopMarks();
    while (island->sent > island->received) {
        if (relaxed(run().killed) || !takeResult()) return;
        island->pool.insert();
        if (relaxed(run().killed)) return;
        island->regBest(0);
    }
    assert(island->sent == island->received);  // whatever was sent has come back
}

}  // namespace orvex::engine
