// Sparse models to try the companion on, each small enough to be looked through.
#pragma once

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "toolkit/model/sparse_qubo.hpp"

namespace orvex::toolkit::test {

/** That many couplings of random pairs, weights from -range to range without 0. */
inline SparseQubo random_sparse(int size, int couplings, std::int64_t range, unsigned seed,
                                bool linear = true) {
    std::mt19937_64 random(seed);
    std::uniform_int_distribution<std::int64_t> magnitude(1, range);
    const auto weight = [&] { return random() % 2 != 0 ? magnitude(random) : -magnitude(random); };
    std::uniform_int_distribution<std::int32_t> variable(0, size - 1);
    std::vector<std::int64_t> own(static_cast<std::size_t>(size));
    if (linear)
        for (std::int64_t& each : own)
            each = weight();
    std::vector<Coupling> pairs;
    while (pairs.size() < static_cast<std::size_t>(couplings)) {
        const std::int32_t i = variable(random);
        const std::int32_t j = variable(random);
        if (i != j) pairs.push_back({i, j, weight()});
    }
    return sparse_qubo(std::move(own), std::move(pairs));
}

/** The cut of a torus of rows and columns whose edges weigh 1 or -1. */
inline SparseQubo torus(int rows, int columns, unsigned seed) {
    std::mt19937_64 random(seed);
    const auto size = static_cast<std::size_t>(rows * columns);
    std::vector<std::int64_t> linear(size);
    std::vector<Coupling> pairs;
    const auto join = [&](int a, int b) {
        const std::int64_t edge = random() % 2 != 0 ? 1 : -1;
        linear[static_cast<std::size_t>(a)] -= edge;
        linear[static_cast<std::size_t>(b)] -= edge;
        pairs.push_back({a, b, 2 * edge});
    };
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < columns; ++c) {
            join(r * columns + c, r * columns + (c + 1) % columns);
            join(r * columns + c, (r + 1) % rows * columns + c);
        }
    return sparse_qubo(std::move(linear), std::move(pairs));
}

inline Bits random_bits(int size, unsigned seed) {
    std::mt19937_64 random(seed);
    Bits bits(static_cast<std::size_t>(size));
    for (std::uint8_t& bit : bits)
        bit = random() % 2 != 0;
    return bits;
}

/** The lowest energy of a model of up to 24 variables, by looking at all of its solutions. */
inline Wide lowest_energy(const SparseQubo& qubo) {
    Bits bits(qubo.linear.size());
    Wide lowest = 0;
    for (std::uint32_t code = 0; code < 1u << bits.size(); ++code) {
        for (std::size_t i = 0; i < bits.size(); ++i)
            bits[i] = (code >> i) & 1;
        lowest = std::min(lowest, energy_of(qubo, bits));
    }
    return lowest;
}

/** x[first + k] for all k: exactly one of them is 1, at this penalty; its constant is left out. */
inline void expect_one(const std::vector<std::int32_t>& members, std::int64_t penalty,
                       std::vector<std::int64_t>& linear, std::vector<Coupling>& pairs) {
    for (std::size_t a = 0; a < members.size(); ++a) {
        linear[static_cast<std::size_t>(members[a])] -= penalty;
        for (std::size_t b = 0; b < a; ++b)
            pairs.push_back({members[a], members[b], 2 * penalty});
    }
}

/** Rows and columns of a permutation of that many things: variable thing * count + place. */
inline std::vector<std::vector<std::int32_t>> permutation_groups(int count) {
    std::vector<std::vector<std::int32_t>> groups;
    for (int thing = 0; thing < count; ++thing) {
        groups.emplace_back();
        for (int place = 0; place < count; ++place)
            groups.back().push_back(thing * count + place);
    }
    for (int place = 0; place < count; ++place) {
        groups.emplace_back();
        for (int thing = 0; thing < count; ++thing)
            groups.back().push_back(thing * count + place);
    }
    return groups;
}

/** A quadratic assignment of random flows and distances. */
inline SparseQubo assignment(int count, unsigned seed) {
    std::mt19937_64 random(seed);
    const auto size = static_cast<std::size_t>(count);
    std::vector<std::int64_t> flows(size * size), distances(size * size);
    for (auto* numbers : {&flows, &distances})
        for (std::int64_t& each : *numbers)
            each = static_cast<std::int64_t>(random() % 10);
    std::vector<std::int64_t> linear(size * size);
    std::vector<Coupling> pairs;
    for (std::size_t f = 0; f < size; ++f)
        for (std::size_t g = 0; g < size; ++g)
            for (std::size_t p = 0; p < size; ++p)
                for (std::size_t q = 0; q < size; ++q)
                    if (f != g && p != q)
                        pairs.push_back({static_cast<std::int32_t>(f * size + p),
                                         static_cast<std::int32_t>(g * size + q),
                                         flows[f * size + g] * distances[p * size + q]});
    const std::int64_t penalty = 100 * count;
    for (const auto& group : permutation_groups(count))
        expect_one(group, penalty, linear, pairs);
    return sparse_qubo(std::move(linear), std::move(pairs));
}

/** A colouring: vertex v has colour c where variable v * colours + c is 1. */
inline SparseQubo colouring(int vertices, int colours, int edges, unsigned seed) {
    std::mt19937_64 random(seed);
    std::vector<std::int64_t> linear(static_cast<std::size_t>(vertices * colours));
    std::vector<Coupling> pairs;
    for (int v = 0; v < vertices; ++v) {
        std::vector<std::int32_t> group;
        for (int c = 0; c < colours; ++c)
            group.push_back(v * colours + c);
        expect_one(group, 4, linear, pairs);
    }
    // The planted colour of a vertex is its number's remainder.
    for (int e = 0; e < edges;) {
        const int u = static_cast<int>(random() % static_cast<unsigned>(vertices));
        const int v = static_cast<int>(random() % static_cast<unsigned>(vertices));
        if (u % colours == v % colours) continue;
        ++e;
        for (int c = 0; c < colours; ++c)
            pairs.push_back({u * colours + c, v * colours + c, 1});
    }
    return sparse_qubo(std::move(linear), std::move(pairs));
}

}  // namespace orvex::toolkit::test
