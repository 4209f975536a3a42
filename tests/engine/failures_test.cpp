// How the engine ends the process: fatal errors, failed device operations, and memory that is not
// there. The words of the two memory messages are crossed on purpose: callers know them so.
#include <limits>
#include <malloc.h>
#include <memory>
#include <stdexcept>
#include <sys/resource.h>
#include <vector>

#include "engine/support/band_256_64_64.hpp"
#include "engine/support/death.hpp"
#include "engine/support/run_by_hand.hpp"
#include "support/sanitized.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;

TEST(Failures, AFatalErrorIsOneLineAndStatus1) {
    EXPECT_END(engine::error_exit("It broke."), 1, "Error: It broke.\n");
}

TEST(Failures, AFailedDeviceOperationTellsWhereAndExitsWithItsStatus) {
    EXPECT_END(engine::check_device_call(platform::cudaErrorMemoryAllocation, "place.hpp", 12), 2,
               "[CUDA Error] out of memory (code: 2) at place.hpp line 12\n");
}

TEST(Failures, ASuccessfulDeviceOperationGoesOn) {
    engine::check_device_call(platform::cudaSuccess, "place.hpp", 12);
}

TEST(Failures, TheCheckNamesTheSourceWithoutItsFolder) {
    const std::string report = "[CUDA Error] invalid device ordinal (code: 101) at ";
    const std::string here = "failures_test.cpp line " + std::to_string(__LINE__ + 1) + "\n";
    const auto fail = [] { cuda_check(platform::cudaSetDevice(7)); };
    EXPECT_END(fail(), 101, report + here);
}

TEST(Failures, WithoutADeviceThereIsNoRun) {
    const Model model(3, 8);
    const Param param;
    Sol sol(3);
    EXPECT_ERROR(
        {
            platform::present_devices(0);
            band::band_solve(sol.impl(), model.impl(), param.impl(), nullptr);
        },
        "No GPU found.");
}

TEST(Failures, WithoutADevicePreparingFailsAsADeviceOperation) {
    const Model model(3, 8);
    const Param param;
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            platform::present_devices(0);
            band::qubo_preparer(model.impl(), param.impl());
        },
        testing::ExitedWithCode(100),
        testing::MatchesRegex("\\[CUDA Error\\] no device is detected \\(code: 100\\) at "
                              "entry.cpp line [0-9]+\n"));
}

TEST(Failures, AModelThatIsTooLargeIsReportedBeforeMemoryIsTaken) {
    const Model model(129, 8);
    const Param param;
    Sol sol(129);
    const auto solve_and_count = [&] {
        std::atexit(
            [] { std::fprintf(stderr, "%ld allocations\n", platform::large_allocations()); });
        band::band_solve(sol.impl(), model.impl(), param.impl(), nullptr);
    };
    EXPECT_END(solve_and_count(), 1,
               "Error: QUBO probmem bit (129) exceeds Program supporting bit (128)\n"
               "0 allocations\n");
}

TEST(Failures, OfSeveralMistakesTheFirstInTheOrderOfARunCounts) {
    const Model too_large(129, 8), fitting(128, 8);
    const Param wrong = settings({{"pool_size", "1"}, {"trial_limit", "1"}});
    const Param right = settings({{"trial_limit", "1"}});
    Sol start(128);
    start.set("bound", "low");
    const auto solve_without_device = [&] {
        platform::present_devices(0);
        solve(band::band_solve, too_large, wrong, &start);
    };
    EXPECT_ERROR(solve_without_device(), "No GPU found.");
    EXPECT_ERROR(solve(band::band_solve, too_large, wrong, &start),
                 "QUBO probmem bit (129) exceeds Program supporting bit (128)");
    EXPECT_ERROR(solve(band::band_solve, fitting, wrong, &start), "pool_size must be at least 2.");
    EXPECT_THROW(solve(band::band_solve, fitting, right, &start), std::invalid_argument);
    start.set("bound", "-5");
    solve(band::band_solve, fitting, right, &start);
    band::qubo_releaser();
}

TEST(Failures, DeviceMemoryThatIsNotThereIsCalledHostMemory) {
    void* memory = nullptr;
    EXPECT_ERROR(engine::allocate_on_device(&memory, std::size_t{1} << 50),
                 "Insufficient Host memory.");
}

/**
 * No more memory than the process has now. The heap gets 256 KiB before, so that it is what comes
 * from the system in pages of its own that is missed first, as page-locked memory does.
 */
void forbid_more_memory() {
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    std::vector<std::unique_ptr<char[]>> room(16);
    for (auto& piece : room)
        piece = std::make_unique<char[]>(std::size_t{16} << 10);
    room.clear();
    const rlimit none = {0, RLIM_INFINITY};
    setrlimit(RLIMIT_AS, &none);
}

TEST(Failures, PageLockedMemoryThatIsNotThereIsCalledGpuMemory) {
    if (orvex::test::SANITIZED) GTEST_SKIP() << "the sanitizer needs memory of its own";
    const Model model = random_model(100, 32, 5, 1);
    const Param param;
    Sol sol(100);
    EXPECT_ERROR(
        {
            forbid_more_memory();
            qb256_64_64::band_solve(sol.impl(), model.impl(), param.impl(), nullptr);
        },
        "Insufficient GPU memory.");
    EXPECT_ERROR(
        {
            forbid_more_memory();
            qb256_64_64::qubo_preparer(model.impl(), param.impl());
        },
        "Insufficient GPU memory.");
}

class LaunchFailures : public RunByHand {};

TEST_F(LaunchFailures, ALaunchOfNoBlocksEndsWithTheDevicesReport) {
    prepare(1, 1);
    run->islands_per_gpu = 0;
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(devices->threads[0].kernel_func(), testing::ExitedWithCode(9),
                testing::MatchesRegex("\\[CUDA Error\\] invalid configuration argument \\(code: "
                                      "9\\) at device_threads.cpp line [0-9]+\n"));
}

TEST_F(LaunchFailures, RingsThatDoNotFitAreCalledHostMemory) {
    prepare(1, 1);
    run->ring_size = 2147483647;
    run->islands_per_gpu = 2147483647;
    band::DEV_THREADS fresh(*run, 1);
    EXPECT_ERROR(fresh.threads[0].init_func(), "Insufficient Host memory.");
}

}  // namespace
