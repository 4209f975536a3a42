// The system's own format: "n m smallest largest", then "i j weight" from index 0. Whole numbers
// are read by ModelFile, which puts its entries straight into a model; the reader here takes
// decimals.
#include <algorithm>
#include <cstdint>

#include "toolkit/io/formats/entries.hpp"
#include "toolkit/io/pair_set.hpp"

namespace orvex::toolkit {
namespace {

/** Sizes, and a range of decimals. */
bool has_real_header(const Beginning& beginning) {
    if (!beginning.has_words(0, 4)) return false;
    const auto& words = beginning.lines[0];
    double ignored = 0;
    return number_of(words[0]) > 0 && number_of(words[1]) >= 0 && read_real(words[2], ignored) &&
           read_real(words[3], ignored);
}

/** Lines mean nothing, so entries may follow in the first one, or a small file be known by its
 * count. */
bool may_be(const Beginning& beginning) {
    if (beginning.starts_with_numbers(4) || has_real_header(beginning)) return true;
    if (!beginning.whole) return beginning.has_words(0, 5, SIZE_MAX);
    long words = 0, second = -1;
    for (const auto& line : beginning.lines)
        for (const std::string_view word : line)
            if (++words == 2) second = number_of(word);
    return words >= 4 && (words - 4) % 3 == 0 && second == (words - 4) / 3;
}

double bound_of_range(Lines& lines, const std::string& what) {
    const std::string_view word = lines.take(what);
    double value = 0;
    if (!read_real(word, value))
        lines.fail(what + " is " + Lines::quoted(word) + ", which is not a number");
    return value;
}

void read(Lines& lines, const ReadOptions&, Statement& statement) {
    const std::string_view first = lines.take("the number of variables");
    const int size = lines.size(first, "the number of variables", MAX_VARIABLES);
    const long count = lines.count(lines.take("the number of entries"), "the number of entries");
    const double smallest = bound_of_range(lines, "the smallest weight");
    const double largest = bound_of_range(lines, "the largest weight");
    // The library's writer leaves a starting value there for one variable, as ModelFile tells.
    if (smallest > largest && size > 1)
        lines.fail("the header's smallest weight is above its largest");
    statement.resize(size);
    statement.entries = count;
    statement.last_counts = true;
    PairSet pairs;
    long repeated = 0, beyond = 0;
    std::string first_repeated, first_beyond;
    const auto index = [&](const char* what) {
        const long value = lines.whole(lines.take(what), what);
        if (value < 0 || value >= size)
            lines.fail(std::string(what) + " is " + std::to_string(value) + ", not from 0 to " +
                       std::to_string(size - 1));
        return static_cast<int>(value);
    };
    for (long entry = 0; entry < count; ++entry) {
        const int i = index("the first index");
        const int j = index("the second index");
        const std::string_view word = lines.take("the weight");
        statement.add(i, j, statement.coefficient(word, "the weight"));
        double value = 0;
        const bool known = read_real(word, value);
        if (known && (value < smallest || value > largest) && beyond++ == 0)
            first_beyond = lines.place() + ": the weight " + std::string(word);
        if (!pairs.insert(i, j) && repeated++ == 0) first_repeated = lines.place();
    }
    lines.expect_end("the entries that the header promises");
    if (repeated > 0)
        statement.warnings.push_back(first_repeated + ": a pair is repeated (" +
                                     std::to_string(repeated) +
                                     " in all); the last weight of a pair counts");
    if (beyond > 0)
        statement.warnings.push_back(first_beyond + " is outside the header's range (" +
                                     std::to_string(beyond) + " in all)");
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

const Format OWN = {"orvex", "ORVEX model", may_be, read, write};

}  // namespace orvex::toolkit
