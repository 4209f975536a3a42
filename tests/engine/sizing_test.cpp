// How a run is sized to its devices: blocks, islands, rings, seeds.
#include "engine/support/death.hpp"
#include "engine/support/run_by_hand.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;

class Sizing : public RunByHand {
  protected:
    /** Sizes the run for devices of `processors` processors with room for 8 blocks each. */
    void size(int gpus, int processors, SETTINGS pairs = {}) {
        param = settings(pairs);
        begin();
        run->gpus = gpus;
        run->prop.multiProcessorCount = processors;
        run->prop.maxThreadsPerMultiProcessor = 8 * band::T + band::T / 2;
        size_run(*run);
    }
};

TEST_F(Sizing, TheBlockHasOneThreadForFourBitsWithinBounds) {
    EXPECT_EQ(device::threads_of(64), 64);
    EXPECT_EQ(device::threads_of(256), 64);
    EXPECT_EQ(device::threads_of(384), 96);
    EXPECT_EQ(device::threads_of(512), 128);
    EXPECT_EQ(device::threads_of(3968), 992);
    EXPECT_EQ(device::threads_of(4096), 1024);
    EXPECT_EQ(device::threads_of(65536), 1024);
    EXPECT_EQ(device::SHAPE(64).own, 1);
    EXPECT_EQ(device::SHAPE(4096).own, 4);
    EXPECT_EQ(device::SHAPE(10240).own, 10);
    EXPECT_EQ(device::SHAPE(65536).own, 64);
}

TEST_F(Sizing, OneDeviceHasFiveIslands) {
    size(1, 4);
    EXPECT_EQ(run->blocks_per_sm, 8);
    EXPECT_EQ(run->blocks_per_gpu, 32);
    EXPECT_EQ(run->islands_per_gpu, 5);
    EXPECT_EQ(run->islands, 5);
    EXPECT_EQ(run->all_threads, 6);
    EXPECT_EQ(run->blocks_per_island, 7) << "32 / 5, rounded up";
    EXPECT_EQ(run->ring_size, 28);
    EXPECT_EQ(run->restart_islands, 5);
}

TEST_F(Sizing, SeveralDevicesHaveAtLeastFiveIslandsTogether) {
    for (const auto& [gpus, islands_per_gpu] :
         {std::pair(2, 3), std::pair(3, 2), std::pair(4, 2), std::pair(5, 1), std::pair(6, 1),
          std::pair(8, 1)}) {
        size(gpus, 4);
        EXPECT_EQ(run->islands_per_gpu, islands_per_gpu) << gpus;
        EXPECT_EQ(run->islands, gpus * islands_per_gpu);
        EXPECT_EQ(run->all_threads, gpus + run->islands);
    }
}

TEST_F(Sizing, FewBlocksMakeFewIslands) {
    size(1, 4);
    run->islands_per_gpu = run->blocks_per_island = 0;
    run->blocks_per_gpu = 3;
    size_run(*run);
    EXPECT_EQ(run->islands_per_gpu, 3);
    EXPECT_EQ(run->blocks_per_island, 1);
    EXPECT_EQ(run->ring_size, 4);
}

TEST_F(Sizing, IslandsAndBlocksSetByHandStand) {
    size(2, 4, {{"islands_per_gpu", "7"}, {"blocks_per_island", "3"}});
    EXPECT_EQ(run->islands, 14);
    EXPECT_EQ(run->blocks_per_island, 3);
    EXPECT_EQ(run->ring_size, 12);
    EXPECT_EQ(run->blocks_per_gpu, 32) << "what the device holds, whatever is launched";
}

TEST_F(Sizing, SetTo0TheyAreComputed) {
    size(1, 4, {{"islands_per_gpu", "0"}, {"blocks_per_island", "0"}});
    EXPECT_EQ(run->islands_per_gpu, 5);
    EXPECT_EQ(run->blocks_per_island, 7);
}

TEST_F(Sizing, MoreKeptIslandsThanIslandsAreCutDown) {
    size(1, 4);
    run->keep_islands = 2;
    size_run(*run);
    EXPECT_EQ(run->restart_islands, 3);
    run->keep_islands = 9;
    size_run(*run);
    EXPECT_EQ(run->keep_islands, 5);
    EXPECT_EQ(run->restart_islands, 0);
}

TEST_F(Sizing, AShapeThatCannotBeLaunchedIsReported) {
    const auto end_with_report = [this](const char* key, const char* value) {
        const std::string report =
            "\\[CUDA Error\\] invalid configuration argument \\(code: 9\\) at main_program.cpp "
            "line [0-9]+\n";
        param = settings({{key, value}});
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        EXPECT_EXIT(band::band_solve(result.impl(), model.impl(), param.impl(), nullptr),
                    testing::ExitedWithCode(9), testing::MatchesRegex(report))
            << key << " " << value;
    };
    end_with_report("islands_per_gpu", "-1");
    end_with_report("blocks_per_island", "-1");
    end_with_report("blocks_per_island", "600000000");
    end_with_report("blocks_per_island", "-600000000");
    end_with_report("islands_per_gpu", "2147483647");
}

TEST_F(Sizing, EverySeedHasItsOutermostBitsSet) {
    size(2, 4);
    make_seeds(*run);
    EXPECT_EQ(run->seeds.size(), 2u * 33 * band::T) << "3 * 11 blocks are launched on a device";
    for (const unsigned long seed : run->seeds)
        EXPECT_EQ(seed & 0x8000000000000001, 0x8000000000000001);
    EXPECT_NE(run->seeds[0], run->seeds[1]);
    EXPECT_EQ(run->rings, (std::vector<engine::INSTANCES>(2)));
}

TEST_F(Sizing, BlocksThatAreNotLaunchedHaveSeedsToo) {
    size(1, 4, {{"islands_per_gpu", "1"}, {"blocks_per_island", "2"}});
    make_seeds(*run);
    EXPECT_EQ(run->seeds.size(), 32u * band::T);
}

}  // namespace
