// A tour through the stops of a route and its local search: two edges are exchanged (2-opt: G. A.
// Croes, Operations Research 6, 1958), or up to three stops move elsewhere (I. Or, 1976), while
// that makes the tour shorter. Only near stops are looked at, and only around what changed (J. L.
// Bentley, ORSA Journal on Computing 4, 1992). Kicks lead out of a local optimum: two neighbouring
// stretches of the tour change places (the double bridge of O. Martin, S. W. Otto and E. W. Felten,
// Complex Systems 5, 1991). Invariant: the length is that of the order.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "toolkit/companion/route.hpp"

namespace orvex::toolkit {

class Tour {
  public:
    /** Where a tour stands, to come back to. */
    struct Standing {
        Route::Order order;
        std::vector<std::int32_t> places;  ///< of each stop in the order
        Wide length = 0;
    };

    /** @param route outlives the tour */
    explicit Tour(const Route& route);

    void stand_at(const Route::Order& order);
    /** To a local optimum, from what was kicked or stood at. */
    void improve();
    void kick(std::mt19937_64& random);

    const Standing& standing() const { return now_; }
    /** @param standing a local optimum */
    void return_to(const Standing& standing) { now_ = standing; }

  private:
    std::int64_t distance(std::int32_t one, std::int32_t other) const {
        return route_->distance(one, other);
    }
    /** The stop after another, or before it. */
    std::int32_t beside(std::int32_t stop, bool after) const;
    bool improve_at(std::int32_t stop);
    bool exchange_edges(std::int32_t stop, bool after);
    bool move_stretch(std::int32_t stop, bool after);
    void turn_round(std::int32_t first, std::int32_t last);
    void exchange(std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d);
    void look_at(std::int32_t stop);

    const Route* route_;
    std::vector<std::vector<std::int32_t>> near_;  ///< of each stop, the nearest first
    Standing now_;
    std::vector<std::int32_t> waiting_;  ///< stops to be looked at
    std::vector<bool> waits_;
};

}  // namespace orvex::toolkit
