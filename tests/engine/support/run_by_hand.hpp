// A run of the band of 128 bits that a test drives by hand: everything that a run makes before its
// kernel is there, and the test plays the blocks. 128 bits are two words, and each thread of a
// block owns two bits, so that neither count hides behind being one.
#pragma once

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>

#include <gtest/gtest.h>

#include "engine/host_threads.hpp"
#include "engine/island.hpp"
#include "engine/main_program.hpp"
#include "engine/support/band_128_32_32.hpp"
#include "engine/support/runs.hpp"

namespace engine_tests {

namespace band = qb128_32_32;

/** The record that the engine sees through a view. */
inline band::INST_t& record(const orvex::engine::INSTANCE& of) {
    return of;
}

/** In place of the blocks of one island: takes what was sent, hands in what the test makes up. */
class BLOCKS {
  public:
    /** `handed_in` are the results of before. */
    explicit BLOCKS(band::ISLAND& island, std::int64_t handed_in = 0)
        : island_(island), handed_(handed_in) {}

    /** What lies in the next slot of the send ring, whether its ticket is there or not. */
    const band::INST_t& next() const { return island_.send_ring[taken_ % band::gv->ring_size]; }

    /** Takes the next slot. */
    band::INST_t take() {
        band::INST_t instance;
        orvex::platform::cudaMemcpy(&instance, &next(), sizeof(instance),
                                    orvex::platform::cudaMemcpyDeviceToHost);
        ++taken_;
        return instance;
    }

    /** Hands in a result: the body first, the ticket after it. */
    void handIn(band::INST_t result) {
        band::INST_t& slot = island_.recv_ring[handed_ % band::gv->ring_size];
        result.ticket = slot.ticket;
        orvex::platform::cudaMemcpy(&slot, &result, sizeof(result),
                                    orvex::platform::cudaMemcpyHostToDevice);
        const std::int64_t ticket = ++handed_;
        orvex::platform::cudaMemcpy(&slot.ticket, &ticket, sizeof(ticket),
                                    orvex::platform::cudaMemcpyHostToDevice);
    }

  private:
    band::ISLAND& island_;
    int taken_ = 0;
    std::int64_t handed_;
};

/** A result as a block of the first generation would hand it in. */
inline band::INST_t result_of(long energy) {
    band::INST_t result{};
    result.energy = energy;
    result.found_time = 250000000;
    result.cycles = 1000;
    return result;
}

class RunByHand : public testing::Test {
  protected:
    ~RunByHand() override { finish(); }

    /** The end of the run, after which another one may begin. */
    void finish() {
        if (devices) {
            devices->destruct();
            devices->join();
            run->dev_threads = nullptr;
        }
        devices.reset();
        run.reset();
        band::qubo_releaser();
        band::gv = nullptr;
        band::host_gp = nullptr;
    }

    /** The run with its parameters read. */
    void begin(const orvex::Sol* start = nullptr) {
        run = std::make_unique<band::GLOBAL_VARS>(band::own, result.impl(), model.impl(),
                                                  param.impl(), start ? &start->impl() : nullptr);
        run->available_gpus = run->gpus = 1;
        band::gv = run.get();
        band::host_gp = &device_parameters;
        set_param(*run, device_parameters);
    }

    /** All that a run has when its kernel starts, but for instances in the rings. */
    void prepare(int islands, int blocks_per_island, const orvex::Sol* start = nullptr) {
        begin(start);
        run->prop.maxThreadsPerMultiProcessor = band::T;
        run->prop.multiProcessorCount = islands * blocks_per_island;
        run->islands_per_gpu = islands;
        run->blocks_per_island = blocks_per_island;
        size_run(*run);
        make_seeds(*run);
        run->trans_count = std::make_unique<band::TRANS_COUNT>();
        run->allisland = std::make_unique<band::ALLISLAND>(*run, run->islands);
        if (start) enter_start_solution(*run);
        devices.emplace(*run, 1);
        run->dev_threads = &*devices;
        devices->init();
        devices->join();
        devices->copy();
        devices->join();
        for (const auto& member : run->allisland->islands) {
            member->findRings();
            member->pool.randomInit(0);
        }
        run->restart_clock = std::make_unique<orvex::engine::RESTART_CLOCK>(
            run->time_limit, run->restart_t0, run->restart_b, run->restart_nobest);
    }

    band::ISLAND& island(int i) { return *run->allisland->islands[static_cast<std::size_t>(i)]; }
    band::INST_t& allbest() { return *run->allisland->allbest; }

    /** Hands a result in to the island, as the island's thread would. */
    void deliver(band::ISLAND& at, const band::INST_t& handed_in) {
        record(*at.recv_buf) = handed_in;
        at.regBest(0);
    }

    orvex::Model model{100, 32};
    orvex::Param param;
    orvex::Sol result{100};
    orvex::device::GPU_PARAMS device_parameters{};
    std::unique_ptr<band::GLOBAL_VARS> run;
    std::optional<band::DEV_THREADS> devices;
};

}  // namespace engine_tests
