// The system's own format: "n m smallest largest", then "i j weight" from index 0. It is read by
// ModelFile, which puts its entries straight into a model.
#include <algorithm>
#include <cstdint>

#include "toolkit/io/formats/entries.hpp"

namespace orvex::toolkit {
namespace {

/** Lines mean nothing, so entries may follow in the first one, or a small file be known by its
 * count. */
bool may_be(const Beginning& beginning) {
    if (beginning.starts_with_numbers(4)) return true;
    if (!beginning.whole) return beginning.has_words(0, 5, SIZE_MAX);
    long words = 0, second = -1;
    for (const auto& line : beginning.lines)
        for (const std::string_view word : line)
            if (++words == 2) second = number_of(word);
    return words >= 4 && (words - 4) % 3 == 0 && second == (words - 4) / 3;
}

void write(const Problem& problem, OutputFile& file) {
    long smallest = 0, largest = 0;
    bool first = true;
    problem.weights.for_each([&](int, int, long weight) {
        smallest = first ? weight : std::min(smallest, weight);
        largest = first ? weight : std::max(largest, weight);
        first = false;
    });
    file.write(line_of(problem.size, problem.nonzero, smallest, largest));
    problem.weights.for_each([&](int i, int j, long weight) { file.write(line_of(i, j, weight)); });
}

}  // namespace

const Format OWN = {"orvex", "ORVEX model", may_be, nullptr, write};

}  // namespace orvex::toolkit
