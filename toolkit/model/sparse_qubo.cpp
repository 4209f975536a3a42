#include "toolkit/model/sparse_qubo.hpp"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include <orvex/orvex.hpp>

#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {
namespace {

std::size_t at(int i) {
    return static_cast<std::size_t>(i);
}

void expect_variables(const std::vector<Coupling>& couplings, std::size_t size) {
    for (const auto& [i, j, weight] : couplings) {
        if (std::min(i, j) < 0 || at(std::max(i, j)) >= size)
            throw InputError("there is no variable " + std::to_string(i < 0 ? i : std::max(i, j)) +
                             " among " + std::to_string(size));
        if (i == j) throw InputError("variable " + std::to_string(i) + " is coupled with itself");
    }
}

/** A coupling, seen from one of its ends. */
struct Half {
    std::int32_t neighbour;
    std::int64_t weight;
};

/** Both halves of every coupling, variable after variable, the neighbours ascending. */
std::vector<Half> halves_of(const std::vector<Coupling>& couplings,
                            const std::vector<std::size_t>& starts) {
    std::vector<Half> halves(2 * couplings.size());
    std::vector<std::size_t> next(starts.begin(), starts.end() - 1);
    for (const auto& [i, j, weight] : couplings) {
        halves[next[at(i)]++] = {j, weight};
        halves[next[at(j)]++] = {i, weight};
    }
    const auto before = [](const Half& a, const Half& b) { return a.neighbour < b.neighbour; };
    for (std::size_t i = 0; i + 1 < starts.size(); ++i) {
        const auto from = halves.begin() + static_cast<std::ptrdiff_t>(starts[i]);
        const auto to = halves.begin() + static_cast<std::ptrdiff_t>(starts[i + 1]);
        if (!std::is_sorted(from, to, before)) std::sort(from, to, before);
    }
    return halves;
}

}  // namespace

SparseQubo sparse_qubo(std::vector<std::int64_t> linear, std::vector<Coupling> couplings) {
    const std::size_t size = linear.size();
    expect_variables(couplings, size);
    std::vector<std::size_t> starts(size + 1);
    for (const Coupling& coupling : couplings) {
        ++starts[at(coupling.i) + 1];
        ++starts[at(coupling.j) + 1];
    }
    for (std::size_t i = 0; i < size; ++i)
        starts[i + 1] += starts[i];
    const std::vector<Half> halves = halves_of(couplings, starts);
    couplings = {};

    SparseQubo qubo;
    qubo.linear = std::move(linear);
    qubo.starts.assign(size + 1, 0);
    qubo.neighbours.reserve(halves.size());
    qubo.weights.reserve(halves.size());
    for (std::size_t i = 0; i < size; ++i) {
        for (std::size_t k = starts[i]; k < starts[i + 1];) {
            const std::int32_t j = halves[k].neighbour;
            Wide sum = 0;
            for (; k < starts[i + 1] && halves[k].neighbour == j; ++k)
                sum += halves[k].weight;
            if (sum < std::numeric_limits<long>::min() || sum > std::numeric_limits<long>::max())
                throw InputError("the weight " + to_string(sum) + " of the variables " +
                                 std::to_string(i) + " and " + std::to_string(j) +
                                 " does not fit into 64 bits");
            if (sum == 0) continue;
            qubo.neighbours.push_back(j);
            qubo.weights.push_back(static_cast<std::int64_t>(sum));
        }
        qubo.starts[i + 1] = qubo.neighbours.size();
    }
    return qubo;
}

SparseQubo sparse_qubo(const Model& model) {
    const int size = model.impl().size;
    SparseQubo qubo;
    qubo.linear.resize(at(size));
    qubo.starts.assign(at(size) + 1, 0);
    for (int i = 0; i < size; ++i) {
        for (int j = 0; j < size; ++j) {
            const long weight = model.get(i, j);
            if (i == j) qubo.linear[at(i)] = weight;
            if (i == j || weight == 0) continue;
            qubo.neighbours.push_back(j);
            qubo.weights.push_back(weight);
        }
        qubo.starts[at(i) + 1] = qubo.neighbours.size();
    }
    return qubo;
}

Wide energy_of(const SparseQubo& qubo, const Bits& bits) {
    Wide energy = 0;
    for (int i = 0; i < qubo.size(); ++i) {
        if (bits[at(i)] == 0) continue;
        energy += qubo.linear[at(i)];
        const auto neighbours = qubo.neighbours_of(i);
        const auto weights = qubo.weights_of(i);
        for (std::size_t k = 0; k < neighbours.size() && neighbours[k] < i; ++k)
            if (bits[at(neighbours[k])] != 0) energy += weights[k];
    }
    return energy;
}

Bits bits_of(const Sol& solution) {
    Bits bits(at(solution.impl().bits));
    for (std::size_t i = 0; i < bits.size(); ++i)
        bits[i] = solution.get(static_cast<int>(i));
    return bits;
}

Sol solution_of(const Bits& bits) {
    Sol solution(static_cast<int>(bits.size()));
    for (std::size_t i = 0; i < bits.size(); ++i)
        if (bits[i] != 0) solution.set(static_cast<int>(i), true);
    return solution;
}

}  // namespace orvex::toolkit
