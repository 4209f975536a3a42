// Graphs whose greatest cut is looked for: the energy of a bit vector is minus the weight of the
// edges between the vertices of the set bits and the others. They are those of the graph program
// "rudy" of G. Rinaldi, from whose command lines the published Max-Cut instances come;
// docs/generators.md defines each.
#pragma once

#include <vector>

#include "toolkit/generate/generated_model.hpp"

namespace orvex::toolkit::generate {

struct Edge {
    int low, high;  ///< vertices from 0, in this order
    int weight = 1;
};

/** Edges in the order in which they were made: random weights depend on it. */
struct Graph {
    int size;
    std::vector<Edge> edges;
};

/** That many different edges between random vertices; at most one for each pair. */
Graph random_graph(int size, std::int64_t edges, std::uint32_t seed);

/** A grid that is closed in both directions; vertex r * columns + c. At least 3 by 3. */
Graph torus(int rows, int columns);

/**
 * A triangulated planar graph: each vertex in turn is joined to the three corners of a random
 * triangle; then random edges are taken away.
 *
 * @param size at least 3
 * @param density edges that stay, per cent of all 3 size - 6
 */
Graph planar(int size, double density, std::uint32_t seed);

/** The edges of both, on the same vertices; one that is in both counts once. */
Graph united(const Graph& first, const Graph& second);

/** Makes each weight 1 or -1, with equal chances. */
void draw_signs(Graph& graph, std::uint32_t seed);

/** The model of a graph's Max-Cut problem. */
GeneratedModel max_cut(Graph graph);

/** The model of a complete graph with weights of 1 and -1, which needs no list of its edges. */
GeneratedModel max_cut_of_signed_clique(int size, std::uint32_t seed);

}  // namespace orvex::toolkit::generate
