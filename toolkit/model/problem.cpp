#include "toolkit/model/problem.hpp"

#include <algorithm>
#include <limits>
#include <utility>

#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {

double Problem::density() const {
    return static_cast<double>(nonzero) / (0.5 * size * (size + 1.0));
}

std::uint64_t Problem::model_bytes() const {
    const auto n = static_cast<std::uint64_t>(size);
    return n * n * static_cast<std::uint64_t>(width / 8);
}

int Problem::proven_bits() const {
    // A search may set filler variables too, and how many there are depends on the band.
    const std::optional<Plan> narrow = plan(32);
    return bound.bits(narrow ? narrow->size - size : 0);
}

std::optional<Plan> Problem::plan(int arithmetic_bits, PlanRequest request) const {
    constexpr Wide MOST = std::numeric_limits<std::uint64_t>::max();
    const auto cut = [&](Wide number) {
        return static_cast<std::uint64_t>(std::min(number, MOST));
    };
    request.size = size;
    request.matrix_bits = width;
    request.arithmetic_bits = arithmetic_bits;
    request.rows = {.largest = cut(couplings.largest),
                    .entries = 2 * static_cast<std::uint64_t>(couplings.count),
                    .largest_row_sum = cut(bound.largest_row_sum)};
    return plan_run(request);
}

Problem problem_of(Model model) {
    Problem problem;
    problem.size = model.impl().size;
    if (problem.size < 1 || problem.size > MAX_SIZE)
        throw InputError("the model has " + std::to_string(problem.size) +
                         " variables, not from 1 to " + std::to_string(MAX_SIZE));
    problem.width = model.impl().bits;
    RowSums sums(problem.size);
    for (int i = 0; i < problem.size; ++i) {
        for (int j = i; j < problem.size; ++j) {
            const long weight = model.get(i, j);
            if (weight == 0) continue;
            sums.change(i, j, 0, weight);
            if (i != j) problem.couplings.change(0, weight);
            ++problem.nonzero;
            problem.smallest_weight = std::min(problem.smallest_weight, weight);
            problem.largest_weight = std::max(problem.largest_weight, weight);
        }
    }
    problem.entries = problem.nonzero;
    problem.smallest = problem.smallest_weight;
    problem.largest = problem.largest_weight;
    problem.bound = sums.bound();
    problem.model = std::make_unique<const Model>(std::move(model));
    return problem;
}

int weight_width(long smallest, long largest) {
    const int width = find_wbit(smallest, largest);
    const bool lowest = smallest == std::numeric_limits<std::int32_t>::min();
    return width == 32 && lowest ? 64 : width;
}

}  // namespace orvex::toolkit
