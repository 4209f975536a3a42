#include "toolkit/generate/graphs.hpp"

#include <algorithm>
#include <array>
#include <numeric>

#include "toolkit/generate/sequences.hpp"
#include "toolkit/io/pair_set.hpp"

namespace orvex::toolkit::generate {
namespace {

int sign(Subtractive& sequence) {
    return sequence.below(2) == 1 ? 1 : -1;
}

/** The entry of a vertex: minus the weights of its edges. */
void add_vertex(Row& row, int vertex, std::int64_t weights) {
    if (weights != 0) row.push_back({vertex, -weights});
}

}  // namespace

Graph random_graph(int size, std::int64_t edges, std::uint32_t seed) {
    Graph graph{size, {}};
    graph.edges.reserve(static_cast<std::size_t>(edges));
    PairSet pairs;
    Subtractive sequence(seed);
    const auto vertices = static_cast<std::uint32_t>(size);
    while (static_cast<std::int64_t>(graph.edges.size()) < edges) {
        const int u = static_cast<int>(sequence.below(vertices));
        const int v = static_cast<int>(sequence.below(vertices));
        if (u != v && pairs.insert(u, v)) graph.edges.push_back({std::min(u, v), std::max(u, v)});
    }
    return graph;
}

Graph torus(int rows, int columns) {
    Graph graph{rows * columns, {}};
    const auto connect = [&](int u, int v) {
        graph.edges.push_back({std::min(u, v), std::max(u, v)});
    };
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < columns; ++c)
            connect(r * columns + c, r * columns + (c + 1) % columns);
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < columns; ++c)
            connect(r * columns + c, (r + 1) % rows * columns + c);
    return graph;
}

Graph planar(int size, double density, std::uint32_t seed) {
    Graph graph{size, {{0, 1}, {0, 2}, {1, 2}}};
    std::vector<std::array<int, 3>> triangles{{0, 1, 2}};
    Subtractive sequence(seed);
    const auto random_place = [&](const auto& list) {
        return sequence.below(static_cast<std::uint32_t>(list.size()));
    };
    for (int vertex = 3; vertex < size; ++vertex) {
        auto& triangle = triangles[random_place(triangles)];
        const auto [a, b, c] = triangle;
        for (const int corner : {a, b, c})
            graph.edges.push_back({corner, vertex});
        triangle = {a, b, vertex};
        triangles.push_back({a, c, vertex});
        triangles.push_back({b, c, vertex});
    }
    const double stay = density * static_cast<double>(graph.edges.size()) / 100;
    while (static_cast<double>(graph.edges.size()) > stay) {
        graph.edges[random_place(graph.edges)] = graph.edges.back();
        graph.edges.pop_back();
    }
    return graph;
}

/** Counted as made in the reverse order of their making, the first graph's before the second's. */
Graph united(const Graph& first, const Graph& second) {
    Graph graph{first.size, {}};
    PairSet pairs;
    for (const Graph* part : {&first, &second})
        for (auto edge = part->edges.rbegin(); edge != part->edges.rend(); ++edge)
            if (pairs.insert(edge->low, edge->high)) graph.edges.push_back(*edge);
    return graph;
}

/** Vertices draw in turn, each for its edges to later ones, the edge made last first. */
void draw_signs(Graph& graph, std::uint32_t seed) {
    std::vector<std::size_t> order(graph.edges.size());
    std::iota(order.rbegin(), order.rend(), 0);
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return graph.edges[a].low < graph.edges[b].low;
    });
    Subtractive sequence(seed);
    for (const std::size_t edge : order)
        graph.edges[edge].weight = sign(sequence);
}

GeneratedModel max_cut(Graph graph) {
    std::vector<std::int64_t> weights(static_cast<std::size_t>(graph.size));
    for (const Edge& edge : graph.edges)
        for (const int vertex : {edge.low, edge.high})
            weights[static_cast<std::size_t>(vertex)] += edge.weight;
    std::sort(graph.edges.begin(), graph.edges.end(), [](const Edge& a, const Edge& b) {
        return a.low != b.low ? a.low < b.low : a.high < b.high;
    });
    return {graph.size,
            [weights = std::move(weights), edges = std::move(graph.edges)](const TakeRow& take) {
                auto edge = edges.begin();
                for (int i = 0; i < static_cast<int>(weights.size()); ++i) {
                    Row row;
                    add_vertex(row, i, weights[static_cast<std::size_t>(i)]);
                    for (; edge != edges.end() && edge->low == i; ++edge)
                        row.push_back({edge->high, 2 * std::int64_t{edge->weight}});
                    take(i, row);
                }
            }};
}

GeneratedModel max_cut_of_signed_clique(int size, std::uint32_t seed) {
    return {size, [=](const TakeRow& take) {
                Subtractive sequence(seed);
                std::vector<std::int64_t> weights(static_cast<std::size_t>(size));
                std::vector<int> signs(static_cast<std::size_t>(size));
                for (int i = 0; i < size; ++i) {
                    const auto from = static_cast<std::size_t>(i);
                    for (std::size_t j = signs.size() - 1; j > from; --j) {
                        signs[j] = sign(sequence);
                        weights[from] += signs[j];
                        weights[j] += signs[j];
                    }
                    Row row;
                    add_vertex(row, i, weights[from]);
                    for (std::size_t j = from + 1; j < signs.size(); ++j)
                        row.push_back({static_cast<int>(j), 2 * std::int64_t{signs[j]}});
                    take(i, row);
                }
            }};
}

}  // namespace orvex::toolkit::generate
