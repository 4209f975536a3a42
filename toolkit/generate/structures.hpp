// Graphs with the structure of things in a plane or in space, and random ones of a given degree.
// All coordinates and weights are whole numbers; docs/generators.md defines each.
#pragma once

#include "toolkit/generate/graphs.hpp"
#include "toolkit/generate/matrices.hpp"

namespace orvex::toolkit::generate {

/**
 * A network like that of roads: connected, nearly planar, of low degree.
 *
 * @param size at least 2
 * @param degree mean number of neighbours, from 2 to 4
 */
Graph road(int size, double degree, std::uint64_t seed);

/**
 * Random points of a square, those joined that are closer than a distance.
 *
 * @param degree number of neighbours to be expected away from the square's border, at least 1
 */
Graph geometric(int size, int degree, std::uint64_t seed);

/** A box of vertices, each joined to the next one in every direction. */
struct Box {
    int rows, columns, layers;
    bool closed;  ///< the last one is joined to the first; no length but 1 is then below 3
};

/** Vertex (layer * rows + row) * columns + column. */
Graph lattice(const Box& box);

/** Makes the weights normally distributed with this standard deviation, rounded. */
void draw_gaussian(Graph& graph, int deviation, std::uint64_t seed);

/** A graph in which nearly all vertices have this degree, and none has more. */
Graph regular(int size, int degree, std::uint64_t seed);

/** The model with the graph's edges as couplings; these, and linear terms, are drawn from the
 * range. */
GeneratedModel weighted(const Graph& graph, Range range, std::uint64_t seed);

}  // namespace orvex::toolkit::generate
