// The readers of all formats, under options of every kind. The first byte names the format, or
// leaves it open; the second chooses the options; the file follows. What is read can be told in
// words, and what is written of it is read as the same weights, or the same function where a format
// cannot say them.
#include <cstdio>
#include <fstream>
#include <new>
#include <random>

#include "fuzz.hpp"
#include "toolkit/io/formats/format.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::fuzz {
namespace {

using namespace orvex::toolkit;

constexpr int LARGEST = 40;  // of those that are written again

ReadOptions options_of(int byte) {
    ReadOptions options;
    if (byte & 1) options.maximised = (byte & 2) != 0;
    if (byte & 4) options.instance = (byte & 2) != 0 ? 2 : 1;
    if (byte & 8) options.penalty = (byte & 2) != 0 ? 100 : 0;
    if (byte & 16) options.scale = {.rule = Scale::Rule::EXACT};
    if (byte & 32) options.scale = {.rule = Scale::Rule::FACTOR, .factor = 1000};
    return options;
}

/** What lies between the energies of some solutions, which no offset changes. */
std::vector<Wide> differences(const Problem& problem) {
    std::mt19937 random(1);
    std::vector<Wide> list;
    const Sol zeros(problem.size);
    for (int k = 0; k < 8; ++k) {
        Sol solution(problem.size);
        for (int i = 0; i < problem.size; ++i)
            solution.set(i, random() % 2 != 0);
        const Wide objective = problem.convention.objective_at(problem.weights.energy(solution));
        const Wide start = problem.convention.objective_at(problem.weights.energy(zeros));
        list.push_back(problem.convention.maximised ? start - objective : objective - start);
    }
    return list;
}

/** Writes the problem in a format and reads that again. */
void expect_same(const Problem& problem, const Format& format) {
    const std::string path = "/dev/shm/orvex-fuzz-" + std::to_string(getpid());
    try {
        OutputFile output(path);
        format.write(problem, output);
        output.finish();
    } catch (const InputError&) {
        return;  // the format cannot say it
    }
    Problem again =
        read_problem(path, {.format = format.name, .scale = {.rule = Scale::Rule::EXACT}});
    std::remove(path.c_str());
    if (again.size != problem.size)
        return;  // Max-Cut has a vertex more where there are linear terms
    for (int i = 0; i < problem.size; ++i)
        for (int j = i; j < problem.size; ++j)
            require(again.weights.get(i, j) == problem.weights.get(i, j),
                    std::string("a weight survives the format ") + format.name);
}

}  // namespace

void formats(Input input) {
    Bytes bytes(input);
    const auto all = toolkit::formats();
    const std::size_t chosen =
        static_cast<std::size_t>(bytes.below(static_cast<int>(all.size()) + 1));
    ReadOptions options = options_of(bytes.take<std::uint8_t>());
    if (chosen < all.size()) options.format = all[chosen]->name;
    const MemoryFile file(bytes.rest());
    try {
        const Problem problem = read_problem(file.path(), options);
        require(problem.size >= 1, "a problem has variables");
        require(!problem.convention.text().empty(), "its convention can be told");
        problem.convention.equation();
        if (problem.size > LARGEST) return;
        for (const Wide difference : differences(problem))
            problem.convention.own_text(difference);
        for (const Format* format : all)
            if (format->write != nullptr) expect_same(problem, *format);
    } catch (const InputError&) {
    } catch (const std::bad_alloc&) {
    }
}

}  // namespace orvex::fuzz
