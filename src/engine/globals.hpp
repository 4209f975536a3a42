// The state of one run, which every part of the engine is handed or reaches through its island. It
// is made, filled and destroyed here and in solve() alone; its band points to it while it lives.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/band.hpp"
#include "engine/instance.hpp"
#include "engine/run_state.hpp"
#include "engine/trans_count.hpp"

namespace orvex::engine {

struct ISLAND;
struct ALLISLAND;
struct DEV_THREADS;
struct HOST_THREADS;

struct GLOBAL_VARS : RUN_STATE {
    GLOBAL_VARS(BAND& of_band, Sol::Impl& result, const Model::Impl& problem,
                const Param::Impl& settings, const Sol::Impl* start_solution);
    ~GLOBAL_VARS();
    GLOBAL_VARS(const GLOBAL_VARS&) = delete;
    GLOBAL_VARS& operator=(const GLOBAL_VARS&) = delete;

    /** Fills a solution with the best of the run and what is known about it. */
    void get_sol(Sol::Impl& to, bool final);

    /** Delivers "init", "new" or "alarm", if wanted, and carries out the requests it leaves. */
    void callback_func(const std::string& event, ISLAND& island);

    /** Tells the callback, if there is one, what each island has done. */
    void tellIslands();
    void tellPools();

    /** Ends the run at once if the callback's owner has asked for it between events. */
    void obeyOwner();

    BAND& band;
    void* wmat = nullptr;          ///< page-locked host matrix
    bool owns_wmat = true;         ///< freed with this object unless passed on to the session
    std::vector<INSTANCES> rings;  ///< per device: all island rings, in device memory
    std::unique_ptr<ALLISLAND> allisland;
    std::unique_ptr<TRANS_COUNT> trans_count;
    std::unique_ptr<RESTART_CLOCK> restart_clock;
    DEV_THREADS* dev_threads = nullptr;    ///< on main_program's stack
    HOST_THREADS* host_threads = nullptr;  ///< on main_program's stack

  private:
    void endAtOnce();
    void takeRequests(ISLAND& island);
};

/** Turns the parameter text into the run's typed fields. */
void set_param(GLOBAL_VARS& run, device::GPU_PARAMS& gpu_params);

}  // namespace orvex::engine
