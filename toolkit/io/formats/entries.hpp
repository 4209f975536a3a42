// What several formats share: lists of entries "i j value", read into a statement, and the entries
// of a model in order, to write them.
#pragma once

#include "toolkit/io/formats/readers.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {

/** Reads a header "n m" and m entries of a matrix's upper triangle, each pair at most once. */
inline void read_matrix_entries(Lines& lines, int index_base, int factor, Statement& statement,
                                bool kept = true) {
    lines.expect_words(2, "the numbers of variables and of entries");
    const int size = lines.size(lines.word(0), "the number of variables", MAX_VARIABLES);
    const long count = lines.count(lines.word(1), "the number of entries");
    if (kept) {
        statement.resize(size);
        statement.entries = count;
    }
    for (long entry = 0; entry < count; ++entry) {
        lines.expect_next("entry " + std::to_string(entry + 1) + " of the " +
                          std::to_string(count) + " that the header promises");
        lines.expect_words(3, "two indices and a value");
        const int i = lines.index(0, "the first index", index_base, size);
        const int j = lines.index(1, "the second index", index_base, size);
        const Wide weight =
            statement.coefficient(2, "the value", i == j ? (factor < 0 ? -1 : 1) : factor);
        if (!kept) continue;
        statement.expect_new(i, j, index_base);
        statement.add(i, j, weight);
    }
}

/** A line of numbers. */
template <class... NUMBERS>
std::string line_of(long first, NUMBERS... others) {
    std::string line = std::to_string(first);
    ((line += ' ', line += std::to_string(others)), ...);
    return line + '\n';
}

/** Refuses a model with an odd weight off the diagonal: an entry would be half of it. */
inline void expect_even(const Problem& problem, const char* format) {
    problem.weights.for_each([&](int i, int j, long weight) {
        if (i != j && weight % 2 != 0)
            throw InputError(problem.file + ": the weight " + std::to_string(weight) +
                             " of the variables " + std::to_string(i) + " and " +
                             std::to_string(j) + " (counted from 0) is odd; the format " + format +
                             " counts entries off the diagonal twice and holds whole numbers only");
    });
}

}  // namespace orvex::toolkit
