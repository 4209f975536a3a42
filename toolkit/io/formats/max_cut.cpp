// Max-Cut graphs (rudy, G-set, .mc): "n m", then "i j weight" for each edge, or "i j" for weight 1,
// from vertex 1. The cut is the weight of the edges between vertices whose bits differ: an edge of
// weight c gives -c to the weight of each of its vertices and 2 c to that of the pair. Several
// edges between two vertices are as good as one with the sum of their weights.
#include <vector>

#include "toolkit/io/formats/entries.hpp"

namespace orvex::toolkit {
namespace {

bool may_be(const Beginning& beginning) {
    return beginning.lists_entries() && !beginning.has_comment("ObjectiveOffset") &&
           !beginning.has_diagonal();
}

void read(Lines& lines, const ReadOptions&, Statement& statement) {
    lines.skip_comments("#");
    lines.expect_next("the numbers of vertices and of edges");
    lines.expect_words(2, "the numbers of vertices and of edges");
    const int size = lines.size(lines.word(0), "the number of vertices", MAX_VARIABLES);
    const long count = lines.count(lines.word(1), "the number of edges");
    statement.resize(size);
    statement.entries = count;
    statement.convention.index_base = 1;
    statement.convention.factor = 2;
    statement.convention.maximised = true;
    statement.convention.objective = "cut";
    for (long edge = 0; edge < count; ++edge) {
        lines.expect_next("edge " + std::to_string(edge + 1) + " of the " + std::to_string(count) +
                          " that the header promises");
        if (lines.words() != 2) lines.expect_words(3, "two vertices and a weight, or two vertices");
        const int i = lines.index(0, "the first vertex", 1, size);
        const int j = lines.index(1, "the second vertex", 1, size);
        if (i == j)
            lines.fail("an edge joins vertex " + std::to_string(i + 1) +
                       " with itself, which no graph here has; a matrix has the format biqmac");
        const Wide weight =
            statement.coefficient(lines.words() == 2 ? "1" : lines.word(2), "the weight");
        statement.add(i, i, -weight);
        statement.add(j, j, -weight);
        statement.add(i, j, 2 * weight);
    }
    lines.expect_end("the last edge that the header promises");
}

/**
 * What the edges between the variables leave of each variable's weight goes to an edge to one more
 * vertex, whose side is that of the zeros: any model with even couplings is a Max-Cut problem so.
 */
void write(const Problem& problem, OutputFile& file) {
    expect_even(problem, "maxcut");
    std::vector<Wide> rest(static_cast<std::size_t>(problem.size));
    problem.weights.for_each([&](int i, int j, long weight) {
        rest[static_cast<std::size_t>(i)] -= i == j ? weight : weight / 2;
        if (i != j) rest[static_cast<std::size_t>(j)] -= weight / 2;
    });
    long edges = 0;
    bool one_more = false;
    problem.weights.for_each([&](int i, int j, long) { edges += i != j; });
    for (const Wide weight : rest) {
        edges += weight != 0;
        one_more |= weight != 0;
        if (weight != static_cast<long>(weight))
            throw InputError(problem.file + ": as a Max-Cut graph it has an edge of weight " +
                             to_string(weight) + ", which does not fit into 64 bits");
    }
    file.write(line_of(problem.size + one_more, edges));
    problem.weights.for_each([&](int i, int j, long weight) {
        if (i != j) file.write(line_of(i + 1, j + 1, weight / 2));
    });
    for (std::size_t i = 0; i < rest.size(); ++i)
        if (rest[i] != 0)
            file.write(
                line_of(static_cast<long>(i) + 1, problem.size + 1, static_cast<long>(rest[i])));
}

}  // namespace

const Format MAX_CUT = {"maxcut", "Max-Cut graph (rudy, G-set, .mc)", may_be, read, write};

}  // namespace orvex::toolkit
