// Problems with constraints whose lowest energy is known when they are made: because a solution
// that attains a bound is hidden in them, or because they are small enough to be solved beside it.
// Broken constraints have penalties, and docs/generators.md shows why none pays off.
#pragma once

#include "toolkit/generate/generated_model.hpp"

namespace orvex::toolkit::generate {

/** A model and its lowest energy. */
struct Planted {
    GeneratedModel model;
    std::int64_t lowest;
};

/**
 * Colours for the vertices of a graph that has such a colouring; variable vertex * colours +
 * colour.
 *
 * @param edges at most as many as there are pairs of different hidden colours, which is at least
 *     most_edges_of_colouring
 */
Planted colouring(int vertices, int colours, std::int64_t edges, std::uint64_t seed);

/** Edges that every such graph may have: each hidden colour has vertices / colours of them, or one
 * more. */
std::int64_t most_edges_of_colouring(int vertices, int colours);

/**
 * Items with weights and values from 1 to `largest` for a sack that holds half of their weight;
 * after the items' variables come those of the room that is left. The best value is worked out.
 */
Planted knapsack(int items, int largest, std::uint64_t seed);

/**
 * Things to places, at the least sum of costs; variable thing * size + place. The costs are sums of
 * a price of the thing, one of the place, and something more except for a hidden assignment.
 */
Planted assignment(int size, int largest, std::uint64_t seed);

/**
 * Facilities to sites, at the least sum of flow times distance. The largest flows have the least
 * distances where a hidden assignment puts them.
 */
Planted quadratic_assignment(int size, int largest, std::uint64_t seed);

/**
 * Jobs to machines so that all are done at the same time; variable job * machines + machine. Hidden
 * is a schedule in which every machine works `time` without a pause.
 *
 * @param jobs for each machine of the hidden schedule
 * @param time at least `jobs`
 */
Planted schedule(int machines, int jobs, int time, std::uint64_t seed);

}  // namespace orvex::toolkit::generate
