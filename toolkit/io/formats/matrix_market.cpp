// MatrixMarket matrices, coordinate or array, from index 1. The objective is x'Qx, whichever way
// the matrix is stored: an entry off the diagonal of a symmetric one, which is there once,
// counts twice. Entries of the same place are summed.
#include <algorithm>
#include <array>

#include "toolkit/io/formats/entries.hpp"

namespace orvex::toolkit {
namespace {

constexpr std::string_view BANNER = "%%MatrixMarket";

bool may_be(const Beginning& beginning) {
    return beginning.first_line.substr(0, BANNER.size()) == BANNER;
}

std::string lower(std::string_view word) {
    std::string text(word);
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return 'A' <= c && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return text;
}

struct Kind {
    bool dense = false;
    bool symmetric = false;
};

void expect(const Lines& lines, bool holds, std::size_t k, const char* known) {
    if (!holds)
        lines.fail("the matrix is " + Lines::quoted(lines.word(k)) + "; only " + known +
                   " are read");
}

Kind read_banner(Lines& lines) {
    lines.expect_next("the line \"%%MatrixMarket\"");
    if (lines.word(0) != BANNER) lines.fail("the first line should begin with \"%%MatrixMarket\"");
    lines.expect_words(5, "five words: %%MatrixMarket matrix coordinate integer symmetric");
    std::array<std::string, 5> words;
    for (std::size_t k = 1; k < 5; ++k)
        words[k] = lower(lines.word(k));
    expect(lines, words[1] == "matrix", 1, "matrices (\"matrix\")");
    expect(lines, words[2] == "coordinate" || words[2] == "array", 2,
           "\"coordinate\" and \"array\"");
    expect(lines, words[3] == "integer" || words[3] == "real", 3, "\"integer\" and \"real\"");
    expect(lines, words[4] == "general" || words[4] == "symmetric", 4,
           "\"general\" and \"symmetric\"");
    return {.dense = words[2] == "array", .symmetric = words[4] == "symmetric"};
}

class Reader {
  public:
    Reader(Lines& lines, Statement& statement, bool maximised)
        : lines_(lines), statement_(statement), sign_(maximised ? -1 : 1) {}

    void read() {
        kind_ = read_banner(lines_);
        lines_.skip_comments("%");
        lines_.expect_next("the size of the matrix");
        lines_.expect_words(kind_.dense ? 2 : 3, kind_.dense
                                                     ? "the numbers of rows and columns"
                                                     : "the numbers of rows, columns and entries");
        size_ = lines_.size(lines_.word(0), "the number of rows", MAX_VARIABLES);
        if (lines_.whole(1, "the number of columns") != size_)
            lines_.fail("the matrix is not square");
        statement_.resize(size_);
        statement_.convention.factor = sign_ * (kind_.symmetric ? 2 : 1);
        if (kind_.dense)
            read_array();
        else
            read_coordinates(lines_.count(lines_.word(2), "the number of entries"));
        lines_.expect_end("the last entry");
    }

  private:
    void add(int i, int j, std::size_t word) {
        const int times = i != j && kind_.symmetric ? 2 : 1;
        statement_.add(i, j, statement_.coefficient(word, "the value", sign_ * times));
        ++statement_.entries;
    }

    void read_coordinates(long count) {
        for (long entry = 0; entry < count; ++entry) {
            lines_.expect_next("entry " + std::to_string(entry + 1) + " of the " +
                               std::to_string(count) + " that the header promises");
            lines_.expect_words(3, "row, column and value");
            const int i = lines_.index(0, "the row", 1, size_);
            const int j = lines_.index(1, "the column", 1, size_);
            if (kind_.symmetric && i < j)
                lines_.fail(
                    "the entry is above the diagonal, and a symmetric matrix is stored "
                    "without those");
            add(i, j, 2);
        }
    }

    /** Column after column; of a symmetric matrix from the diagonal down. */
    void read_array() {
        for (int j = 0; j < size_; ++j)
            for (int i = kind_.symmetric ? j : 0; i < size_; ++i) {
                lines_.expect_next("the value of row " + std::to_string(i + 1) + " and column " +
                                   std::to_string(j + 1));
                lines_.expect_words(1, "one value");
                add(i, j, 0);
            }
    }

    Lines& lines_;
    Statement& statement_;
    int sign_;
    Kind kind_;
    int size_ = 0;
};

void read(Lines& lines, const ReadOptions& options, Statement& statement) {
    statement.convention.index_base = 1;
    statement.convention.maximised = options.maximised.value_or(false);
    statement.convention.objective = "value";
    Reader(lines, statement, statement.convention.maximised).read();
}

/** Upper triangular, so that odd weights off the diagonal stay whole. */
void write(const Problem& problem, OutputFile& file) {
    file.write("%%MatrixMarket matrix coordinate integer general\n");
    if (!problem.convention.plain())
        file.write("% " + problem.convention.equation_of_model() + "\n");
    file.write(line_of(problem.size, problem.size, problem.nonzero));
    problem.weights.for_each(
        [&](int i, int j, long weight) { file.write(line_of(i + 1, j + 1, weight)); });
}

}  // namespace

const Format MATRIX_MARKET = {.name = "matrixmarket",
                              .title = "MatrixMarket",
                              .may_be = may_be,
                              .read = read,
                              .write = write,
                              .leaves_sense_open = true};

}  // namespace orvex::toolkit
