// A sequence of calls as data: each step is a name and four numbers, which the world reduces to
// what is there when the step comes. Invariant: every list of steps can be run, whatever is left
// out of it, which is what lets a failing sequence be shrunk, and every sequence is a text that
// replays.
#pragma once

#include <array>
#include <cstdint>
#include <istream>
#include <ostream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace orvex::model_test {

struct Step {
    std::string name;
    std::array<std::uint32_t, 4> numbers{};
};

using Sequence = std::vector<Step>;

/** What a sequence consists of, with how often each comes. */
struct StepKind {
    const char* name;
    int weight;
};

inline constexpr StepKind STEP_KINDS[] = {
    // of the object interface
    {"make_model", 8},
    {"fill_model", 8},
    {"set_weight", 10},
    {"set_attribute", 3},
    {"copy_model", 3},
    {"assign_model", 3},
    {"drop_model", 2},
    {"print_model", 3},
    {"write_and_read", 4},
    {"make_param", 4},
    {"set_param", 8},
    {"copy_param", 2},
    {"print_param", 1},
    {"set_callback", 3},
    {"prepare", 4},
    {"solve", 14},
    {"solve_from", 8},
    {"release", 3},
    {"set_bit", 4},
    {"copy_solution", 3},
    {"move_solution", 2},
    {"print_solution", 2},
    {"refused_object_call", 2},
    // of the flat interface
    {"create", 6},
    {"create_wrongly", 4},
    {"on_events", 4},
    {"search", 10},
    {"search_wrongly", 3},
    {"request_outside", 2},
    {"destroy", 3},
    {"refused_flat_call", 1},
};

inline Sequence random_sequence(std::uint64_t seed, int length) {
    std::mt19937_64 random(seed);
    std::vector<const char*> names;
    for (const StepKind& kind : STEP_KINDS)
        names.insert(names.end(), static_cast<std::size_t>(kind.weight), kind.name);
    Sequence steps;
    for (int k = 0; k < length; ++k) {
        Step step{.name = names[random() % names.size()]};
        for (auto& number : step.numbers)
            number = static_cast<std::uint32_t>(random());
        steps.push_back(step);
    }
    return steps;
}

inline void write(const Sequence& steps, std::ostream& out) {
    for (const Step& step : steps) {
        out << step.name;
        for (const std::uint32_t number : step.numbers)
            out << ' ' << number;
        out << '\n';
    }
}

/** Reads what write() wrote; lines that begin with "#" are skipped. */
inline Sequence read(std::istream& in) {
    Sequence steps;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream words(line);
        Step step;
        words >> step.name;
        for (auto& number : step.numbers)
            if (!(words >> number)) throw std::runtime_error("not a step: " + line);
        steps.push_back(step);
    }
    return steps;
}

}  // namespace orvex::model_test
