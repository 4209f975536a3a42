// What only shows in the long run: memory, threads and descriptors that are not given back, time
// limits that are not held, requests to end that come late. A program of hours, by hand or at
// night:
//
//     orvex_endurance [--cycles N] [--runs N] [--limits N] [--aborts N] [--size N]
//
// Each part says what it measured and ends the program with status 1 if that is too much. A number
// of 0 leaves a part out; the defaults are those of a night.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include <orvex/orvex.hpp>
#include <orvex/plan.hpp>
#include <orvex/tarvik_orvex.h>

#include "rescored.hpp"

namespace {

using orvex::Model;
using orvex::Param;
using orvex::Sol;
using orvex::Solver;
using Clock = std::chrono::steady_clock;

constexpr long MOST_GROWTH = 1024;     ///< KiB, behind the warm-up
constexpr double MOST_LATENESS = 0.1;  ///< seconds behind a time limit, beside one instance
constexpr double MOST_TO_ABORT = 0.2;  ///< seconds from "abort" to the end

int faults = 0;

void expect(bool holds, const std::string& what) {
    if (holds) return;
    ++faults;
    std::printf("  TOO MUCH: %s\n", what.c_str());
}

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

struct Resources {
    long memory = 0;     ///< KiB in memory
    long allocated = 0;  ///< KiB of it that somebody has not given back
    long threads = 0, descriptors = 0;

    static Resources now() {
        malloc_trim(0);  // what the allocator keeps for later is no loss
        Resources found;
        const struct mallinfo2 heap = mallinfo2();
        found.allocated = static_cast<long>((heap.uordblks + heap.hblkhd) / 1024);
        std::ifstream status("/proc/self/status");
        for (std::string key; status >> key; status.ignore(1 << 20, '\n')) {
            if (key == "VmRSS:") status >> found.memory;
            if (key == "Threads:") status >> found.threads;
        }
        for ([[maybe_unused]] const auto& entry :
             std::filesystem::directory_iterator("/proc/self/fd"))
            ++found.descriptors;
        return found;
    }
};

/** Compares what a part holds at its end with what it held behind its warm-up. */
void expect_flat(const char* part, long count, const Resources& before, double seconds) {
    const Resources after = Resources::now();
    std::printf(
        "%s: %ld in %.0f s; memory %+ld KiB, of which allocated %+ld KiB, "
        "threads %+ld, descriptors %+ld\n",
        part, count, seconds, after.memory - before.memory, after.allocated - before.allocated,
        after.threads - before.threads, after.descriptors - before.descriptors);
    std::fflush(stdout);
    expect(after.memory - before.memory <= MOST_GROWTH, "memory grows");
    expect(after.threads == before.threads, "threads are left");
    expect(after.descriptors == before.descriptors, "descriptors are left");
}

Model random_model(int size, std::uint32_t seed, long largest, int share) {
    std::mt19937 random(seed);
    Model model(size, -largest, largest);
    for (int i = 0; i < size; ++i)
        for (int j = i; j < size; ++j)
            if (static_cast<int>(random() % 1000) < share)
                model.set(i, j, static_cast<long>(random() % (2 * largest + 1)) - largest);
    return model;
}

/** Few neighbours for each variable, without a look at all pairs. */
Model sparse_model(int size, std::uint32_t seed, int width) {
    std::mt19937 random(seed);
    Model model(size, width);
    for (int k = 0; k < 4 * size; ++k)
        model.set(static_cast<int>(random() % static_cast<unsigned>(size)),
                  static_cast<int>(random() % static_cast<unsigned>(size)),
                  static_cast<long>(random() % 21) - 10);
    return model;
}

void rescore(const Model& model, const Sol& solution) {
    const int n = model.impl().size;
    long energy = 0;
    std::vector<int> ones;
    for (int i = 0; i < n; ++i)
        if (solution.get(i)) ones.push_back(i);
    for (std::size_t a = 0; a < ones.size(); ++a)
        for (std::size_t b = a; b < ones.size(); ++b)
            energy += model.get(ones[a], ones[b]);
    const bool right = solution.get("energy") == std::to_string(energy);
    orvex::test::count_rescored(right);
    expect(right, "an energy is not that of its bits");
}

// ---- the parts -----------------------------------------------------------------------------

void flat_cycle(std::uint32_t seed) {
    std::mt19937 random(seed);
    const std::uint32_t n = 1 + seed % 100;
    std::vector<std::uint32_t> pairs;
    std::vector<std::int64_t> values;
    for (std::uint32_t k = 0; k < 3 * n; ++k) {
        pairs.push_back(static_cast<std::uint32_t>(random() % n));
        pairs.push_back(static_cast<std::uint32_t>(random() % n));
        values.push_back(static_cast<std::int64_t>(random() % 201) - 100);
    }
    tarvik_orvex_handle* const handle =
        tarvik_orvex_create(n, 0, nullptr, nullptr, values.size(), pairs.data(), values.data(), 0);
    std::uint64_t solution[2] = {};
    const char* const settings[] = {"trial_limit", "1", nullptr};
    expect(handle != nullptr && tarvik_orvex_search(handle, settings, nullptr, solution) == 0,
           "a search is refused");
    tarvik_orvex_destroy(handle);
}

void cycles(long count) {
    constexpr long WARM_UP = 1000;
    for (long k = 0; k < WARM_UP; ++k)
        flat_cycle(static_cast<std::uint32_t>(k));
    const Resources before = Resources::now();
    const auto start = Clock::now();
    for (long k = 0; k < count; ++k)
        flat_cycle(static_cast<std::uint32_t>(k));
    expect_flat("create, search, destroy", count, before, seconds_since(start));
}

std::vector<int> sizes_of_bands() {
    std::istringstream list(Solver(false).get("sizes"));
    std::vector<int> sizes;
    for (std::string size; std::getline(list, size, ',');)
        sizes.push_back(std::stoi(size));
    return sizes;
}

/** Runs in turn on every band that this machine has the memory for, in one process. */
void runs(long count, int largest) {
    struct Kind {
        int size, matrix_bits, arithmetic_bits;
    };
    std::vector<Kind> kinds;
    const std::uint64_t memory = orvex::devices().front().memory;
    for (const int size : sizes_of_bands())
        for (const auto& [matrix, arithmetic] : {std::pair(32, 32), {32, 64}, {64, 64}}) {
            const auto plan = orvex::plan_run(
                {.size = size, .matrix_bits = matrix, .arithmetic_bits = arithmetic});
            if (size > largest || !plan || plan->size != size) continue;
            if (plan->host_bytes() < memory / 4) kinds.push_back({size, matrix, arithmetic});
        }
    if (kinds.empty()) return;
    Solver solver(false);
    const auto run = [&](long k) {
        const Kind& kind = kinds[static_cast<std::size_t>(k) % kinds.size()];
        const Model model =
            sparse_model(kind.size, static_cast<std::uint32_t>(k), kind.matrix_bits);
        Param param;
        param.set("trial_limit", "2");
        param.set("time_limit", "20");
        param.set("search_cycles", "100 20");
        param.set("arithmetic_bits", std::to_string(kind.arithmetic_bits));
        rescore(model, solver(model, param));
        solver.release();
    };
    for (std::size_t k = 0; k < kinds.size(); ++k)
        run(static_cast<long>(k));
    const Resources before = Resources::now();
    const auto start = Clock::now();
    for (long k = 0; k < count; ++k)
        run(k);
    std::printf("%zu bands up to %d variables\n", kinds.size(), kinds.back().size);
    expect_flat("runs over the bands", count, before, seconds_since(start));
}

/** Seconds that a processor works on an instance, by the run's own counts. */
double instance_seconds(const Sol& solution) {
    const double flips = std::stod(solution.get("total_flips"));
    const double flips_each = std::stod(solution.get("search_cycles"));
    const int processors = orvex::devices().front().multiprocessors;
    return flips == 0 ? 0 : std::stod(solution.get("runtime")) * processors * flips_each / flips;
}

void limits(long count) {
    double latest = 0;
    std::vector<double> late;
    Solver solver(false);
    const int largest = std::min(2000, sizes_of_bands().back());
    for (long k = 0; k < count; ++k) {
        const int size = 1 + static_cast<int>(k * 37 % largest);
        const Model model = random_model(size, static_cast<std::uint32_t>(k), 1000, 500);
        const double limit = 1;
        Param param;
        param.set("time_limit", "1");
        const Sol solution = solver(model, param);
        rescore(model, solution);
        late.push_back(std::stod(solution.get("runtime")) - limit - instance_seconds(solution));
        latest = std::max(latest, late.back());
        solver.release();
    }
    if (late.empty()) return;
    std::sort(late.begin(), late.end());
    std::printf(
        "time limits: %ld runs up to %d variables; late by one instance and %.3f s at the median, "
        "%.3f s in 99 "
        "of 100, %.3f s at most\n",
        count, largest, late[late.size() / 2], late[late.size() * 99 / 100], latest);
    expect(latest <= MOST_LATENESS, "a time limit is passed by more than a tenth of a second");
}

/** Asks for the end at its third event and notes when. */
class Abort : public orvex::Callback {
  public:
    void callback(const std::string& event) override {
        if (event == "init") set("new");
        set("alarm", "0.05");
        if (++events_ < 3) return;
        set("abort");
        asked = Clock::now();
    }
    Clock::time_point asked;

  private:
    int events_ = 0;
};

/** Every fourth run has the largest size, the others any. */
void aborts(long count, int size) {
    const int largest = std::min(size, sizes_of_bands().back());
    Solver solver(false);
    std::vector<double> times;
    for (long k = 0; k < count; ++k) {
        const int n = k % 4 == 0 ? largest : 2 + static_cast<int>(k * 7919 % (largest - 1));
        const Model model = n > 2000 ? sparse_model(n, static_cast<std::uint32_t>(k), 32)
                                     : random_model(n, static_cast<std::uint32_t>(k), 1000, 500);
        Abort abort;
        Param param;
        param.set(abort);
        // Instances of the length that the toolkit chooses for this size.
        param.set("search_cycles", std::to_string(std::max(n, 500000000 / n)) + " " +
                                       std::to_string(std::max(n / 30, 1)));
        const Sol solution = solver(model, param);
        times.push_back(seconds_since(abort.asked));
        rescore(model, solution);
        solver.release();
    }
    if (count == 0) return;
    std::sort(times.begin(), times.end());
    std::printf(
        "\"abort\": %ld runs up to %d variables end within %.3f s at the median, %.3f s in 99 of "
        "100, %.3f s at most\n",
        count, largest, times[times.size() / 2], times[times.size() * 99 / 100], times.back());
    expect(times.back() <= MOST_TO_ABORT, "an end comes late");
}

}  // namespace

int main(int count, char** words) {
    mallopt(M_ARENA_MAX, 1);  // one heap, whose growth is not a matter of which thread asks
    std::map<std::string, long> numbers = {{"--cycles", 100000},
                                           {"--runs", 10000},
                                           {"--limits", 1000},
                                           {"--aborts", 200},
                                           {"--size", 10000}};
    for (int i = 1; i + 1 < count; i += 2) {
        if (!numbers.contains(words[i])) {
            std::fprintf(stderr, "there is no option %s\n", words[i]);
            return 2;
        }
        numbers[words[i]] = std::atol(words[i + 1]);
    }
    if (numbers["--cycles"] > 0) cycles(numbers["--cycles"]);
    if (numbers["--runs"] > 0) runs(numbers["--runs"], static_cast<int>(numbers["--size"]));
    limits(numbers["--limits"]);
    aborts(numbers["--aborts"], static_cast<int>(numbers["--size"]));
    std::printf("%s\n", faults == 0 ? "all within bounds" : "not within bounds");
    return faults == 0 ? 0 : 1;
}
