#include "toolkit/model/scaling.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "toolkit/model/build.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {
namespace {

constexpr int MOST_BITS = 30;   // of the largest integer
constexpr int LEAST_BITS = 20;  // for which narrow energies are worth the precision

/** Rounds products with the factor, and bounds what that does to an energy. */
class Rounding {
  public:
    explicit Rounding(double factor) : factor_(factor) {}

    std::int64_t operator()(double value) {
        const double product = value * factor_;
        const double whole = std::nearbyint(product);
        const double rest = product - whole;
        (rest > 0 ? above_ : below_) += std::abs(rest);
        magnitudes_ += std::abs(product);
        return static_cast<std::int64_t>(whole);
    }

    /** The rests of some of the coefficients, with what adding up rests and pairs may have lost. */
    Scaling scaling() const {
        constexpr double LOST = std::numeric_limits<double>::epsilon();
        const double exactly = std::max(above_, below_);
        if (exactly == 0) return {factor_, 0};
        return {factor_, (exactly * (1 + 1e-9) + LOST * magnitudes_) / factor_};
    }

  private:
    double factor_;
    double above_ = 0, below_ = 0, magnitudes_ = 0;
};

/** Leaves one term for each pair, in ascending order, with i <= j. */
std::vector<RealTerm> summed(int size, std::span<const std::uint32_t> pairs,
                             std::span<const double> values) {
    std::vector<RealTerm> terms(values.size());
    for (std::size_t k = 0; k < terms.size(); ++k) {
        const auto [i, j] = std::minmax({pairs[2 * k], pairs[2 * k + 1]});
        if (j >= static_cast<std::uint32_t>(size))
            throw InputError("there is no variable " + std::to_string(j) + " among " +
                             std::to_string(size));
        terms[k] = {i, j, values[k]};
    }
    const auto before = [](const RealTerm& a, const RealTerm& b) {
        return a.i != b.i ? a.i < b.i : a.j < b.j;
    };
    if (!std::is_sorted(terms.begin(), terms.end(), before))
        std::sort(terms.begin(), terms.end(), before);
    std::size_t kept = 0;
    for (std::size_t k = 0; k < terms.size();) {
        const RealTerm first = terms[k];
        CompensatedSum sum;
        for (; k < terms.size() && !before(first, terms[k]); ++k)
            sum.add(terms[k].value);
        if (!std::isfinite(sum.value()))
            throw InputError("the coefficients of the variables " + std::to_string(first.i) +
                             " and " + std::to_string(first.j) + " add up to no finite number");
        terms[kept++] = {first.i, first.j, sum.value()};
    }
    terms.resize(kept);
    return terms;
}

bool is_set(const Sol& solution, std::size_t variable) {
    return solution.get(static_cast<int>(variable));
}

}  // namespace

ScalingChoice::ScalingChoice(int size) : rows_(static_cast<std::size_t>(size)) {}

void ScalingChoice::take(std::size_t i, std::size_t j, double value) {
    if (value == 0) return;
    largest_ = std::max(largest_, std::abs(value));
    ++count_;
    if (i == j) {
        rows_[i].linear = value;
        return;
    }
    for (const std::size_t end : {i, j})
        (value > 0 ? rows_[end].positive : rows_[end].negative) += value;
}

double ScalingChoice::factor() const {
    if (largest_ == 0) return 1;
    int exponent = 0;
    std::frexp(largest_, &exponent);  // the largest is below 2^exponent, and at least half of it
    // Beyond these the factor or its inverse would be no normal number.
    const int most = std::clamp(MOST_BITS - exponent, -1000, 1022);
    for (int less = 0; less <= MOST_BITS - LEAST_BITS; ++less)
        if (const double factor = std::ldexp(1, most - less); narrow(factor)) return factor;
    return std::ldexp(1, most);
}

/** Whether energies and deltas are proven to fit into 32 bits, as RowSums has it for integers. */
bool ScalingChoice::narrow(double factor) const {
    constexpr int FILLER_WEIGHT = 255;
    const int size = static_cast<int>(rows_.size());
    const std::optional<Plan> plan =
        plan_run({.size = size, .matrix_bits = 32, .arithmetic_bits = 32});
    if (!plan) return false;
    double lowest = 0, highest = 0, delta = 0;
    for (const Row& row : rows_) {
        lowest += std::min(0.0, factor * (row.linear + row.negative / 2));
        highest += std::max(0.0, factor * (row.linear + row.positive / 2));
        delta = std::max({delta, std::abs(factor * (row.linear + row.positive)),
                          std::abs(factor * (row.linear + row.negative))});
    }
    // Each coefficient is rounded by half at most, and so may be a row's sum for the rounded half.
    const double rounded = static_cast<double>(count_) / 2 + size + 2;
    const double fillers = FILLER_WEIGHT * static_cast<double>(plan->size - size);
    return std::max({delta, -lowest, highest + fillers}) + rounded <
           std::numeric_limits<std::int32_t>::max() * (1 - 1e-9);
}

void CompensatedSum::add(double term) {
    const double sum = sum_ + term;
    const double taken = sum - sum_;  // of the term, as it is in the sum
    rest_ += (sum_ - (sum - taken)) + (term - taken);
    sum_ = sum;
}

Problem problem_of_real_terms(int size, std::span<const std::uint32_t> pairs,
                              std::span<const double> values, Scaling& scaling) {
    expect_model_size(size);
    const std::vector<RealTerm> terms = summed(size, pairs, values);
    ScalingChoice choice(size);
    for (const RealTerm& term : terms)
        choice.take(term.i, term.j, term.value);
    Rounding rounded(choice.factor());
    std::vector<std::uint32_t> ends;
    std::vector<std::int64_t> integers;
    ends.reserve(2 * terms.size());
    integers.reserve(terms.size());
    for (const RealTerm& term : terms) {
        ends.insert(ends.end(), {term.i, term.j});
        integers.push_back(rounded(term.value));
    }
    scaling = rounded.scaling();
    return problem_of_terms(size, ends, integers);
}

Problem problem_of_real_triangle(int size, const double* elements, Scaling& scaling) {
    expect_model_size(size);
    const auto n = static_cast<std::size_t>(size);
    ScalingChoice choice(size);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = i; j < n; ++j)
            choice.take(i, j, elements[i * n + j]);
    Rounding rounded(choice.factor());
    std::vector<std::int32_t> integers(n * n);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = i; j < n; ++j)
            integers[i * n + j] = static_cast<std::int32_t>(rounded(elements[i * n + j]));
    scaling = rounded.scaling();
    return problem_of_matrix(size, integers.data());
}

double real_energy(std::span<const std::uint32_t> pairs, std::span<const double> values,
                   const Sol& solution) {
    CompensatedSum energy;
    for (std::size_t k = 0; k < values.size(); ++k)
        if (is_set(solution, pairs[2 * k]) && is_set(solution, pairs[2 * k + 1]))
            energy.add(values[k]);
    return energy.value();
}

double real_energy(int size, const double* elements, const Sol& solution) {
    const auto n = static_cast<std::size_t>(size);
    std::vector<std::size_t> set;
    for (std::size_t i = 0; i < n; ++i)
        if (is_set(solution, i)) set.push_back(i);
    CompensatedSum energy;
    for (const std::size_t i : set)
        for (const std::size_t j : set)
            energy.add(elements[i * n + j]);
    return energy.value();
}

}  // namespace orvex::toolkit
