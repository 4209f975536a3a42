// dimod's coordinate list: "i j bias" from index 0, i = j for a linear bias; a comment
// "# vartype=SPIN" or "# vartype=BINARY" tells what the variables are. The energy is minimised;
// biases of the same variables are summed. Spins become bits by s = 2 x - 1.
#include "toolkit/io/formats/entries.hpp"

namespace orvex::toolkit {
namespace {

bool may_be(const Beginning& beginning) {
    return beginning.all_have_words(0, 3, 3) &&
           (beginning.has_comment("vartype=") || !beginning.lines.empty());
}

enum class Kind { UNKNOWN, BITS, SPINS };

Kind kind_in(const Lines& lines, std::string_view comment, Kind before) {
    const std::size_t at = comment.find("vartype=");
    if (at == std::string_view::npos) return before;
    std::string_view name = comment.substr(at + 8);
    name = name.substr(0, name.find_first_of(" \t\r"));
    const Kind kind = name == "SPIN" ? Kind::SPINS : name == "BINARY" ? Kind::BITS : Kind::UNKNOWN;
    if (kind == Kind::UNKNOWN)
        lines.fail("the vartype is " + Lines::quoted(name) + ", neither SPIN nor BINARY");
    if (before != Kind::UNKNOWN && kind != before)
        lines.fail("the vartype is given twice, differently");
    return kind;
}

void read(Lines& lines, const ReadOptions& options, Statement& statement) {
    Convention& convention = statement.convention;
    convention.maximised = options.maximised.value_or(false);
    const int sign = convention.maximised ? -1 : 1;
    Kind kind = Kind::UNKNOWN;
    lines.skip_comments("#");
    lines.on_comment([&](std::string_view comment) {
        const Kind before = kind;
        kind = kind_in(lines, comment, before);
        if (kind != before && statement.entries > 0)
            lines.fail("the vartype must come before the first bias");
    });
    for (; lines.next(); ++statement.entries) {
        lines.expect_words(3, "two variables and a bias");
        const int i = lines.index(0, "the first variable", 0, MAX_VARIABLES);
        const int j = lines.index(1, "the second variable", 0, MAX_VARIABLES);
        const Wide bias = sign * statement.coefficient(2, "the bias");
        statement.resize(std::max(i, j) + 1);
        if (kind != Kind::SPINS) {
            statement.add(i, j, bias);
        } else if (i == j) {
            statement.add(i, i, 2 * bias);
            convention.offset -= sign * bias;
        } else {
            statement.add(i, j, 4 * bias);
            statement.add(i, i, -2 * bias);
            statement.add(j, j, -2 * bias);
            convention.offset += sign * bias;
        }
    }
    if (statement.size() == 0) lines.fail("the file ends before a bias");
    convention.factor = sign * (kind == Kind::SPINS ? 4 : 1);
    if (kind == Kind::SPINS) convention.note = "spins, s = 2 x - 1";
    if (kind == Kind::UNKNOWN)
        statement.warnings.push_back(
            lines.file() +
            ": no comment \"# vartype=...\" tells whether the variables are "
            "bits or spins; they are taken for bits");
}

void write(const Problem& problem, OutputFile& file) {
    file.write("# vartype=BINARY\n");
    if (!problem.convention.plain())
        file.write("# " + problem.convention.equation_of_model() + "\n");
    problem.weights.for_each([&](int i, int j, long weight) { file.write(line_of(i, j, weight)); });
    // The number of variables is known by the last of them.
    const int last = problem.size - 1;
    for (int i = 0; i < problem.size; ++i)
        if (problem.weights.get(i, last) != 0) return;
    file.write(line_of(last, last, 0));
}

}  // namespace

const Format COO = {.name = "coo",
                    .title = "dimod COO",
                    .may_be = may_be,
                    .read = read,
                    .write = write,
                    .leaves_sense_open = true};

}  // namespace orvex::toolkit
