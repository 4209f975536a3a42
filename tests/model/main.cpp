// Runs random sequences of calls, each in a process of its own, so that a crash or a hang is found
// like anything else. A sequence that fails is shrunk and saved as a trace.
//
//     orvex_model_tests [--sequences N] [--seed S] [--steps K] [--save FOLDER] [--plant FAULT]
//     orvex_model_tests --replay TRACE [--plant FAULT]
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <poll.h>
#include <string>

#include "ending.hpp"
#include "rescore.hpp"
#include "steps.hpp"
#include "world.hpp"

namespace {

using namespace orvex::model_test;

constexpr int TIME_LIMIT = 60;  ///< seconds for one sequence
constexpr int SHRINKING_RUNS = 300;
constexpr int FOUND_SOMETHING = 3;  ///< status of a child

struct Options {
    long sequences = 2000;
    std::uint64_t seed =
        static_cast<std::uint64_t>(std::chrono::system_clock::now().time_since_epoch().count());
    int steps = 40;
    std::string save = ".";
    std::string replay;
};

/** What went wrong; empty if nothing did. */
std::string failure_of(const Sequence& steps) {
    std::fflush(nullptr);
    const HowItEnded how = in_child([&] {
        alarm(TIME_LIMIT);
        std::size_t k = 0;
        try {
            World world;
            for (; k < steps.size(); ++k)
                world.run(steps[k]);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "step %zu, %s: %s\n", k + 1, steps[k].name.c_str(), error.what());
            _exit(FOUND_SOMETHING);
        }
        orvex::test::rescored().append();
        std::exit(0);
    });
    if (how.status == 0) return "";
    return (how.status == -1 ? "a signal (crash, or more than a minute)"
                             : "status " + std::to_string(how.status)) +
           ": " + how.text;
}

/** Leaves out whatever can be left out while it still fails. */
Sequence shrunk(Sequence steps) {
    int runs = 0;
    for (std::size_t piece = steps.size() / 2; piece >= 1; piece /= 2) {
        bool any = true;
        while (any && runs < SHRINKING_RUNS) {
            any = false;
            for (std::size_t at = 0; at < steps.size() && runs < SHRINKING_RUNS;) {
                Sequence fewer = steps;
                const auto from = fewer.begin() + static_cast<std::ptrdiff_t>(at);
                const std::size_t count = std::min(piece, steps.size() - at);
                fewer.erase(from, from + static_cast<std::ptrdiff_t>(count));
                ++runs;
                if (!fewer.empty() && !failure_of(fewer).empty()) {
                    steps = fewer;
                    any = true;
                } else {
                    at += piece;
                }
            }
        }
    }
    return steps;
}

void report(const Sequence& steps, const std::string& failure, std::uint64_t seed,
            const Options& options) {
    const Sequence least = shrunk(steps);
    const std::string again = failure_of(least);
    const std::string file = options.save + "/model-" + std::to_string(seed) + ".trace";
    std::ofstream trace(file);
    std::string reason = (again.empty() ? failure : again).substr(0, 300);
    std::replace(reason.begin(), reason.end(), '\n', ' ');
    trace << "# " << reason << "\n";
    write(least, trace);
    std::cout << "The sequence of seed " << seed << " fails: " << failure << "\nShrunk to "
              << least.size() << " of " << steps.size() << " steps (" << file << "):\n";
    write(least, std::cout);
}

int replay(const Options& options) {
    std::ifstream trace(options.replay);
    const Sequence steps = read(trace);
    if (steps.empty()) {
        std::cout << options.replay << " holds no steps\n";
        return 2;
    }
    const std::string failure = failure_of(steps);
    std::cout << (failure.empty() ? "nothing is wrong\n" : failure);
    return failure.empty() ? 0 : 1;
}

Options parsed(int count, char** words) {
    Options options;
    for (int i = 1; i + 1 < count; i += 2) {
        const std::string name = words[i], value = words[i + 1];
        if (name == "--sequences")
            options.sequences = std::stol(value);
        else if (name == "--seed")
            options.seed = std::stoull(value);
        else if (name == "--steps")
            options.steps = std::stoi(value);
        else if (name == "--save")
            options.save = value;
        else if (name == "--replay")
            options.replay = value;
        else if (name == "--plant")
            planted() = value;
        else
            throw std::runtime_error("there is no option " + name);
    }
    return options;
}

}  // namespace

int main(int count, char** words) {
    const Options options = parsed(count, words);
    if (!options.replay.empty()) return replay(options);
    std::cout << "seeds " << options.seed << " and on, " << options.steps << " steps each\n";
    for (long k = 0; k < options.sequences; ++k) {
        const std::uint64_t seed = options.seed + static_cast<std::uint64_t>(k);
        const Sequence steps = random_sequence(seed, options.steps);
        const std::string failure = failure_of(steps);
        if (failure.empty()) continue;
        report(steps, failure, seed, options);
        return 1;
    }
    std::cout << options.sequences << " sequences, nothing is wrong\n";
    return 0;
}
