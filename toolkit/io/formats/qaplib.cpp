// QAPLIB's .dat: n, then two n by n matrices A and B; lines mean nothing. The cost of giving each i
// a place p(i) is the sum over all i and j of A[i][j] B[p(i)][p(j)], minimised; bit i * n + k says
// that p(i) is k.
#include <algorithm>
#include <functional>
#include <limits>

#include "toolkit/io/formats/entries.hpp"
#include "toolkit/io/formats/one_hot.hpp"

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

    /** All rows, or all columns, each without the diagonal and descending. */
    std::vector<std::vector<long>> sorted(bool columns) const {
        std::vector<std::vector<long>> all(static_cast<std::size_t>(n_));
        for (int i = 0; i < n_; ++i) {
            std::vector<long>& values = all[static_cast<std::size_t>(i)];
            for (int j = 0; j < n_; ++j)
                if (j != i) values.push_back(columns ? at(j, i) : at(i, j));
            std::sort(values.begin(), values.end(), std::greater<>());
        }
        return all;
    }

    bool has_negative() const {
        return std::any_of(values_.begin(), values_.end(), [](long value) { return value < 0; });
    }

    long nonzero() const {
        return static_cast<long>(values_.size()) - std::count(values_.begin(), values_.end(), 0L);
    }

    /** Pairs i < j with an entry that is not 0 either way. */
    long pairs() const {
        long count = 0;
        for (int i = 0; i < n_; ++i)
            for (int j = i + 1; j < n_; ++j)
                count += at(i, j) != 0 || at(j, i) != 0;
        return count;
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
    const auto rows_a = a.sorted(false), rows_b = b.sorted(false);
    const auto columns_a = a.sorted(true), columns_b = b.sorted(true);
    for (int i = 0; i < n; ++i)
        for (int k = 0; k < n; ++k) {
            const auto in_a = static_cast<std::size_t>(i), in_b = static_cast<std::size_t>(k);
            const Wide cost = Wide{a.at(i, i)} * b.at(k, k) +
                              largest_product(rows_a[in_a], rows_b[in_b]) +
                              largest_product(columns_a[in_a], columns_b[in_b]);
            costs.most_of_a_bit = std::max(costs.most_of_a_bit, cost);
        }
    return costs;
}

void read(Lines& lines, const ReadOptions& options, Statement& statement) {
    const int n = lines.size(lines.take("n"), "n", MOST_THINGS);
    const Matrix a(n, "A", lines), b(n, "B", lines);
    lines.expect_end("the two matrices");
    const Wide penalised = Wide{n} * n * (n - 1);
    expect_couplings(2 * Wide{a.pairs()} * b.pairs() + penalised, options, lines);
    statement.resize(n * n);
    statement.entries = a.nonzero() + b.nonzero();
    statement.convention.index_base = 1;
    statement.convention.objective = "cost";
    const Wide penalty = choose_penalty(n, costs_of(n, a, b), options, lines, statement);
    for (int i = 0; i < n; ++i)
        for (int k = 0; k < n; ++k) {
            statement.add(i * n + k, i * n + k, Wide{a.at(i, i)} * b.at(k, k));
            add_one_hot_bit(i, k, n, penalty, statement);
            for (int j = i + 1; j < n; ++j)
                for (int l = 0; l < n; ++l) {
                    const Wide cost =
                        l == k ? 2 * penalty
                               : Wide{a.at(i, j)} * b.at(k, l) + Wide{a.at(j, i)} * b.at(l, k);
                    if (cost != 0) statement.add(i * n + k, j * n + l, cost);
                }
        }
}

}  // namespace

const Format QAPLIB = {.name = "qaplib",
                       .title = "QAPLIB .dat",
                       .may_be = may_be,
                       .read = read,
                       .write = nullptr,
                       .has_penalty = true};

}  // namespace orvex::toolkit
