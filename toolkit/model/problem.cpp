#include "toolkit/model/problem.hpp"

#include <algorithm>
#include <limits>
#include <utility>

#include "toolkit/model/build.hpp"
#include "toolkit/model/facts.hpp"

namespace orvex::toolkit {

double Problem::density() const {
    return static_cast<double>(nonzero) / (0.5 * size * (size + 1.0));
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

Problem problem_of(const Model& model) {
    return problem_of(std::make_unique<const Model>(model));
}

Problem problem_of(std::unique_ptr<const Model> model) {
    expect_model_size(model->impl().size);
    Problem problem;
    problem.weights = Weights(std::move(model));
    take_facts(problem);
    return problem;
}

Problem problem_of(SparseQubo qubo) {
    expect_problem_size(qubo.size());
    Problem problem;
    take_facts(problem, qubo);
    problem.weights = Weights(std::move(qubo), problem.width);
    return problem;
}

int weight_width(long smallest, long largest) {
    const int width = find_wbit(smallest, largest);
    const bool lowest = smallest == std::numeric_limits<std::int32_t>::min();
    return width == 32 && lowest ? 64 : width;
}

}  // namespace orvex::toolkit
