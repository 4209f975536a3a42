// Random models small enough to try all their solutions, of every shape that rules care for, and
// what must hold for any way of reducing them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/sanitized.hpp"
#include "toolkit/presolve/presolve.hpp"

namespace small_models {

using orvex::toolkit::Bits;
using orvex::toolkit::Coupling;
using orvex::toolkit::Presolved;
using orvex::toolkit::sparse_qubo;
using orvex::toolkit::SparseQubo;
using orvex::toolkit::Wide;

/** How many models a test tries; the variable PRESOLVE_MODELS asks for another number. */
inline int trials(int usual) {
    const char* const asked = std::getenv("PRESOLVE_MODELS");
    if (asked != nullptr) return std::atoi(asked);
    return orvex::test::SANITIZED ? usual / 4 : usual;
}

/** 1 to 11 variables: trees to cliques, lattices and twins, weights to 1, 3 or 100, fields or none.
 */
inline SparseQubo random_model(std::mt19937& random) {
    const auto below = [&](int limit) { return static_cast<int>(random() % unsigned(limit)); };
    const int size = 1 + below(11);
    const int largest = std::vector{1, 1, 3, 100}[unsigned(below(4))];
    const int density = std::vector{15, 30, 60, 100}[unsigned(below(4))];
    const auto weight = [&] { return std::int64_t{below(2 * largest + 1) - largest}; };

    std::vector<Coupling> couplings;
    const int shape = below(4);
    for (int i = 0; i < size; ++i) {
        if (shape == 1 && i > 0) couplings.push_back({below(i), i, weight()});    // a tree and more
        if (shape == 2 && i % 3 != 0) couplings.push_back({i - 1, i, weight()});  // a lattice
        if (shape == 2 && i >= 3) couplings.push_back({i - 3, i, weight()});
        for (int j = 0; j < i; ++j)
            if (below(100) < density / (shape == 0 ? 1 : 6)) couplings.push_back({i, j, weight()});
    }
    if (shape == 3 && size > 2)  // twins, joined or not
        for (int k = 2; k < size; ++k) {
            const std::int64_t shared = weight();
            couplings.push_back({0, k, shared});
            couplings.push_back({1, k, (size % 2 == 0 ? 2 : -1) * shared});
        }
    std::vector<std::int64_t> linear(static_cast<std::size_t>(size));
    const int fields = below(3);  // none in the view of spins, some, everywhere
    for (const auto& [i, j, w] : couplings)
        if (fields == 0) linear[std::size_t(i)] -= w, linear[std::size_t(j)] -= w;
    for (auto& term : linear) {
        if (fields == 0) term /= 2;
        if (fields == 2 || (fields == 1 && below(3) == 0)) term = weight();
    }
    if (fields == 0) {  // even weights, so that the fields are gone exactly
        for (auto& [i, j, w] : couplings)
            w *= 2;
        std::fill(linear.begin(), linear.end(), 0);
        for (const auto& [i, j, w] : couplings)
            linear[std::size_t(i)] -= w / 2, linear[std::size_t(j)] -= w / 2;
    }
    return sparse_qubo(std::move(linear), std::move(couplings));
}

/** Bit i of a number as the value of variable i. */
inline Bits bits_of_number(unsigned number, int size) {
    Bits bits(static_cast<std::size_t>(size));
    for (auto& bit : bits) {
        bit = number & 1;
        number >>= 1;
    }
    return bits;
}

inline std::vector<std::int64_t> all_energies(const SparseQubo& qubo) {
    std::vector<std::int64_t> energies{0};
    for (int i = 0; i < qubo.size(); ++i) {
        const auto neighbours = qubo.neighbours_of(i);
        const auto weights = qubo.weights_of(i);
        const std::size_t before = energies.size();
        for (std::size_t x = 0; x < before; ++x) {
            std::int64_t energy = energies[x] + qubo.linear[std::size_t(i)];
            for (std::size_t k = 0; k < neighbours.size() && neighbours[k] < i; ++k)
                if ((x >> neighbours[k] & 1) != 0) energy += weights[k];
            energies.push_back(energy);
        }
    }
    return energies;
}

inline std::string as_text(const SparseQubo& qubo) {
    std::string text = "linear";
    for (const auto term : qubo.linear)
        text += " " + std::to_string(term);
    for (int i = 0; i < qubo.size(); ++i)
        for (std::size_t k = 0; k < qubo.degree(i); ++k)
            if (const int j = qubo.neighbours_of(i)[k]; j > i)
                text += ", (" + std::to_string(i) + " " + std::to_string(j) +
                        "): " + std::to_string(qubo.weights_of(i)[k]);
    return text;
}

/** What is wrong with a reduction, by trying all solutions of both models; empty if nothing is. */
inline std::string fault_of(const SparseQubo& qubo, const Presolved& presolved) {
    const std::vector<std::int64_t> energies = all_energies(qubo);
    const auto original = [&](const Bits& bits) {
        std::size_t number = 0;
        for (std::size_t i = bits.size(); i-- > 0;)
            number = 2 * number + bits[i];
        return Wide{energies[number]};
    };
    const Wide optimum = *std::min_element(energies.begin(), energies.end());
    const SparseQubo& reduced = presolved.reduced();
    if (reduced.size() != presolved.reduced_size()) return "two sizes";

    const std::vector<std::int64_t> left = all_energies(reduced);
    Wide best = std::numeric_limits<std::int64_t>::max();
    for (unsigned y = 0; y < left.size(); ++y) {
        const Wide claimed = (left[y] + presolved.offset()) / presolved.factor();
        if (original(presolved.restore(bits_of_number(y, reduced.size()))) > claimed)
            return "a restored solution is worse than claimed";
        best = std::min(best, claimed);
    }
    if (best != optimum) return "the optimum is not kept";
    for (unsigned x = 0; x < energies.size(); ++x) {
        const Bits bits = bits_of_number(x, qubo.size());
        if (original(presolved.restore(presolved.project(bits))) > energies[x])
            return "a projected solution is worse";
    }
    if (presolved.bound() && *presolved.bound() > optimum) return "the bound is above the optimum";
    if (presolved.optimal() && (!presolved.bound() || *presolved.bound() != optimum))
        return "an optimum without its bound";
    return {};
}

/** Expects that no random model shows a fault. @return how many variables were taken out in all */
inline long expect_exact(const std::function<Presolved(const SparseQubo&)>& reduce, int models,
                         unsigned seed = 1) {
    std::mt19937 random(seed);
    long taken = 0;
    for (int trial = 0; trial < models; ++trial) {
        const SparseQubo qubo = random_model(random);
        const Presolved presolved = reduce(qubo);
        const std::string fault = fault_of(qubo, presolved);
        EXPECT_EQ(fault, "") << "model " << trial << ": " << as_text(qubo);
        if (!fault.empty()) break;
        taken += qubo.size() - presolved.reduced_size();
    }
    return taken;
}

}  // namespace small_models
