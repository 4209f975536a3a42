#include "toolkit/io/formats/statement.hpp"

#include <algorithm>
#include <limits>
#include <tuple>

#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {
namespace {

using Limits = std::numeric_limits<long>;

bool fits(Wide weight) {
    return Limits::min() <= weight && weight <= Limits::max();
}

}  // namespace

void Statement::resize(int size) {
    linear_.resize(std::max(linear_.size(), static_cast<std::size_t>(size)));
}

void Statement::add(int i, int j, Wide weight) {
    if (!fits(weight))
        lines_.fail("the weight " + to_string(weight) + " does not fit into 64 bits");
    if (i == j)
        linear_[static_cast<std::size_t>(i)] += weight;
    else
        terms_.push_back({std::min(i, j), std::max(i, j), static_cast<long>(weight)});
}

void Statement::expect_new(int i, int j, int index_base) {
    if (!pairs_) pairs_ = std::make_unique<PairSet>(size());
    if (!pairs_->insert(i, j))
        lines_.fail("the pair " + std::to_string(i + index_base) + ", " +
                    std::to_string(j + index_base) + " has an entry already");
}

void Statement::sum_pairs() {
    const auto before = [](const Term& a, const Term& b) {
        return std::tie(a.i, a.j) < std::tie(b.i, b.j);
    };
    // Costs and constraints come as two lists, each in order; a matrix comes as one.
    const auto middle = std::is_sorted_until(terms_.begin(), terms_.end(), before);
    if (std::is_sorted(middle, terms_.end(), before))
        std::inplace_merge(terms_.begin(), middle, terms_.end(), before);
    else
        std::sort(terms_.begin(), terms_.end(), before);
    std::size_t kept = 0;
    for (std::size_t k = 0; k < terms_.size();) {
        const Term first = terms_[k];
        Wide sum = 0;
        for (; k < terms_.size() && !before(first, terms_[k]); ++k)
            sum += terms_[k].weight;
        if (!fits(sum))
            throw InputError(lines_.file() + ": the entries of the variables " +
                             std::to_string(first.i) + " and " + std::to_string(first.j) +
                             " (counted from 0) add up to " + to_string(sum) +
                             ", which does not fit into 64 bits");
        if (sum != 0) terms_[kept++] = {first.i, first.j, static_cast<long>(sum)};
    }
    terms_.resize(kept);
}

void Statement::settle() {
    pairs_.reset();
    sum_pairs();
    for (const Term& term : terms_) {
        smallest_ = std::min(smallest_, term.weight);
        largest_ = std::max(largest_, term.weight);
    }
    for (std::size_t i = 0; i < linear_.size(); ++i) {
        if (!fits(linear_[i]))
            throw InputError(lines_.file() + ": the weight of variable " + std::to_string(i) +
                             " (counted from 0) is " + to_string(linear_[i]) +
                             ", which does not fit into 64 bits");
        smallest_ = std::min(smallest_, static_cast<long>(linear_[i]));
        largest_ = std::max(largest_, static_cast<long>(linear_[i]));
    }
}

int Statement::width() const {
    return weight_width(smallest_, largest_);
}

Problem Statement::problem() {
    Problem problem;
    problem.file = lines_.file();
    problem.size = size();
    problem.width = width();
    problem.entries = entries;
    problem.smallest_weight = Limits::max();
    problem.largest_weight = Limits::min();
    auto model = std::make_unique<Model>(problem.size, problem.width);
    RowSums sums(problem.size);
    const auto set = [&](int i, int j, long weight) {
        if (weight == 0) return;
        ++problem.nonzero;
        problem.smallest_weight = std::min(problem.smallest_weight, weight);
        problem.largest_weight = std::max(problem.largest_weight, weight);
        sums.change(i, j, 0, weight);
        if (i != j) problem.couplings.change(0, weight);
        model->set(i, j, weight);
    };
    for (int i = 0; i < problem.size; ++i)
        set(i, i, static_cast<long>(linear_[static_cast<std::size_t>(i)]));
    for (const Term& term : terms_)
        set(term.i, term.j, term.weight);
    if (problem.nonzero == 0) problem.smallest_weight = problem.largest_weight = 0;
    problem.smallest = problem.smallest_weight;
    problem.largest = problem.largest_weight;
    problem.bound = sums.bound();
    problem.convention = std::move(convention);
    problem.warnings = std::move(warnings);
    problem.model = std::move(model);
    return problem;
}

}  // namespace orvex::toolkit
