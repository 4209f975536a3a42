// Whole runs: devices and bands, settings by hand, start solutions, and what is shown.
#include <chrono>
#include <filesystem>
#include <regex>
#include <set>
#include <thread>

#include <gmock/gmock.h>

#include "engine/device_threads.hpp"
#include "engine/island.hpp"
#include "engine/relaxed.hpp"
#include "engine/support/band_128_32_32.hpp"
#include "engine/support/band_256_32_64.hpp"
#include "engine/support/band_64_32_32.hpp"
#include "engine/support/death.hpp"
#include "engine/support/runs.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;
namespace band = qb64_32_32;

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> list;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        list.push_back(line);
    return list;
}

class MainProgram : public testing::Test {
  protected:
    Sol run(SETTINGS pairs, const Sol* start = nullptr) {
        return solve(band::band_solve, model, settings(pairs), start);
    }

    /** The shape of a run, as it is when its clock has started. */
    struct SEEN {
        int gpus, islands_per_gpu, blocks_per_island, islands;
        std::vector<int> gpu_of_island;
    };
    SEEN shapeOf(SETTINGS pairs) {
        SEEN seen{};
        ON_EVENT callback([&](ON_EVENT&, const std::string&) {
            const band::GLOBAL_VARS& v = *band::gv;
            seen = {v.gpus, v.islands_per_gpu, v.blocks_per_island, v.islands, {}};
            for (const auto& island : v.allisland->islands)
                seen.gpu_of_island.push_back(island->gpu);
        });
        Param param = settings(pairs);
        param.set("trial_limit", "300");
        param.set(callback);
        EXPECT_LT(std::stol(solve(band::band_solve, model, param).get("energy")), 0);
        return seen;
    }

    Model model = random_model(60, 16, 1000, 1);
};

TEST_F(MainProgram, RunsOnEveryDeviceThatThereIs) {
    for (const auto& [count, per_gpu] :
         {std::pair(1, 5), std::pair(2, 3), std::pair(3, 2), std::pair(6, 1)}) {
        const PRESENTED_DEVICES devices(count);
        const SEEN seen = shapeOf({});
        EXPECT_EQ(seen.gpus, count);
        EXPECT_EQ(seen.islands_per_gpu, per_gpu);
        EXPECT_EQ(seen.islands, count * per_gpu);
        EXPECT_EQ(seen.gpu_of_island.back(), count - 1);
    }
}

TEST_F(MainProgram, RunsOnAsManyDevicesAsAskedFor) {
    const PRESENTED_DEVICES three(3);
    EXPECT_EQ(shapeOf({{"gpus", "2"}}).gpus, 2);
    EXPECT_EQ(shapeOf({{"gpus", "3"}}).gpus, 3);
}

TEST_F(MainProgram, AllDevicesDeliver) {
    const PRESENTED_DEVICES three(3);
    const std::string text = stderr_of([&] { run({{"verbose", "2"}, {"trial_limit", "3000"}}); });
    for (const char* device : {"[SM 0]", "[SM 1]", "[SM 2]"}) {
        const std::size_t at = text.find(device);
        ASSERT_NE(at, std::string::npos) << device;
        const std::string line = text.substr(at, text.find('\n', at) - at);
        EXPECT_EQ(line.find(" 0 total blocks"), std::string::npos) << line;
    }
}

TEST_F(MainProgram, TakesIslandsAndBlocksSetByHand) {
    const SEEN seen = shapeOf({{"islands_per_gpu", "3"}, {"blocks_per_island", "2"}});
    EXPECT_EQ(seen.islands, 3);
    EXPECT_EQ(seen.blocks_per_island, 2);
    EXPECT_EQ(shapeOf({{"islands_per_gpu", "1"}, {"blocks_per_island", "1"}}).islands, 1);
}

TEST_F(MainProgram, LaunchesMoreBlocksThanFitAtATime) {
    const SEEN seen = shapeOf({{"islands_per_gpu", "2"}, {"blocks_per_island", "100"}});
    EXPECT_EQ(seen.blocks_per_island, 100);
}

TEST_F(MainProgram, SolvesModelsOfTwoBandsInTurn) {
    const Model large = random_model(128, 16, 1000, 2);
    const Model larger = random_model(200, 16, 1000, 3);
    for (int i = 0; i < 3; ++i) {
        run({{"trial_limit", "100"}});
        solve(qb128_32_32::band_solve, large, settings({{"trial_limit", "100"}}));
        solve(qb256_32_64::band_solve, larger, settings({{"trial_limit", "100"}}));
    }
}

TEST_F(MainProgram, BandsSolveSideBySideOnThreadsOfTheirOwn) {
    const Model large = random_model(128, 16, 1000, 2);
    const Model larger = random_model(200, 16, 1000, 3);
    const auto solve_often = [](qubo_multi::SolveFunction band_solve, const Model& of) {
        for (int i = 0; i < 5; ++i) {
            const Sol sol = solve(band_solve, of, settings({{"trial_limit", "200"}}));
            EXPECT_LT(std::stol(sol.get("energy")), 0);
        }
    };
    std::thread first([&] { solve_often(band::band_solve, model); });
    std::thread second([&] { solve_often(qb128_32_32::band_solve, large); });
    solve_often(qb256_32_64::band_solve, larger);
    first.join();
    second.join();
}

TEST_F(MainProgram, BandsHaveRunsOfTheirOwnAtTheSameTime) {
    const Model large = random_model(128, 16, 1000, 2);
    int other_size = 0;
    ON_EVENT callback([&](ON_EVENT&, const std::string&) {
        const band::GLOBAL_VARS* const here = band::gv;
        std::thread other([&] {
            ON_EVENT there([&](ON_EVENT&, const std::string&) {
                other_size = qb128_32_32::gv->size;
                EXPECT_EQ(band::gv, here);
            });
            Param param = settings({{"trial_limit", "50"}});
            param.set(there);
            solve(qb128_32_32::band_solve, large, param);
        });
        other.join();
        EXPECT_EQ(band::gv, here);
        EXPECT_EQ(band::gv->size, 60);
    });
    Param param = settings({{"trial_limit", "50"}});
    param.set(callback);
    solve(band::band_solve, model, param);
    EXPECT_EQ(other_size, 128);
}

/** Threads of this process, the caller's among them. */
std::ptrdiff_t threads_alive() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return std::distance(begin(tasks), end(tasks));
}

TEST_F(MainProgram, NoThreadSurvivesARun) {
    // The first thread of a process may bring one of a sanitizer with it, which stays.
    std::thread([] {}).join();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const std::ptrdiff_t before = threads_alive();
    std::ptrdiff_t during = 0;
    ON_EVENT callback([&](ON_EVENT& self, const std::string& event) {
        self.set("new");
        if (event == "new") during = threads_alive();
    });
    Param param = settings({{"trial_limit", "300"}});
    param.set(callback);
    solve(band::band_solve, model, param);
    EXPECT_GT(during, before);
    // A thread that has been joined stays in the list for a moment.
    using namespace std::chrono;
    const auto patience = steady_clock::now() + seconds(20);
    while (threads_alive() > before && steady_clock::now() < patience)
        std::this_thread::sleep_for(milliseconds(1));
    EXPECT_EQ(threads_alive(), before);
}

TEST_F(MainProgram, SolvesAModelWithoutVariables) {
    const Sol sol = solve(band::band_solve, Model(0, 8), settings({{"trial_limit", "20"}}));
    EXPECT_EQ(sol.get("energy"), "0");
}

TEST_F(MainProgram, OfAModelThatOnlyCostsTheBestIsNoBitAtAll) {
    Model costs(10, 8);
    for (int i = 0; i < 10; ++i)
        costs.set(i, i, 1 + i);
    const Sol sol = solve(band::band_solve, costs, settings({{"trial_limit", "100"}}));
    EXPECT_EQ(sol.get("energy"), "0");
    EXPECT_EQ(sol.impl().data[0], 0u);
}

TEST_F(MainProgram, GoesThroughRestartsInAShortRun) {
    std::set<std::int64_t> restarts;
    ON_EVENT callback([&](ON_EVENT& self, const std::string&) {
        self.set("alarm", "0");
        restarts.insert(engine::relaxed(band::gv->restart_clock->next_restart));
    });
    Param param = settings({{"restart_duration", "0.002 1"}, {"trial_limit", "6000"}});
    param.set(callback);
    solve(band::band_solve, model, param);
    EXPECT_GT(restarts.size(), 3u);
}

TEST_F(MainProgram, TheCarveoutIsReadFromTheEnvironment) {
    for (const auto& [value, expected] :
         {std::pair("50", 50), std::pair("0", 0), std::pair("-1", 0), std::pair("junk", 0)}) {
        const auto solve_and_exit = [&, value = value] {
            setenv("ORVEX_CARVEOUT", value, 1);
            int carveout = -1;
            ON_EVENT callback([&](ON_EVENT&, const std::string&) {
                carveout = engine::shared_memory_carveout(*band::gv);
            });
            Param param = settings({{"trial_limit", "10"}});
            param.set(callback);
            solve(band::band_solve, model, param);
            std::exit(carveout);
        };
        EXPECT_END(solve_and_exit(), expected, "");
    }
}

TEST_F(MainProgram, WithoutTheEnvironmentTheRunsCarveoutCounts) {
    const auto ask = [&](const char* value) {
        if (value) setenv("ORVEX_CARVEOUT", value, 1);
        Param param;
        Sol sol(60);
        band::GLOBAL_VARS v(band::own, sol.impl(), model.impl(), param.impl(), nullptr);
        v.carveout = 33;
        band::gv = &v;
        std::exit(engine::shared_memory_carveout(*band::gv));
    };
    EXPECT_END(ask(nullptr), 33, "");
    EXPECT_END(ask("-5"), 33, "");
    EXPECT_END(ask("7"), 7, "");
}

class StartSolutions : public MainProgram {};

TEST_F(StartSolutions, AreSearchedFrom) {
    // From all zeros nothing is better than 0; only the start solution's surroundings are.
    Model needle(60, 16);
    for (int i = 0; i < 60; ++i)
        needle.set(i, i, 1000);
    Sol start(64);
    for (int i = 0; i < 60; ++i)
        start.set(i, true);
    for (int i = 0; i < 60; ++i)
        for (int j = i + 1; j < 60; ++j)
            needle.set(i, j, -40);
    const Sol sol = solve(band::band_solve, needle,
                          settings({{"trial_limit", "1"}, {"islands_per_gpu", "1"}}), &start);
    EXPECT_LE(std::stol(sol.get("energy")), 60 * 1000 - 40 * 60 * 59 / 2);
}

TEST_F(StartSolutions, OfAnyLengthAreTaken) {
    for (const int length : {0, 1, 60, 64, 65, 1000}) {
        Sol start(length);
        for (int i = 0; i < length; ++i)
            start.set(i, true);
        const Sol sol = run({{"trial_limit", "50"}}, &start);
        EXPECT_LT(std::stol(sol.get("energy")), 0);
    }
}

class Shown : public MainProgram {};

TEST_F(Shown, NothingUnlessAskedFor) {
    EXPECT_EQ(stderr_of([&] { run({{"trial_limit", "100"}}); }), "");
    EXPECT_EQ(stderr_of([&] { run({{"trial_limit", "100"}, {"verbose", "0"}}); }), "");
    EXPECT_EQ(stderr_of([&] { run({{"trial_limit", "100"}, {"verbose", "-1"}}); }), "");
}

/** The line of a device, but for its clock rate, which changes from moment to moment. */
std::string device_line(int device) {
    platform::cudaDeviceProp prop{};
    platform::cudaGetDeviceProperties(&prop, device);
    char text[512];
    std::snprintf(text, sizeof(text), "CC%d.%d %.2fGB, %dSMs, %dThs/SM %.2fKB/SM %d MaxBlock",
                  prop.major, prop.minor, static_cast<double>(prop.totalGlobalMem) / 1e9,
                  prop.multiProcessorCount, prop.maxThreadsPerMultiProcessor,
                  static_cast<double>(prop.sharedMemPerMultiprocessor) / 1000,
                  platform::resident_blocks(64));
    return std::string("[GPU  ") + std::to_string(device) + "] " + prop.name + ": #GHz " + text;
}

TEST_F(Shown, DevicesThenProgressThenTheTable) {
    const PRESENTED_DEVICES two(2);
    const std::vector<std::string> text = lines(stderr_of([&] {
        run({{"trial_limit", "500"}, {"verbose", "1"}, {"expected_energy", "-12345"}});
    }));
    const std::regex clock_rate("[0-9]+\\.[0-9][0-9]GHz");
    EXPECT_EQ(std::regex_replace(text.at(0), clock_rate, "#GHz"), device_line(0));
    EXPECT_EQ(std::regex_replace(text.at(1), clock_rate, "#GHz"), device_line(1));

    constexpr std::size_t ISLANDS = 6;
    ASSERT_GT(text.size(), 2 + 1 + ISLANDS);
    const std::size_t table = text.size() - ISLANDS - 1;
    for (std::size_t i = 2; i < table; ++i)
        EXPECT_THAT(text[i], testing::HasSubstr("[A]")) << "a line of progress";
    for (std::size_t i = 0; i < ISLANDS; ++i)
        EXPECT_THAT(text[table + i], testing::HasSubstr("[" + std::to_string(i) + "] "));
    EXPECT_THAT(text.back(), testing::StartsWith("\033[44m\033[31m[A] "));
}

TEST_F(Shown, AtLevel2AlsoWhatTheDevicesDelivered) {
    const std::vector<std::string> text = lines(stderr_of([&] {
        run({{"trial_limit", "500"}, {"verbose", "2"}});
    }));
    const std::regex device(
        "\\[SM 0\\]  [0-9]+\\.[0-9]{3}s (Isl [0-4]: [0-9]+ blocks ){5}[0-9]+ total blocks with "
        "[0-9]+/[0-9]+ total threads occupancy=[0-9]+\\.[0-9]{2}%");
    EXPECT_TRUE(std::regex_match(text.back(), device)) << text.back();
}

TEST_F(Shown, TheLogHasALineForEachBestOfTheRun) {
    const Sol sol = run({{"trial_limit", "500"}, {"log", "true"}});
    const std::vector<std::string> log = lines(sol.impl().log.str());
    ASSERT_FALSE(log.empty());
    long last = std::numeric_limits<long>::max();
    for (const std::string& line : log) {
        EXPECT_TRUE(std::regex_match(line, std::regex("[0-9]+\\.[0-9]{6},-?[0-9]+"))) << line;
        const long energy = std::stol(line.substr(line.find(',') + 1));
        EXPECT_LT(energy, last);
        last = energy;
    }
    EXPECT_EQ(std::to_string(last), sol.get("energy"));
    EXPECT_EQ(run({{"trial_limit", "100"}}).impl().log.str(), "");
}

}  // namespace
