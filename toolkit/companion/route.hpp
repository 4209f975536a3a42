// Routes: models of one-hot groups that are a symmetric travelling salesman problem, whoever wrote
// it and however its variables are numbered. Two families of groups cross everywhere (each city has
// one place, each place one city), places follow each other in a ring or a row, and what two
// neighbouring places cost depends on their two cities alone (A. Lucas, "Ising formulations of many
// NP problems", Frontiers in Physics 2, 2014, section 7.2). Invariant: for every tour the energy of
// its bits is its length and a constant.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "toolkit/companion/moves.hpp"
#include "toolkit/model/sparse_qubo.hpp"

namespace orvex::toolkit {

class Route {
  public:
    /** Stops in the order of a closed tour, each once. */
    using Order = std::vector<std::int32_t>;

    /** Stops of a tour: the cities, and where places are in a row one more between its ends. */
    std::int32_t stops() const { return stops_; }
    /** What it costs that two stops follow each other, in either order. */
    std::int64_t distance(std::int32_t one, std::int32_t other) const {
        return distances_[static_cast<std::size_t>(one) * static_cast<std::size_t>(stops_) +
                          static_cast<std::size_t>(other)];
    }
    Wide length(const Order& order) const;

    Bits bits_of(const Order& order) const;
    /** The tour of these bits; where they are none, one that has much in common with them. */
    Order order_of(const Bits& bits) const;

  private:
    friend class RouteFinder;

    std::int32_t stops_ = 0, places_ = 0;
    std::vector<std::int64_t> distances_;
    std::vector<std::int32_t> variables_;  ///< of each city, one for each place along the way
};

/** The route that a model is, if it is one of at least five places. */
std::optional<Route> find_route(const SparseQubo& qubo, const Families& families);

}  // namespace orvex::toolkit
