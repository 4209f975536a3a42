// The companion of the toolkit alone: its best energy over the processor time that it used.
//
//   companion MODEL [SECONDS [SEED [THREADS [TARGET]]]]
//
// Prints a line of comma-separated values for each new best: processor seconds, energy, attempted
// flips per second. Ends after a number of processor seconds of each thread, or at the target.
#include "toolkit/companion/companion.hpp"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <limits>
#include <string>

#include "toolkit/io/read.hpp"

using namespace orvex::toolkit;

namespace {

double processor_seconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

int measure(const std::string& file, double seconds, std::uint64_t seed, int threads, long target) {
    const Problem problem = read_problem(file);
    const double begin = processor_seconds();
    const SparseQubo& qubo = problem.weights.sparse();
    Groups groups = find_groups(qubo);
    std::printf("# %d variables, %zu couplings, %zu groups, ready after %.3f s\n", qubo.size(),
                qubo.couplings(), groups.members.size(), processor_seconds() - begin);
    Companion companion(qubo, {.threads = threads, .seed = seed, .groups = std::move(groups)});
    const double start = processor_seconds();
    companion.start();
    long best = std::numeric_limits<long>::max();
    double used = 0;
    while (used < seconds * threads && best > target) {
        const bool better = companion.wait_for_better(best, 0.02);
        used = processor_seconds() - start;
        if (!better) continue;
        best = static_cast<long>(companion.better_than(best)->energy);
        std::printf("%.3f,%ld,%.3g\n", used, best,
                    static_cast<double>(companion.attempted_flips()) / used);
        std::fflush(stdout);
    }
    companion.stop();
    std::printf("# %.3f,%ld,%.3g\n", used, best,
                static_cast<double>(companion.attempted_flips()) / used);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "companion MODEL [SECONDS [SEED [THREADS [TARGET]]]]\n");
        return 1;
    }
    const auto given = [&](int k, const char* otherwise) { return argc > k ? argv[k] : otherwise; };
    try {
        return measure(argv[1], std::atof(given(2, "10")),
                       std::strtoull(given(3, "1"), nullptr, 10), std::atoi(given(4, "1")),
                       std::atol(given(5, "-9223372036854775808")));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
