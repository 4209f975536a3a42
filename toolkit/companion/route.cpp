#include "toolkit/companion/route.hpp"

#include <algorithm>
#include <array>
#include <cstddef>

namespace orvex::toolkit {
namespace {

constexpr std::int32_t NONE = Families::NONE;
constexpr std::int32_t LEAST_PLACES = 5;

std::size_t at(std::int32_t i) {
    return static_cast<std::size_t>(i);
}

}  // namespace

Wide Route::length(const Order& order) const {
    Wide sum = 0;
    for (std::size_t k = 0; k < order.size(); ++k)
        sum += distance(order[k], order[k + 1 < order.size() ? k + 1 : 0]);
    return sum;
}

Bits Route::bits_of(const Order& order) const {
    Bits bits(variables_.size());
    // What is no city stands behind the last place.
    const auto hidden = std::find(order.begin(), order.end(), places_);
    std::size_t k =
        hidden == order.end() ? 0 : static_cast<std::size_t>(hidden - order.begin()) + 1;
    for (std::int32_t place = 0; place < places_; ++place, ++k)
        bits[at(variables_[at(order[k % order.size()]) * at(places_) + at(place)])] = 1;
    return bits;
}

Route::Order Route::order_of(const Bits& bits) const {
    Order order(at(stops_), NONE);
    std::vector<bool> seen(at(stops_));
    for (std::int32_t place = 0; place < places_; ++place)
        for (std::int32_t city = 0; city < places_ && order[at(place)] == NONE; ++city)
            if (!seen[at(city)] && bits[at(variables_[at(city) * at(places_) + at(place)])] != 0) {
                order[at(place)] = city;
                seen[at(city)] = true;
            }
    std::int32_t next = 0;
    for (std::int32_t& stop : order) {
        if (stop != NONE) continue;
        while (seen[at(next)])
            ++next;
        stop = next++;
    }
    return order;
}

/** Looks at a model with one of the two families as the places. */
class RouteFinder {
  public:
    RouteFinder(const SparseQubo& qubo, const Families& families, std::size_t family)
        : qubo_(&qubo), families_(&families), family_(family) {}

    std::optional<Route> find() {
        if (number_groups() && line_up() && read_distances() && read_ends())
            return std::move(route_);
        return std::nullopt;
    }

  private:
    std::int32_t place_of(std::int32_t variable) const {
        return numbers_[at(families_->group_of(variable, family_))];
    }
    std::int32_t city_of(std::int32_t variable) const {
        return numbers_[at(families_->group_of(variable, 1 - family_))];
    }
    std::int64_t& distance(std::int32_t one, std::int32_t other) {
        return route_.distances_[at(one) * at(route_.stops_) + at(other)];
    }
    std::int64_t linear(std::int32_t city, std::int32_t place) const {
        return qubo_->linear[at(route_.variables_[at(city) * at(places_) + at(place)])];
    }

    /** Calls see(one, other, weight) for each coupling whose two variables may both be 1. */
    template <class SEE>
    bool each_coupling(SEE see) const {
        for (std::int32_t i = 0; i < qubo_->size(); ++i)
            for (std::size_t k = 0; k < qubo_->degree(i); ++k) {
                const std::int32_t j = qubo_->neighbours_of(i)[k];
                if (place_of(i) == place_of(j) || city_of(i) == city_of(j)) continue;
                if (!see(i, j, qubo_->weights_of(i)[k])) return false;
            }
        return true;
    }

    /** Whether every city and place cross in one variable, and nothing else is there. */
    bool number_groups() {
        numbers_.assign(families_->groups(), NONE);
        std::array<std::int32_t, 2> counts{};
        for (std::int32_t i = 0; i < qubo_->size(); ++i)
            for (const std::size_t family : {std::size_t{0}, std::size_t{1}}) {
                const std::int32_t group = families_->group_of(i, family);
                if (group == NONE || !families_->exactly_one(group)) return false;
                if (numbers_[at(group)] == NONE) numbers_[at(group)] = counts[family]++;
            }
        places_ = counts[family_];
        if (places_ < LEAST_PLACES || counts[1 - family_] != places_) return false;
        // Two groups share no more than one variable, so this many fill the table.
        return at(places_) * at(places_) == qubo_->linear.size();
    }

    /** Whether places that are coupled make one ring or row; numbers them along it. */
    bool line_up() {
        std::vector<std::array<std::int32_t, 2>> beside(at(places_), {NONE, NONE});
        const auto join = [&](std::int32_t one, std::int32_t other) {
            for (std::int32_t& neighbour : beside[at(one)]) {
                if (neighbour == other) return true;
                if (neighbour == NONE) {
                    neighbour = other;
                    return true;
                }
            }
            return false;
        };
        if (!each_coupling([&](std::int32_t i, std::int32_t j, std::int64_t) {
                return join(place_of(i), place_of(j));
            }))
            return false;
        const auto end = std::find_if(beside.begin(), beside.end(),
                                      [](const auto& two) { return two[1] == NONE; });
        ring_ = end == beside.end();
        std::vector<std::int32_t> ranks(at(places_), NONE);
        std::int32_t place = ring_ ? 0 : static_cast<std::int32_t>(end - beside.begin());
        for (std::int32_t rank = 0; rank < places_; ++rank) {
            if (place == NONE) return false;
            ranks[at(place)] = rank;
            const auto& [one, other] = beside[at(place)];
            const auto is_new = [&](std::int32_t next) {
                return next != NONE && ranks[at(next)] == NONE;
            };
            place = is_new(one) ? one : is_new(other) ? other : NONE;
        }
        route_.places_ = places_;
        route_.stops_ = ring_ ? places_ : places_ + 1;
        route_.variables_.resize(qubo_->linear.size());
        for (std::int32_t i = 0; i < qubo_->size(); ++i)
            route_.variables_[at(city_of(i)) * at(places_) + at(ranks[at(place_of(i))])] = i;
        ranks_ = std::move(ranks);
        return true;
    }

    /** Whether every two neighbouring places have the same costs, the same in both directions. */
    bool read_distances() {
        route_.distances_.assign(at(route_.stops_) * at(route_.stops_), 0);
        const auto follows = [&](std::int32_t i, std::int32_t j) {
            const std::int32_t next = ranks_[at(place_of(i))] + 1;
            return ranks_[at(place_of(j))] == (next == places_ ? 0 : next);
        };
        each_coupling([&](std::int32_t i, std::int32_t j, std::int64_t weight) {
            if (ranks_[at(place_of(i))] == 0 && follows(i, j))
                distance(city_of(i), city_of(j)) = weight;
            return true;
        });
        std::size_t expected = 0, found = 0;
        for (std::int32_t one = 0; one < places_; ++one)
            for (std::int32_t other = 0; other < places_; ++other) {
                if (distance(one, other) != distance(other, one)) return false;
                expected += distance(one, other) != 0;
            }
        return each_coupling([&](std::int32_t i, std::int32_t j, std::int64_t weight) {
                   found += follows(i, j);
                   return distance(city_of(i), city_of(j)) == weight;
               }) &&
               found == expected * at(ring_ ? places_ : places_ - 1);
    }

    /**
     * Whether linear terms are a sum of what the city and what the place costs, which is the same
     * for every tour; those of a row's two ends may be the distances from one more stop.
     */
    bool read_ends() {
        constexpr std::int32_t INNER = 1;
        const std::int32_t last = places_ - 1;
        const auto above = [&](std::int32_t city, std::int32_t place) {
            return static_cast<Wide>(linear(city, place)) - linear(city, INNER) -
                   (static_cast<Wide>(linear(0, place)) - linear(0, INNER));
        };
        for (std::int32_t place = 0; place < places_; ++place)
            for (std::int32_t city = 0; city < places_; ++city) {
                const Wide sum = above(city, place);
                if (ring_ || (place > 0 && place < last)) {
                    if (sum != 0) return false;
                } else if (place == 0) {
                    if (sum > MOST || sum < -MOST) return false;
                    distance(city, places_) = distance(places_, city) =
                        static_cast<std::int64_t>(sum);
                } else if (sum != distance(city, places_)) {
                    return false;
                }
            }
        if (ring_) return true;
        std::int64_t least = 0;
        for (std::int32_t city = 0; city < places_; ++city)
            least = std::min(least, distance(city, places_));
        for (std::int32_t city = 0; city < places_; ++city)
            distance(city, places_) = distance(places_, city) = distance(city, places_) - least;
        return true;
    }

    /** Sums of some distances fit into 64 bits. */
    static constexpr Wide MOST = Wide{1} << 59;

    const SparseQubo* qubo_;
    const Families* families_;
    std::size_t family_;
    Route route_;
    std::int32_t places_ = 0;
    bool ring_ = false;
    std::vector<std::int32_t> numbers_;  ///< of each group within its family
    std::vector<std::int32_t> ranks_;    ///< of each place along the way
};

std::optional<Route> find_route(const SparseQubo& qubo, const Families& families) {
    for (const std::size_t family : {std::size_t{0}, std::size_t{1}})
        if (std::optional<Route> route = RouteFinder(qubo, families, family).find()) return route;
    return std::nullopt;
}

}  // namespace orvex::toolkit
