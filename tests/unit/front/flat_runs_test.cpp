// The flat interface above the engine itself: whole searches, whose results are scored from the
// coefficients, with events that come from the engine's threads.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "front/flat_problems.hpp"
#include "platform/platform.hpp"
#include "support/refusal.hpp"

namespace {

using namespace flat_tests;
using std::chrono::steady_clock;

/** A problem, and what a solution of it amounts to. */
struct PROBLEM {
    std::uint32_t n;
    std::vector<LINEAR> linear;
    std::vector<QUADRATIC> quadratic;

    HANDLE handle(std::int32_t gpus = 0) const { return create(n, linear, quadratic, gpus); }

    std::int64_t energy(const std::uint64_t* x) const {
        std::int64_t sum = 0;
        for (const auto& [i, value] : linear)
            sum += bit(x, i) ? value : 0;
        for (const auto& [i, j, value] : quadratic)
            sum += bit(x, i) && bit(x, j) ? value : 0;
        return sum;
    }

    /** The same of a solution of one word. */
    std::int64_t energy(std::uint64_t x) const { return energy(&x); }

    /** The best vector of a few variables, found by trying all. */
    std::uint64_t optimum() const {
        std::uint64_t best = 0;
        for (std::uint64_t x = 1; x < std::uint64_t{1} << n; ++x)
            if (energy(x) < energy(best)) best = x;
        return best;
    }
};

PROBLEM random_problem(std::uint32_t n, std::int64_t largest) {
    std::mt19937_64 random(n);
    std::uniform_int_distribution<std::int64_t> values(-largest, largest);
    PROBLEM problem{.n = n, .linear = {}, .quadratic = {}};
    for (std::uint32_t i = 0; i < n; ++i) {
        problem.linear.push_back({i, values(random)});
        for (std::uint32_t j = i + 1; j < n; ++j)
            problem.quadratic.push_back({i, j, values(random)});
    }
    return problem;
}

/** What a search with these settings, and a time limit that only failures come to, finds. */
std::vector<std::uint64_t> words_found(const HANDLE& handle, std::vector<const char*> settings,
                                       const std::uint64_t* start = nullptr) {
    settings.insert(settings.end(), {"time_limit", "60", nullptr});
    std::vector<std::uint64_t> solution(4);
    EXPECT_EQ(tarvik_orvex_search(handle.get(), settings.data(), start, solution.data()), 0)
        << tarvik_orvex_last_error();
    return solution;
}

/** The same for a problem of up to 64 variables and one setting. */
std::uint64_t found(const HANDLE& handle, const char* key, const std::string& value) {
    return words_found(handle, {key, value.c_str()}).at(0);
}

/** So little of a search that it finds nothing good of its own. */
const std::vector<const char*> HARDLY_ANY = {
    "trial_limit",     "5", "search_cycles",     "100 20",  //
    "islands_per_gpu", "1", "blocks_per_island", "1"};

/** Searches until this energy is reached, and returns what the result amounts to. */
std::int64_t energy_at_target(const PROBLEM& problem, const HANDLE& handle, std::int64_t target) {
    return problem.energy(found(handle, "target_energy", std::to_string(target)));
}

/** The text of a result. */
std::string info(const HANDLE& handle, const char* key) {
    return tarvik_orvex_info(handle.get(), key);
}

TEST(FlatRuns, FindTheOptimum) {
    const PROBLEM problem = random_problem(14, 100);
    const std::int64_t least = problem.energy(problem.optimum());
    const HANDLE handle = problem.handle();
    for (int k = 0; k < 3; ++k)
        EXPECT_EQ(energy_at_target(problem, handle, least), least);
    EXPECT_EQ(info(handle, "solver"), "orvex");
    EXPECT_EQ(info(handle, "solver_size"), "64");
    EXPECT_EQ(info(handle, "solver_bits"), "32");
    EXPECT_EQ(info(handle, "arithmetic_bits"), "32");
    for (const char* key : {"gpu", "runtime", "search_cycles", "total_flips", "tts"})
        EXPECT_NE(info(handle, key), "") << key;
    EXPECT_EQ(info(handle, "energy"), "");
}

TEST(FlatRuns, FindEnergiesBeyond32Bits) {
    const PROBLEM problem{
        .n = 3, .linear = {{0, -2000000000}, {1, -2000000000}, {2, -2000000000}}, .quadratic = {}};
    const HANDLE handle = problem.handle();
    EXPECT_EQ(energy_at_target(problem, handle, -6000000000), -6000000000);
    EXPECT_EQ(info(handle, "arithmetic_bits"), "64");
    EXPECT_EQ(info(handle, "solver_bits"), "32");
}

TEST(FlatRuns, UseTheDefaultArithmeticUpToTheLimitAndTheWiderOneBeyond) {
    for (const std::int64_t sum : {2000000000, 2000000001}) {
        const PROBLEM problem{
            .n = 2, .linear = {{0, -1000000000}, {1, 1000000000 - sum}}, .quadratic = {}};
        const HANDLE handle = problem.handle();
        EXPECT_EQ(energy_at_target(problem, handle, -sum), -sum);
        EXPECT_EQ(info(handle, "arithmetic_bits"), sum == 2000000000 ? "32" : "64");
    }
}

TEST(FlatRuns, Of64BitCoefficientsTakeTheWidestEngine) {
    const PROBLEM problem{
        .n = 2, .linear = {{0, -3000000000000}}, .quadratic = {{0, 1, 4000000000000}}};
    const HANDLE handle = problem.handle();
    EXPECT_EQ(energy_at_target(problem, handle, -3000000000000), -3000000000000);
    EXPECT_EQ(info(handle, "solver_bits"), "64");
    EXPECT_EQ(info(handle, "arithmetic_bits"), "64");
}

TEST(FlatRuns, OfNoCoefficientsReturnSomeVectorOfItsVariables) {
    const HANDLE handle = create(5);
    EXPECT_LT(found(handle, "trial_limit", "20"), 32u);
}

TEST(FlatRuns, AreNotWorseThanTheirStart) {
    const PROBLEM problem = random_problem(200, 1000);
    const HANDLE handle = problem.handle();
    std::vector<std::uint64_t> best = words_found(handle, {"trial_limit", "1000"});
    const std::int64_t energy = problem.energy(best.data());
    best[3] |= ~std::uint64_t{0} << 8;  // nothing above the last variable counts
    EXPECT_LE(problem.energy(words_found(handle, HARDLY_ANY, best.data()).data()), energy);
}

TEST(FlatRuns, OfTwoHandlesTakeTurns) {
    const PROBLEM a = random_problem(12, 50), b = random_problem(13, 50);
    const std::int64_t least_a = a.energy(a.optimum()), least_b = b.energy(b.optimum());
    const HANDLE handle_a = a.handle();
    HANDLE handle_b = b.handle();
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(energy_at_target(a, handle_a, least_a), least_a);
        EXPECT_EQ(energy_at_target(b, handle_b, least_b), least_b);
    }
    handle_b.reset();
    EXPECT_EQ(energy_at_target(a, handle_a, least_a), least_a) << "loaded afresh";
}

/** Large pieces of memory that a short search of the handle takes. */
long taken_by_search(const HANDLE& handle) {
    const long before = orvex::platform::large_allocations();
    words_found(handle, {"trial_limit", "5"});
    return orvex::platform::large_allocations() - before;
}

TEST(FlatRuns, LoadTheirWeightsAgainWhenAnotherHandleIsDestroyed) {
    const PROBLEM problem = random_problem(100, 1000);
    const HANDLE handle = problem.handle();
    HANDLE other = random_problem(12, 50).handle();
    taken_by_search(handle);
    const long with_weights_in_place = taken_by_search(handle);
    EXPECT_EQ(taken_by_search(handle), with_weights_in_place);
    other.reset();
    EXPECT_GT(taken_by_search(handle), with_weights_in_place);
    EXPECT_EQ(taken_by_search(handle), with_weights_in_place);
}

TEST(FlatRuns, OfTheBandOf10240BitsCountAGivenBatchFactorOnIt) {
    const std::string sizes = "," + std::string(tarvik_orvex_kernel_sizes()) + ",";
    if (sizes.find(",10240,") == std::string::npos)
        GTEST_SKIP() << "this build has no band of 10240 bits";
    const HANDLE handle = create(8193);
    const auto cycles = [&](std::vector<const char*> settings) {
        settings.insert(settings.end(), {"trial_limit", "1", "islands_per_gpu", "1",
                                         "blocks_per_island", "1", nullptr});
        std::vector<std::uint64_t> solution((8193 + 63) / 64);
        tarvik_orvex_search(handle.get(), settings.data(), nullptr, solution.data());
        EXPECT_EQ(info(handle, "solver_size"), "10240");
        return info(handle, "search_cycles");
    };
    EXPECT_EQ(cycles({"batch_factor", "0.5"}), "5120 1638")
        << "the default steps: a fifth of the 8193 variables";
    EXPECT_EQ(cycles({"batch_factor", "0.001", "annealing_factor", "0.001"}), "100 20")
        << "the floors; 10 and 8 were asked for";
    EXPECT_EQ(cycles({}), "8193 1638");
}

TEST(FlatRuns, OfAHandleInTheMemoryOfAnotherAreItsOwn) {
    for (const std::int64_t value : {-1, -2, -3, -4}) {
        const PROBLEM problem{.n = 2, .linear = {{0, value}, {1, 1}}, .quadratic = {}};
        EXPECT_EQ(energy_at_target(problem, problem.handle(), value), value);
    }
}

TEST(FlatRunsEnd, WhenTheEngineRefusesASetting) {
    const HANDLE handle = create(5);
    EXPECT_REFUSAL(found(handle, "colour", "blue"), "Parameter key not found : \"colour\"");
    EXPECT_REFUSAL(found(handle, "verbose", "loud"), "wrong parameter [verbose].");
}

TEST(FlatRunsEnd, WhenMoreGpusAreWantedThanThereAre) {
    const HANDLE handle = create(5, {}, {}, 1000);
    EXPECT_EXIT(found(handle, "verbose", "0"), testing::ExitedWithCode(1),
                testing::StartsWith("Error: gpus(1000) is wrong"));
}

TEST(FlatRunsEnd, WhenEnergiesOverflowTheWidthThatWasAskedFor) {
    const HANDLE handle = create(2, {{0, -2000000000}, {1, -2000000000}});
    EXPECT_EXIT(found(handle, "arithmetic_bits", "32"), testing::ExitedWithCode(1),
                testing::HasSubstr("Arithmetic overflow detected."));
}

/** One event, as the function saw it. */
struct EVENT {
    int code;
    std::uint64_t bits;
    std::thread::id thread;
};

class FlatEventRuns : public testing::Test {
  protected:
    /** Searches without any limit, acting in each event as told. */
    std::uint64_t run(std::function<void(const EVENT&)> on_event) {
        action = std::move(on_event);
        const auto note = [](void* user, int code, const std::uint64_t* bits, double value) {
            auto& test = *static_cast<FlatEventRuns*>(user);
            EXPECT_EQ(value, 0.0);
            test.events.push_back({code, *bits, std::this_thread::get_id()});
            test.action(test.events.back());
        };
        events.clear();
        tarvik_orvex_set_callback(handle.get(), note, this);
        std::uint64_t solution = 0;
        EXPECT_EQ(tarvik_orvex_search(handle.get(), nullptr, nullptr, &solution), 0);
        return solution;
    }

    PROBLEM problem = random_problem(16, 1000);
    HANDLE handle = problem.handle();
    std::vector<EVENT> events;
    std::function<void(const EVENT&)> action;
};

TEST_F(FlatEventRuns, BeginWithInitAndShowEachNewBest) {
    const std::int64_t least = problem.energy(problem.optimum());
    const std::uint64_t solution = run([&](const EVENT& event) {
        if (event.code != 0 && problem.energy(event.bits) == least)
            tarvik_orvex_cb_terminate(handle.get());
    });
    EXPECT_EQ(problem.energy(solution), least);
    ASSERT_GE(events.size(), 2u);
    EXPECT_EQ(events[0].code, 0);
    EXPECT_EQ(events[0].bits, 0u);
    EXPECT_EQ(events[0].thread, std::this_thread::get_id());
    for (std::size_t k = 1; k < events.size(); ++k) {
        EXPECT_EQ(events[k].code, 1);
        EXPECT_NE(events[k].thread, std::this_thread::get_id());
    }
    for (std::size_t k = 2; k < events.size(); ++k)
        EXPECT_LT(problem.energy(events[k].bits), problem.energy(events[k - 1].bits));
    EXPECT_EQ(events.back().bits, solution);
}

TEST_F(FlatEventRuns, EndInInit) {
    run([&](const EVENT&) { tarvik_orvex_cb_terminate(handle.get()); });
    EXPECT_EQ(events.size(), 1u);
}

TEST_F(FlatEventRuns, RingATimerAfterItsDelay) {
    steady_clock::time_point begin, end;
    run([&](const EVENT& event) {
        if (event.code == 0) begin = steady_clock::now();
        if (event.code == 2) {
            end = steady_clock::now();
            tarvik_orvex_cb_terminate(handle.get());
        } else {
            tarvik_orvex_cb_timer(handle.get(), 0.05);
        }
    });
    EXPECT_GE(end - begin, std::chrono::milliseconds(50));
    EXPECT_EQ(events.back().code, 2);
}

TEST_F(FlatEventRuns, RingATimerOnceForEachRequest) {
    const auto rings = [this] {
        return std::count_if(events.begin(), events.end(),
                             [](const EVENT& event) { return event.code == 2; });
    };
    run([&](const EVENT&) {
        if (rings() < 3)
            tarvik_orvex_cb_timer(handle.get(), -1);
        else
            tarvik_orvex_cb_terminate(handle.get());
    });
    EXPECT_EQ(rings(), 3);
}

TEST_F(FlatEventRuns, SurviveTimersThatNeverRing) {
    run([&](const EVENT& event) {
        tarvik_orvex_cb_timer(handle.get(), event.code == 0 ? 1e300 : 1.0 / 0.0);
        if (event.code == 1) tarvik_orvex_cb_terminate(handle.get());
    });
    EXPECT_EQ(events.back().code, 1);
}

TEST(FlatHintRuns, AreNotWorseThanTheirHint) {
    const PROBLEM problem = random_problem(200, 1000);
    HANDLE handle = problem.handle();
    struct {
        tarvik_orvex_handle* handle;
        std::vector<std::uint64_t> words;
    } hint{handle.get(), words_found(handle, {"trial_limit", "1000"})};
    const auto give = [](void* user, int event, const std::uint64_t*, double) {
        const auto& given = *static_cast<decltype(hint)*>(user);
        if (event == 0) tarvik_orvex_cb_hint(given.handle, given.words.data());
    };
    tarvik_orvex_set_callback(handle.get(), give, &hint);
    EXPECT_LE(problem.energy(words_found(handle, HARDLY_ANY).data()),
              problem.energy(hint.words.data()));
}

TEST_F(FlatEventRuns, EndFromAnotherThreadAtTheNextEvent) {
    std::atomic<bool> begun = false;
    std::thread other([&] {
        while (!begun)
            std::this_thread::yield();
        tarvik_orvex_cb_terminate(handle.get());
    });
    run([&](const EVENT&) {
        begun = true;
        tarvik_orvex_cb_timer(handle.get(), 0.001);
    });
    other.join();
    EXPECT_GE(events.size(), 1u);
}

TEST_F(FlatEventRuns, AreNotEndedByTheEndOfTheOneBefore) {
    run([&](const EVENT&) { tarvik_orvex_cb_terminate(handle.get()); });
    run([&](const EVENT& event) {
        if (event.code == 1) tarvik_orvex_cb_terminate(handle.get());
    });
    EXPECT_GE(events.size(), 2u);
}

}  // namespace
