#include "toolkit/io/formats/statement.hpp"

#include <algorithm>
#include <limits>
#include <memory>
#include <tuple>

#include "toolkit/model/build.hpp"
#include "toolkit/model/errors.hpp"
#include "toolkit/model/scaling.hpp"

namespace orvex::toolkit {
namespace {

using Limits = std::numeric_limits<long>;

constexpr long MOST_POWER = 38;  // of ten in 128 bits

bool fits(Wide weight) {
    return Limits::min() <= weight && weight <= Limits::max();
}

/** number x 10^-decimals, correctly rounded. */
double real(Wide number, int decimals) {
    double value = 0;
    read_real(to_string(number) + "e-" + std::to_string(decimals), value);
    return value;
}

}  // namespace

void Statement::resize(int size) {
    linear_.resize(std::max(linear_.size(), static_cast<std::size_t>(size)));
}

Wide Statement::coefficient(std::string_view word, const std::string& what, int times) {
    if (scale_.rule == Scale::Rule::EXACT) return lines_.whole(word, what, times);
    if (fine_) return fine_coefficient(word, what, times);
    long value = 0;
    const Decimal kind = read_decimal(word, scale_.factor * times, value);
    if (kind == Decimal::WHOLE) {
        const Wide magnitude = value < 0 ? -Wide{value} : Wide{value};
        largest_whole_ = std::max(largest_whole_, magnitude);
        return value;
    }
    if (scale_.rule == Scale::Rule::AUTO)
        return kind == Decimal::FRACTION ? fine_coefficient(word, what, times)
                                         : lines_.whole(word, what, times);  // which refuses it
    if (kind == Decimal::FRACTION)
        lines_.fail(what + " is " + Lines::quoted(word) + ", which the scale " +
                    std::to_string(scale_.factor) + " does not make a whole number");
    if (kind == Decimal::TOO_LARGE)
        lines_.fail(what + " is " + Lines::quoted(word) +
                    ", which does not fit into 64 bits when it is scaled");
    return lines_.whole(word, what, times);
}

/** A coefficient in fixed point, for which the statement gets the decimals that it needs. */
Wide Statement::fine_coefficient(std::string_view word, const std::string& what, int times) {
    constexpr long MOST_MAGNITUDE = 19;  // of whole numbers that fit into 64 bits
    // Beyond the smallest double nothing is left of a number.
    constexpr long MOST_DECIMALS = 350;
    if (!fine_) {
        fine_ = true;
        magnitude_ = largest_whole_ == 0 ? -MOST_DECIMALS
                                         : static_cast<long>(to_string(largest_whole_).size());
        fine_terms_.reserve(terms_.size());
        for (const Coupling& term : terms_)
            fine_terms_.push_back({term.i, term.j, term.weight});
        terms_ = {};
    }
    DecimalNumber number;
    if (!read_decimal(word, number)) return lines_.whole(word, what);  // which refuses it
    if (number.digits == 0) return 0;
    if (number.magnitude > MOST_MAGNITUDE)
        lines_.fail(what + " is " + Lines::quoted(word) + ", which does not fit into 64 bits");
    magnitude_ = std::max(magnitude_, number.magnitude);
    const long wanted = std::max(long{decimals_}, number.behind);
    const long most = std::min(DecimalNumber::MOST_DIGITS - magnitude_, MOST_DECIMALS);
    set_decimals(static_cast<int>(std::min(wanted, most)));
    cut_ |= number.cut;
    return times * shifted(number.digits, decimals_ - number.behind, cut_);
}

template <class ACTION>
void Statement::for_each_fine(const ACTION& action) {
    for (Wide& weight : linear_)
        action(weight);
    for (FineTerm& term : fine_terms_)
        action(term.weight);
    action(convention.offset);
}

void Statement::set_decimals(int decimals) {
    const int more = decimals - decimals_;
    if (more == 0) return;
    for_each_fine([&](Wide& weight) { weight = shifted(weight, more, cut_); });
    decimals_ = decimals;
}

void Statement::add(int i, int j, Wide weight) {
    if (!fine_ && !fits(weight))
        lines_.fail("the weight " + to_string(weight) + " does not fit into 64 bits");
    if (i == j) {
        Wide& linear = linear_[static_cast<std::size_t>(i)];
        linear = last_counts ? weight : linear + weight;
        return;
    }
    if (fine_)
        fine_terms_.push_back({std::min(i, j), std::max(i, j), weight});
    else
        terms_.push_back({std::min(i, j), std::max(i, j), static_cast<long>(weight)});
}

void Statement::expect_new(int i, int j, int index_base) {
    if (!pairs_.insert(i, j))
        lines_.fail("the pair " + std::to_string(i + index_base) + ", " +
                    std::to_string(j + index_base) + " has an entry already");
}

template <class TERM>
void Statement::sum_pairs(std::vector<TERM>& terms) {
    const auto before = [](const TERM& a, const TERM& b) {
        return std::tie(a.i, a.j) < std::tie(b.i, b.j);
    };
    // Costs and constraints come as two lists, each in order; a matrix comes as one.
    const auto middle = std::is_sorted_until(terms.begin(), terms.end(), before);
    if (std::is_sorted(middle, terms.end(), before))
        std::inplace_merge(terms.begin(), middle, terms.end(), before);
    else if (last_counts)
        std::stable_sort(terms.begin(), terms.end(), before);
    else
        std::sort(terms.begin(), terms.end(), before);
    std::size_t kept = 0;
    for (std::size_t k = 0; k < terms.size();) {
        const TERM first = terms[k];
        Wide sum = 0;
        for (; k < terms.size() && !before(first, terms[k]); ++k)
            sum = last_counts ? terms[k].weight : sum + terms[k].weight;
        if (!fine_ && !fits(sum))
            throw InputError(lines_.file() + ": the entries of the variables " +
                             std::to_string(first.i) + " and " + std::to_string(first.j) +
                             " (counted from 0) add up to " + to_string(sum) +
                             ", which does not fit into 64 bits");
        if (sum != 0) terms[kept++] = {first.i, first.j, static_cast<decltype(first.weight)>(sum)};
    }
    terms.resize(kept);
}

/** Takes decimals away as long as all numbers end with 0. */
void Statement::drop_common_zeros() {
    int zeros = decimals_;
    for_each_fine([&](Wide weight) {
        while (zeros > 0 && weight % power_of_ten(std::min<long>(zeros, MOST_POWER)) != 0)
            --zeros;
    });
    set_decimals(decimals_ - zeros);
}

/** Whether energies of the numbers as they are, without their point, are proven to fit. */
bool Statement::fits_exactly() const {
    constexpr int MOST_DECIMALS = 30;
    constexpr int MOST_FILLERS = 65536;
    if (cut_ || decimals_ > MOST_DECIMALS || !fits(convention.offset)) return false;
    const auto fitting = [](const auto& term) { return fits(term.weight); };
    if (!std::all_of(linear_.begin(), linear_.end(), fits) ||
        !std::all_of(fine_terms_.begin(), fine_terms_.end(), fitting))
        return false;
    std::vector<std::pair<Wide, Wide>> sums(linear_.size());
    for (const FineTerm& term : fine_terms_)
        for (const int end : {term.i, term.j}) {
            auto& [positive, negative] = sums[static_cast<std::size_t>(end)];
            (term.weight > 0 ? positive : negative) += term.weight;
        }
    RowSums rows(size());
    for (std::size_t i = 0; i < linear_.size(); ++i)
        rows.set(static_cast<int>(i), linear_[i], sums[i].first, sums[i].second);
    return rows.bound().bits(MOST_FILLERS) <= 64;
}

/** All is known: either it becomes whole numbers, or it will be rounded. */
void Statement::settle_fine() {
    sum_pairs(fine_terms_);
    if (!cut_) drop_common_zeros();
    if (decimals_ > 0 && !fits_exactly()) {
        rounded_ = true;
        return;
    }
    fine_ = false;
    for (const FineTerm& term : fine_terms_)
        add(term.i, term.j, term.weight);
    fine_terms_ = {};
    convention.decimals = decimals_;
    convention.scale = real(power_of_ten(decimals_), 0);
}

/** What the caller's factor means for the file's own numbers. */
void Statement::tell_factor() {
    convention.scale = static_cast<double>(scale_.factor);
    for (long rest = scale_.factor; rest % 10 == 0; rest /= 10)
        ++convention.decimals;
    if (power_of_ten(convention.decimals) != scale_.factor) convention.decimals = 0;
}

void Statement::settle() {
    pairs_ = {};
    if (scale_.rule == Scale::Rule::FACTOR) tell_factor();
    if (fine_) settle_fine();
    if (rounded_) return;
    sum_pairs(terms_);
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
    constexpr int ROUNDED = 32;
    return rounded_ ? ROUNDED : weight_width(smallest_, largest_);
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
    Problem problem = rounded_ ? rounded_problem() : whole_problem();
    problem.file = lines_.file();
    problem.entries = entries;
    problem.convention = std::move(convention);
    problem.warnings = std::move(warnings);
    return problem;
}

Problem Statement::whole_problem() {
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
    problem.smallest = problem.smallest_weight = smallest;
    problem.largest = problem.largest_weight = largest;
    return problem;
}

/** Real numbers, correctly rounded from the fixed point, become integers as a caller's own do. */
Problem Statement::rounded_problem() {
    auto reals = std::make_shared<RealCoefficients>();
    const auto take = [&](std::size_t i, std::size_t j, Wide weight) {
        if (weight == 0) return;
        reals->pairs.insert(reals->pairs.end(),
                            {static_cast<std::uint32_t>(i), static_cast<std::uint32_t>(j)});
        reals->values.push_back(real(weight, decimals_));
    };
    for (std::size_t i = 0; i < linear_.size(); ++i)
        take(i, i, linear_[i]);
    for (const FineTerm& term : fine_terms_)
        take(static_cast<std::size_t>(term.i), static_cast<std::size_t>(term.j), term.weight);
    fine_terms_ = {};
    Scaling scaling;
    Problem problem = problem_of_real_terms(size(), reals->pairs, reals->values, scaling);
    convention.scale = scaling.factor;
    // What a coefficient lost for want of decimals enters at most three weights, up to four times.
    constexpr double ENTERS = 10;
    const double lost = cut_ ? ENTERS * static_cast<double>(entries) * real(1, decimals_) : 0;
    convention.largest_error = scaling.largest_error + lost;
    convention.real_offset = real(convention.offset, decimals_);
    problem.smallest = problem.smallest_weight;
    problem.largest = problem.largest_weight;
    problem.reals = std::move(reals);
    warnings.push_back(lines_.file() + ": coefficients were multiplied by " +
                       to_string(scaling.factor) +
                       " and rounded; energies of the search are off by " +
                       to_string(convention.largest_error) + " at most, those of results are not");
    return problem;
}

}  // namespace orvex::toolkit
