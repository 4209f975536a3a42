// QOBLIB's .qs: comments "#", one of which is "# ObjectiveOffset c", then "n m" and m entries "i j
// q" from index 1, the upper triangle of a symmetric matrix, each pair once. The objective c + x'Qx
// is minimised: an entry off the diagonal counts twice.
#include "toolkit/io/formats/entries.hpp"
#include "toolkit/io/formats/words.hpp"

namespace orvex::toolkit {
namespace {

constexpr const char* OFFSET = "ObjectiveOffset";

bool may_be(const Beginning& beginning) {
    return beginning.has_comment(OFFSET) && beginning.lists_entries();
}

void read(Lines& lines, const ReadOptions&, Statement& statement) {
    Convention& convention = statement.convention;
    convention.index_base = 1;
    convention.factor = 2;
    bool known = false;
    lines.skip_comments("#");
    lines.on_comment([&](std::string_view comment) {
        const std::size_t at = comment.find(OFFSET);
        if (at == std::string_view::npos) return;
        std::vector<std::string_view> words;
        split_words(comment.substr(at), words);
        if (words.size() != 2) lines.fail("\"ObjectiveOffset\" must be followed by one number");
        if (known) lines.fail("the offset is given twice");
        convention.offset = statement.coefficient(words[1], "the offset");
        known = true;
    });
    lines.expect_next("the numbers of variables and of entries");
    read_matrix_entries(lines, 1, 2, statement);
    lines.expect_end("the last entry that the header promises");
    if (!known)
        statement.warnings.push_back(lines.file() +
                                     ": no comment \"# ObjectiveOffset\" gives an offset; it is "
                                     "taken for 0");
}

void write(const Problem& problem, OutputFile& file) {
    expect_even(problem, "qs");
    const Convention& convention = problem.convention;
    if (convention.maximised || convention.scaled())
        file.write("# " + convention.equation_of_model() + "\n");
    file.write("# ObjectiveOffset " + (convention.maximised ? "0" : to_string(convention.offset)) +
               "\n");
    file.write(line_of(problem.size, problem.nonzero));
    problem.weights.for_each([&](int i, int j, long weight) {
        file.write(line_of(i + 1, j + 1, i == j ? weight : weight / 2));
    });
}

}  // namespace

const Format QOBLIB = {"qs", "QOBLIB .qs", may_be, read, write};

}  // namespace orvex::toolkit
