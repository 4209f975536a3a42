// Biq Mac's sparse format: "n m", then "i j q" from index 1, the upper triangle of a symmetric
// matrix. The objective is x'Qx: an entry off the diagonal counts twice.
#include "toolkit/io/formats/entries.hpp"

namespace orvex::toolkit {
namespace {

bool may_be(const Beginning& beginning) {
    return beginning.lists_entries() && beginning.all_have_words(1, 3, 3) &&
           !beginning.has_comment("ObjectiveOffset") && !beginning.lists_unit_edges();
}

void read(Lines& lines, const ReadOptions& options, Statement& statement) {
    lines.skip_comments("#");
    Convention& convention = statement.convention;
    convention.index_base = 1;
    convention.maximised = options.maximised.value_or(false);
    convention.factor = convention.maximised ? -2 : 2;
    convention.objective = "value";
    lines.expect_next("the numbers of variables and of entries");
    read_matrix_entries(lines, 1, convention.factor, statement);
    lines.expect_end("the last entry that the header promises");
}

void write(const Problem& problem, OutputFile& file) {
    expect_even(problem, "biqmac");
    file.write(line_of(problem.size, problem.nonzero));
    problem.weights.for_each([&](int i, int j, long weight) {
        file.write(line_of(i + 1, j + 1, i == j ? weight : weight / 2));
    });
}

}  // namespace

const Format BIQ_MAC = {.name = "biqmac",
                        .title = "Biq Mac sparse matrix",
                        .may_be = may_be,
                        .read = read,
                        .write = write,
                        .leaves_sense_open = true};

}  // namespace orvex::toolkit
