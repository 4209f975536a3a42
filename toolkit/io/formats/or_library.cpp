// OR-Library's bqp files: the number of instances, then each as "n m" and m entries "i j q" from
// index 1, the upper triangle of a symmetric matrix. The objective x'Qx is maximised, and an entry
// off the diagonal counts twice.
#include <limits>

#include "toolkit/io/formats/entries.hpp"

namespace orvex::toolkit {
namespace {

bool may_be(const Beginning& beginning) {
    return beginning.starts_with_numbers(1) && beginning.has_words(1, 2) &&
           (beginning.has_words(2, 3) || beginning.lines.size() == 2);
}

void read(Lines& lines, const ReadOptions& options, Statement& statement) {
    lines.expect_next("the number of instances");
    lines.expect_words(1, "the number of instances");
    const long count = lines.count(lines.word(0), "the number of instances");
    if (count < 1) lines.fail("there is no instance");
    if (!options.instance && count > 1)
        lines.fail("there are " + std::to_string(count) +
                   " instances; which one is meant must be told, from 1 on (--instance, in Python "
                   "instance=)");
    const long chosen = options.instance.value_or(1);
    if (chosen < 1 || chosen > count)
        lines.fail("there is no instance " + std::to_string(chosen) + ": they are from 1 to " +
                   std::to_string(count));
    statement.convention.index_base = 1;
    statement.convention.factor = -2;
    statement.convention.maximised = true;
    statement.convention.objective = "value";
    statement.convention.note =
        "instance " + std::to_string(chosen) + " of " + std::to_string(count);
    for (long instance = 1; instance <= count; ++instance) {
        lines.expect_next("instance " + std::to_string(instance) + " of " + std::to_string(count));
        read_matrix_entries(lines, 1, -2, statement, instance == chosen);
    }
    lines.expect_end("the last instance");
}

void write(const Problem& problem, OutputFile& file) {
    expect_even(problem, "orlib");
    if (problem.smallest_weight == std::numeric_limits<long>::min())
        throw InputError(problem.file + ": the negative of its weight " +
                         std::to_string(problem.smallest_weight) + " does not fit into 64 bits");
    file.write("1\n" + line_of(problem.size, problem.nonzero));
    problem.weights.for_each([&](int i, int j, long weight) {
        file.write(line_of(i + 1, j + 1, i == j ? -weight : -(weight / 2)));
    });
}

}  // namespace

const Format OR_LIBRARY = {.name = "orlib",
                           .title = "OR-Library bqp",
                           .may_be = may_be,
                           .read = read,
                           .write = write,
                           .has_instances = true};

}  // namespace orvex::toolkit
