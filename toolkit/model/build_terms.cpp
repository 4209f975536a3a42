// Problems from terms. The terms of a pair are summed before the model is made, in a type that
// holds any sum of them, so that the width of the weights is known.
#include <algorithm>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "toolkit/model/build.hpp"
#include "toolkit/model/errors.hpp"
#include "toolkit/model/memory.hpp"

namespace orvex::toolkit {
namespace {

struct Term {
    std::uint64_t pair;  // the lesser variable above, the greater below
    long value;

    int i() const { return static_cast<int>(pair >> 32); }
    int j() const { return static_cast<int>(pair & 0xFFFF'FFFF); }
};

std::vector<Term> listed(int size, std::span<const std::uint32_t> pairs,
                         std::span<const std::int64_t> values) {
    std::vector<Term> terms(values.size());
    for (std::size_t k = 0; k < terms.size(); ++k) {
        const auto [i, j] = std::minmax({pairs[2 * k], pairs[2 * k + 1]});
        if (j >= static_cast<std::uint32_t>(size))
            throw InputError("there is no variable " + std::to_string(j) + " among " +
                             std::to_string(size));
        terms[k] = {std::uint64_t{i} << 32 | j, values[k]};
    }
    return terms;
}

/** Leaves one term for each pair, in ascending order, and none that is 0. */
void sum_up(std::vector<Term>& terms) {
    const auto before = [](const Term& a, const Term& b) { return a.pair < b.pair; };
    if (!std::is_sorted(terms.begin(), terms.end(), before))
        std::sort(terms.begin(), terms.end(), before);
    std::size_t kept = 0;
    for (std::size_t k = 0; k < terms.size();) {
        const std::uint64_t pair = terms[k].pair;
        Wide sum = 0;
        for (; k < terms.size() && terms[k].pair == pair; ++k)
            sum += terms[k].value;
        if (sum < std::numeric_limits<long>::min() || sum > std::numeric_limits<long>::max())
            throw InputError("a coefficient of " + to_string(sum) + " does not fit into 64 bits");
        if (sum != 0) terms[kept++] = {pair, static_cast<long>(sum)};
    }
    terms.resize(kept);
}

}  // namespace

void expect_model_size(int size) {
    if (size < 1 || size > MAX_SIZE)
        throw InputError("the model has " + std::to_string(size) + " variables, not from 1 to " +
                         std::to_string(MAX_SIZE));
}

void expect_problem_size(int size) {
    if (size < 1 || size > MAX_VARIABLES)
        throw InputError("the problem has " + std::to_string(size) + " variables, not from 1 to " +
                         std::to_string(MAX_VARIABLES));
}

void expect_model_memory(int size, int width) {
    const auto n = static_cast<std::uint64_t>(size);
    expect_model_memory(size, width, n * n * static_cast<std::uint64_t>(width / 8));
}

void expect_model_memory(int size, int width, std::uint64_t needed) {
    const auto machine = static_cast<std::uint64_t>(machine_memory());
    const auto left = static_cast<std::uint64_t>(free_memory());
    if (needed > std::min(machine, left))
        throw MemoryShortage("a model of " + std::to_string(size) + " variables and " +
                             std::to_string(width) + "-bit weights takes " + bytes_text(needed) +
                             " of memory; this machine has " + bytes_text(machine) + ", of which " +
                             bytes_text(left) + " are free");
}

Problem problem_of_terms(int size, std::span<const std::uint32_t> pairs,
                         std::span<const std::int64_t> values) {
    expect_problem_size(size);
    std::vector<Term> terms = listed(size, pairs, values);
    sum_up(terms);

    std::vector<std::int64_t> linear(static_cast<std::size_t>(size));
    std::vector<Coupling> couplings;
    for (const Term& term : terms) {
        if (term.i() == term.j())
            linear[static_cast<std::size_t>(term.i())] = term.value;
        else
            couplings.push_back({term.i(), term.j(), term.value});
    }
    if (worth_lists(size, couplings.size()))
        return problem_of(sparse_qubo(std::move(linear), std::move(couplings)));

    long smallest = 0, largest = 0;
    for (const Term& term : terms) {
        smallest = std::min(smallest, term.value);
        largest = std::max(largest, term.value);
    }
    const int width = weight_width(smallest, largest);
    expect_model_memory(size, width);
    auto model = std::make_unique<Model>(size, width);
    for (const Term& term : terms)
        model->set(term.i(), term.j(), term.value);
    return problem_of(std::move(model));
}

}  // namespace orvex::toolkit
