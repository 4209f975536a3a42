#include "toolkit/io/formats/statement.hpp"

#include <algorithm>
#include <limits>
#include <tuple>

#include "toolkit/model/build.hpp"
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
    if (!pairs_.insert(i, j))
        lines_.fail("the pair " + std::to_string(i + index_base) + ", " +
                    std::to_string(j + index_base) + " has an entry already");
}

void Statement::sum_pairs() {
    const auto before = [](const Coupling& a, const Coupling& b) {
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
        const Coupling first = terms_[k];
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
    pairs_ = {};
    sum_pairs();
    for (const Coupling& term : terms_) {
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

/** The smallest and the largest weight but 0; 0 where there is none. */
std::pair<long, long> Statement::range() const {
    long smallest = Limits::max(), largest = Limits::min();
    const auto take = [&](long weight) {
        if (weight == 0) return;
        smallest = std::min(smallest, weight);
        largest = std::max(largest, weight);
    };
    for (const Wide weight : linear_)
        take(static_cast<long>(weight));
    for (const Coupling& term : terms_)
        take(term.weight);
    if (smallest > largest) return {0, 0};
    return {smallest, largest};
}

Problem Statement::problem() {
    const auto [smallest, largest] = range();
    Problem problem;
    std::vector<std::int64_t> linear(linear_.size());
    std::transform(linear_.begin(), linear_.end(), linear.begin(),
                   [](Wide weight) { return static_cast<std::int64_t>(weight); });
    if (worth_lists(size(), terms_.size())) {
        problem = problem_of(sparse_qubo(std::move(linear), std::move(terms_)));
    } else {
        expect_model_memory(size(), width());
        auto model = std::make_unique<Model>(size(), width());
        for (int i = 0; i < size(); ++i)
            model->set(i, i, linear[static_cast<std::size_t>(i)]);
        for (const Coupling& term : terms_)
            model->set(term.i, term.j, term.weight);
        problem = problem_of(std::move(model));
    }
    problem.file = lines_.file();
    problem.entries = entries;
    problem.smallest = problem.smallest_weight = smallest;
    problem.largest = problem.largest_weight = largest;
    problem.convention = std::move(convention);
    problem.warnings = std::move(warnings);
    return problem;
}

}  // namespace orvex::toolkit
