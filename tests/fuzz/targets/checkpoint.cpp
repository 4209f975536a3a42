// Checkpoints. The first byte says of which problem, the second what the rest is: the file itself,
// or solutions that are written, read, damaged by one byte and kept up. Whatever is taken for a
// checkpoint has solutions of the problem with the energies of their bits, and is written as it was
// read.
#include "toolkit/run/checkpoint.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "fuzz.hpp"
#include "toolkit/model/build.hpp"
#include "toolkit/model/errors.hpp"
#include "toolkit/run/checkpoint_writer.hpp"

namespace orvex::fuzz {
namespace {

using namespace orvex::toolkit;

constexpr int SIZES[] = {1, 5, 64, 70};

/** The weights of all problems. */
std::int64_t weight(int i, int j) {
    return (i + j) % 3 == 0 ? (i * 7 + j * 13) % 19 - 9 : 0;
}

const Problem& problem_of_size(int size) {
    static std::map<int, Problem> problems;
    if (const auto known = problems.find(size); known != problems.end()) return known->second;
    std::vector<std::uint32_t> pairs;
    std::vector<std::int64_t> values;
    for (int i = 0; i < size; ++i)
        for (int j = i; j < size; ++j) {
            pairs.insert(pairs.end(),
                         {static_cast<std::uint32_t>(i), static_cast<std::uint32_t>(j)});
            values.push_back(weight(i, j));
        }
    return problems.emplace(size, problem_of_terms(size, pairs, values)).first->second;
}

long energy_of(const std::vector<std::uint64_t>& words, int size) {
    const auto bit = [&](int i) {
        return (words[static_cast<std::size_t>(i) / 64] >> (i % 64) & 1) != 0;
    };
    long energy = 0;
    for (int i = 0; i < size; ++i)
        for (int j = i; bit(i) && j < size; ++j)
            if (bit(j)) energy += weight(i, j);
    return energy;
}

void expect_solutions(const std::vector<Kept>& solutions, int size) {
    for (std::size_t k = 0; k < solutions.size(); ++k) {
        const Kept& kept = solutions[k];
        require(kept.words.size() == static_cast<std::size_t>((size + 63) / 64), "all bits");
        require(size % 64 == 0 || kept.words.back() >> (size % 64) == 0, "no bit above the last");
        require(kept.energy == energy_of(kept.words, size), "an energy is that of its bits");
        require(k == 0 || solutions[k - 1].energy <= kept.energy, "the best stands first");
    }
}

bool same(const std::vector<Kept>& these, const std::vector<Kept>& those) {
    return std::equal(
        these.begin(), these.end(), those.begin(), those.end(),
        [](const Kept& a, const Kept& b) { return a.energy == b.energy && a.words == b.words; });
}

/** A name that this process has alone; nothing is there yet. In memory where that can be: a disk
 * would be waited for. */
std::string new_file(const char* name) {
    const std::filesystem::path memory("/dev/shm");
    const auto folder =
        access(memory.c_str(), W_OK | X_OK) == 0 ? memory : std::filesystem::temp_directory_path();
    const auto path = folder / ("orvex-fuzz-" + std::to_string(getpid()) + "-" + name);
    std::filesystem::remove(path);
    return path;
}

std::string contents(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void read_text(const std::string& text, int size) {
    const MemoryFile file(text);
    try {
        const std::vector<Kept> solutions = read_checkpoint(file.path(), problem_of_size(size));
        expect_solutions(solutions, size);
        const std::string again = new_file("again");
        write_checkpoint(again, problem_of_size(size), solutions);
        require(same(read_checkpoint(again, problem_of_size(size)), solutions),
                "it is written as it was read");
        std::filesystem::remove(again);
    } catch (const InputError&) {
    }
}

Kept random_solution(Bytes& bytes, int size) {
    std::vector<std::uint64_t> words(static_cast<std::size_t>((size + 63) / 64));
    for (auto& word : words)
        word = bytes.take<std::uint64_t>();
    if (size % 64 != 0) words.back() &= (std::uint64_t{1} << (size % 64)) - 1;
    return {energy_of(words, size), words};
}

void write_and_damage(Bytes& bytes, int size) {
    const Problem& problem = problem_of_size(size);
    std::vector<Kept> solutions;
    for (int count = bytes.below(8); count > 0; --count)
        solutions.push_back(random_solution(bytes, size));
    std::stable_sort(solutions.begin(), solutions.end(),
                     [](const Kept& a, const Kept& b) { return a.energy < b.energy; });
    const std::string file = new_file("kept");
    write_checkpoint(file, problem, solutions);
    require(same(read_checkpoint(file, problem), solutions), "what is written is read");

    std::string text = contents(file);
    const std::size_t at = bytes.take<std::uint16_t>() % text.size();
    if (bytes.below(4) == 0)
        text.resize(at);
    else
        text[at] = bytes.take<char>();
    read_text(text, size);

    const Kept found = random_solution(bytes, size);
    {
        CheckpointWriter writer(file, problem);
        writer.note(found.energy, solution_of(found, size));
        require(writer.finish().empty(), "a checkpoint is kept up");
    }
    const std::vector<Kept> kept = read_checkpoint(file, problem);
    expect_solutions(kept, size);
    const long best =
        solutions.empty() ? found.energy : std::min(found.energy, solutions[0].energy);
    require(!kept.empty() && kept[0].energy == best, "the best is kept");
    require(kept.size() >= solutions.size(), "nothing that was there is lost");
    std::filesystem::remove(file);
}

}  // namespace

void checkpoint(Input input) {
    Bytes bytes(input);
    const int size = SIZES[bytes.below(static_cast<int>(std::size(SIZES)))];
    if (bytes.below(2) == 0)
        read_text(bytes.rest(), size);
    else
        write_and_damage(bytes, size);
}

}  // namespace orvex::fuzz
