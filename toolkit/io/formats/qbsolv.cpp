// qbsolv's .qubo: comments "c", a line "p qubo 0 maxNodes nNodes nCouplers", a line "i i weight"
// for each node that has one and "i j weight" for each coupler, from index 0. The program minimises
// unless it is told to maximise, so the sense is not the file's. By its rule a node or coupler
// is given once.
#include "toolkit/io/formats/entries.hpp"

namespace orvex::toolkit {
namespace {

bool may_be(const Beginning& beginning) {
    for (const auto& words : beginning.lines) {
        if (words[0].front() == 'c') continue;
        return words.size() >= 2 && words[0] == "p" && words[1] == "qubo";
    }
    return false;
}

void read(Lines& lines, const ReadOptions& options, Statement& statement) {
    lines.skip_comments("c");
    lines.expect_next("the line \"p qubo\"");
    if (lines.word(0) != "p" || lines.words() < 2 || lines.word(1) != "qubo")
        lines.fail("the first line that is no comment should begin with \"p qubo\"");
    lines.expect_words(6, "six words: p qubo 0 maxNodes nNodes nCouplers");
    if (lines.word(2) != "0" && lines.word(2) != "unconstrained")
        lines.fail("the topology is " + Lines::quoted(lines.word(2)) +
                   "; only \"0\" and \"unconstrained\" are known");
    const int size = lines.size(lines.word(3), "maxNodes", MAX_VARIABLES);
    const long nodes = lines.count(lines.word(4), "nNodes");
    const long couplers = lines.count(lines.word(5), "nCouplers");
    const bool maximised = options.maximised.value_or(false);
    statement.resize(size);
    statement.convention.maximised = maximised;
    statement.convention.factor = maximised ? -1 : 1;
    statement.convention.objective = "value";
    long on_diagonal = 0;
    for (; lines.next(); ++statement.entries) {
        lines.expect_words(3, "two nodes and a weight");
        const int i = lines.index(0, "the first node", 0, size);
        const int j = lines.index(1, "the second node", 0, size);
        const Wide weight = statement.coefficient(2, "the weight", maximised ? -1 : 1);
        statement.expect_new(i, j, 0);
        statement.add(i, j, weight);
        on_diagonal += i == j;
    }
    if (on_diagonal != nodes || statement.entries - on_diagonal != couplers)
        lines.fail("the file ends with " + std::to_string(on_diagonal) + " nodes and " +
                   std::to_string(statement.entries - on_diagonal) +
                   " couplers; its line \"p qubo\" promises " + std::to_string(nodes) + " and " +
                   std::to_string(couplers));
}

void write(const Problem& problem, OutputFile& file) {
    long nodes = 0;
    for (int i = 0; i < problem.size; ++i)
        nodes += problem.weights.get(i, i) != 0;
    if (!problem.convention.plain())
        file.write("c " + problem.convention.equation_of_model() + "\n");
    file.write("p qubo 0 " + line_of(problem.size, nodes, problem.nonzero - nodes));
    for (int i = 0; i < problem.size; ++i)
        if (const long weight = problem.weights.get(i, i); weight != 0)
            file.write(line_of(i, i, weight));
    problem.weights.for_each([&](int i, int j, long weight) {
        if (i != j) file.write(line_of(i, j, weight));
    });
}

}  // namespace

const Format QBSOLV = {.name = "qbsolv",
                       .title = "qbsolv .qubo",
                       .may_be = may_be,
                       .read = read,
                       .write = write,
                       .leaves_sense_open = true};

}  // namespace orvex::toolkit
