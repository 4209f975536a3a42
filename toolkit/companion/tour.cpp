#include "toolkit/companion/tour.hpp"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <numeric>

namespace orvex::toolkit {
namespace {

constexpr std::size_t NEAR = 10;
constexpr std::int32_t LONGEST_MOVED = 3;
constexpr std::int32_t LONGEST_KICKED = 30;

std::size_t at(std::int32_t i) {
    return static_cast<std::size_t>(i);
}

}  // namespace

Tour::Tour(const Route& route) : route_(&route), near_(at(route.stops())) {
    for (std::int32_t stop = 0; stop < route.stops(); ++stop) {
        std::vector<std::int32_t> others(at(route.stops()));
        std::iota(others.begin(), others.end(), 0);
        others.erase(others.begin() + stop);
        const auto end =
            others.begin() + static_cast<std::ptrdiff_t>(std::min(NEAR, others.size()));
        std::partial_sort(others.begin(), end, others.end(),
                          [&](std::int32_t one, std::int32_t other) {
                              return distance(stop, one) < distance(stop, other);
                          });
        near_[at(stop)].assign(others.begin(), end);
    }
}

void Tour::stand_at(const Route::Order& order) {
    now_.order = order;
    now_.places.resize(order.size());
    waits_.assign(order.size(), false);
    waiting_.clear();
    for (std::int32_t place = 0; place < route_->stops(); ++place) {
        now_.places[at(order[at(place)])] = place;
        look_at(order[at(place)]);
    }
    now_.length = route_->length(order);
}

std::int32_t Tour::beside(std::int32_t stop, bool after) const {
    const std::int32_t place = now_.places[at(stop)];
    if (after) return now_.order[place + 1 == route_->stops() ? 0 : at(place) + 1];
    return now_.order[place == 0 ? now_.order.size() - 1 : at(place) - 1];
}

void Tour::look_at(std::int32_t stop) {
    if (waits_[at(stop)]) return;
    waits_[at(stop)] = true;
    waiting_.push_back(stop);
}

void Tour::improve() {
    while (!waiting_.empty()) {
        const std::int32_t stop = waiting_.back();
        waiting_.pop_back();
        waits_[at(stop)] = false;
        while (improve_at(stop)) {
        }
    }
}

bool Tour::improve_at(std::int32_t stop) {
    for (const bool after : {true, false})
        if (exchange_edges(stop, after) || move_stretch(stop, after)) return true;
    return false;
}

/** Turns round what lies between two steps of the tour: to a near stop in place of the one beside.
 */
bool Tour::exchange_edges(std::int32_t stop, bool after) {
    const std::int32_t old = beside(stop, after);
    for (const std::int32_t other : near_[at(stop)]) {
        const std::int64_t gain = distance(stop, old) - distance(stop, other);
        if (gain <= 0) break;
        const std::int32_t left = beside(other, after);
        const std::int64_t change = distance(old, left) - distance(other, left) - gain;
        if (change >= 0) continue;
        now_.length += change;
        exchange(stop, old, other, left);
        return true;
    }
    return false;
}

/** Puts a stretch that begins at the stop between two others, the stop beside one that is near. */
bool Tour::move_stretch(std::int32_t stop, bool after) {
    const std::int32_t before = beside(stop, after);
    std::array<std::int32_t, LONGEST_MOVED> stretch{};
    const std::int32_t longest = std::min(LONGEST_MOVED, route_->stops() - 3);
    std::int32_t last = stop;
    for (std::int32_t count = 1; count <= longest; ++count) {
        if (count > 1) last = beside(last, !after);
        stretch[at(count - 1)] = last;
        const auto moved = [&](std::int32_t x) {
            return std::find(stretch.begin(), stretch.begin() + count, x) !=
                   stretch.begin() + count;
        };
        const std::int32_t next = beside(last, !after);
        const std::int64_t freed =
            distance(before, stop) + distance(last, next) - distance(before, next);
        for (const std::int32_t other : near_[at(stop)]) {
            if (distance(stop, other) >= freed) break;
            if (moved(other)) continue;
            for (const bool side : {true, false}) {
                const std::int32_t far = beside(other, side);
                if (moved(far)) continue;
                // Along the way from `before` through the stretch to `next`, the step is from x to
                // y.
                const std::int32_t x = side == after ? far : other;
                const std::int32_t y = side == after ? other : far;
                if (y == before) continue;
                const std::int64_t change =
                    distance(stop, other) + distance(last, far) - distance(other, far) - freed;
                if (change >= 0) continue;
                now_.length += change;
                exchange(before, stop, x, y);
                if (x != next) exchange(before, x, next, last);
                if (x == other) exchange(x, last, stop, y);
                return true;
            }
        }
    }
    return false;
}

/** Takes out the steps a b and c d, which go one way, and puts in a c and b d. */
void Tour::exchange(std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d) {
    for (const std::int32_t stop : {a, b, c, d})
        look_at(stop);
    if (beside(a, true) == b) {
        assert(beside(c, true) == d);
        turn_round(b, c);
    } else {
        assert(beside(b, true) == a && beside(d, true) == c);
        turn_round(a, d);
    }
}

/** Of what lies between two stops and the rest of the tour, the shorter is turned round. */
void Tour::turn_round(std::int32_t first, std::int32_t last) {
    const std::int32_t stops = route_->stops();
    std::int32_t i = now_.places[at(first)], j = now_.places[at(last)];
    std::int32_t count = j - i + 1 + (j < i ? stops : 0);
    if (2 * count > stops) {
        std::swap(i, j);
        i = i + 1 == stops ? 0 : i + 1;
        j = j == 0 ? stops - 1 : j - 1;
        count = stops - count;
    }
    for (; count > 1; count -= 2) {
        std::swap(now_.order[at(i)], now_.order[at(j)]);
        now_.places[at(now_.order[at(i)])] = i;
        now_.places[at(now_.order[at(j)])] = j;
        i = i + 1 == stops ? 0 : i + 1;
        j = j == 0 ? stops - 1 : j - 1;
    }
}

void Tour::kick(std::mt19937_64& random) {
    const std::int32_t stops = route_->stops();
    const std::int32_t longest = std::min(LONGEST_KICKED, (stops - 2) / 2);
    std::uniform_int_distribution<std::int32_t> any_length(1, longest), any_place(0, stops - 1);
    const std::int32_t begin = any_place(random);
    const std::int32_t one = any_length(random), other = any_length(random);
    const auto stop_at = [&](std::int32_t k) -> std::int32_t& {
        return now_.order[at((begin + k) % stops)];
    };
    const std::array<std::int32_t, 6> ends{stop_at(0),           stop_at(1),
                                           stop_at(one),         stop_at(one + 1),
                                           stop_at(one + other), stop_at(one + other + 1)};
    std::vector<std::int32_t> moved;
    for (std::int32_t k = 1; k <= one + other; ++k)
        moved.push_back(stop_at(k));
    std::rotate(moved.begin(), moved.begin() + one, moved.end());
    for (std::int32_t k = 1; k <= one + other; ++k) {
        stop_at(k) = moved[at(k - 1)];
        now_.places[at(moved[at(k - 1)])] = (begin + k) % stops;
    }
    now_.length += static_cast<Wide>(distance(ends[0], ends[3])) + distance(ends[4], ends[1]) +
                   distance(ends[2], ends[5]) - distance(ends[0], ends[1]) -
                   distance(ends[2], ends[3]) - distance(ends[4], ends[5]);
    for (const std::int32_t stop : ends)
        look_at(stop);
}

}  // namespace orvex::toolkit
