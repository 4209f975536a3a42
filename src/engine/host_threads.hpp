// The host threads: one per island and phase of a run. main_func is the search loop of an island:
// one result in, one instance out, until a stop condition holds.
#pragma once

#include <thread>
#include <vector>

#include "engine/island.hpp"
#include "engine/phase_threads.hpp"

namespace orvex::engine {

struct HOST_THREAD {
    int id;
    ISLAND* island;
    std::thread thread{};

    void init_func() { island->pool.randomInit(0); }
    void set_func();
    void main_func();

  private:
    GLOBAL_VARS& run() const { return island->run; }
    bool feed();
    bool takeResult();
    bool targetReached() const;
    void lookAtRestartClock();
    void stopAndDrain();
};

struct HOST_THREADS {
    int count;
    std::vector<HOST_THREAD> threads;

    /** One thread for each island. */
    explicit HOST_THREADS(const ALLISLAND& islands);

    void init() { start_phase(threads, &HOST_THREAD::init_func); }
    void set() { start_phase(threads, &HOST_THREAD::set_func); }
    void main() { start_phase(threads, &HOST_THREAD::main_func); }
    void join() { join_phase(threads); }
};

}  // namespace orvex::engine
