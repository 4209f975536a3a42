// QAPLIB's .dat: n, then two n by n matrices A and B; lines mean nothing. The cost of giving each i
// a place p(i) is the sum over all i and j of A[i][j] B[p(i)][p(j)], minimised; bit i * n + k says
// that p(i) is k.
#include <algorithm>
#include <functional>
#include <limits>

#include "toolkit/io/formats/entries.hpp"
#include "toolkit/io/formats/one_hot.hpp"
#include "toolkit/model/memory.hpp"

namespace orvex::toolkit {
namespace {

bool may_be(const Beginning& beginning) {
    if (!beginning.starts_with_numbers(1)) return false;
    const long n = number_of(beginning.lines[0][0]);
    if (n < 1) return false;
    if (!beginning.whole) return !(beginning.has_words(1, 2) && beginning.has_words(2, 3));
    long words = 0;
    for (const auto& line : beginning.lines)
        words += static_cast<long>(line.size());
    return n <= MOST_THINGS && words == 1 + 2 * n * n;
}

class Matrix {
  public:
    Matrix(int n, const char* name, Lines& lines) : n_(n) {
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j) {
                const std::string what = std::string(name) + "[" + std::to_string(i + 1) + "][" +
                                         std::to_string(j + 1) + "]";
                values_.push_back(lines.whole(lines.take(what), what));
                // So that all costs, which are products of two matrices, stay within 128 bits.
                magnitude_ += values_.back() < 0 ? -Wide{values_.back()} : Wide{values_.back()};
                if (magnitude_ > std::numeric_limits<long>::max())
                    lines.fail(std::string("the magnitudes in ") + name +
                               " add up to more than 64 bits hold");
            }
    }

    long at(int i, int j) const {
        return values_[static_cast<std::size_t>(i) * static_cast<std::size_t>(n_) +
                       static_cast<std::size_t>(j)];
    }

    /** The row or the column of i without the diagonal, descending. */
    std::vector<long> sorted(int i, bool column) const {
        std::vector<long> values;
        for (int j = 0; j < n_; ++j)
            if (j != i) values.push_back(column ? at(j, i) : at(i, j));
        std::sort(values.begin(), values.end(), std::greater<>());
        return values;
    }

    bool has_negative() const {
        return std::any_of(values_.begin(), values_.end(), [](long value) { return value < 0; });
    }

    long nonzero() const {
        return static_cast<long>(values_.size()) - std::count(values_.begin(), values_.end(), 0L);
    }

    /** The sum of the magnitudes. */
    Wide magnitude() const { return magnitude_; }

  private:
    int n_;
    std::vector<long> values_;
    Wide magnitude_ = 0;
};

/** The products of both, the largest with the largest: no assignment of one to the other has more.
 */
Wide largest_product(const std::vector<long>& a, const std::vector<long>& b) {
    Wide sum = 0;
    for (std::size_t k = 0; k < a.size(); ++k)
        sum += Wide{a[k]} * b[k];
    return sum;
}

Costs costs_of(int n, const Matrix& a, const Matrix& b) {
    Costs costs;
    if (a.has_negative() || b.has_negative()) {
        costs.negative = -a.magnitude() * b.magnitude();
        return costs;
    }
    for (int i = 0; i < n; ++i)
        for (int k = 0; k < n; ++k) {
            const Wide cost = Wide{a.at(i, i)} * b.at(k, k) +
                              largest_product(a.sorted(i, false), b.sorted(k, false)) +
                              largest_product(a.sorted(i, true), b.sorted(k, true));
            costs.most_of_a_bit = std::max(costs.most_of_a_bit, cost);
        }
    return costs;
}

/** The list of terms may be larger than the model. */
void expect_memory(const Matrix& a, const Matrix& b, const Lines& lines) {
    constexpr Wide BYTES = 16;
    const Wide bytes = Wide{a.nonzero()} * b.nonzero() / 2 * BYTES;
    if (bytes > machine_memory())
        throw InputError(lines.file() + ": its terms take " +
                         bytes_text(static_cast<std::uint64_t>(bytes)) +
                         " of memory; this machine has " +
                         bytes_text(static_cast<std::uint64_t>(machine_memory())));
}

void read(Lines& lines, const ReadOptions& options, Statement& statement) {
    const int n = lines.size(lines.take("n"), "n", MOST_THINGS);
    const Matrix a(n, "A", lines), b(n, "B", lines);
    lines.expect_end("the two matrices");
    expect_memory(a, b, lines);
    statement.resize(n * n);
    statement.entries = a.nonzero() + b.nonzero();
    statement.convention.index_base = 1;
    statement.convention.objective = "cost";
    for (int i = 0; i < n; ++i)
        for (int k = 0; k < n; ++k) {
            statement.add(i * n + k, i * n + k, Wide{a.at(i, i)} * b.at(k, k));
            for (int j = i + 1; j < n; ++j)
                for (int l = 0; l < n; ++l) {
                    const Wide cost = Wide{a.at(i, j)} * b.at(k, l) + Wide{a.at(j, i)} * b.at(l, k);
                    if (l != k && cost != 0) statement.add(i * n + k, j * n + l, cost);
                }
        }
    add_one_hot(n, costs_of(n, a, b), options, lines, statement);
}

}  // namespace

const Format QAPLIB = {.name = "qaplib",
                       .title = "QAPLIB .dat",
                       .may_be = may_be,
                       .read = read,
                       .write = nullptr,
                       .has_penalty = true};

}  // namespace orvex::toolkit
