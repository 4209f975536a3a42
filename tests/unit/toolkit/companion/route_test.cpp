// Models that are a route are recognised whatever their numbering, others are not, and the tours of
// a recognised one have the energies of their bits.
#include "toolkit/companion/route.hpp"

#include <algorithm>
#include <numeric>
#include <utility>

#include <gtest/gtest.h>

#include "toolkit/companion/companion.hpp"
#include "toolkit/companion/tour.hpp"
#include "unit/toolkit/companion/models.hpp"

namespace orvex::toolkit {
namespace {

using namespace test;

/** A round tour of cities, or with `home` one whose first stop is not among the variables. */
struct Trip {
    int cities;
    bool home = false;
    bool symmetric = true;
    unsigned seed = 1;

    std::int64_t distance(int one, int other) const {
        if (symmetric && one > other) std::swap(one, other);
        std::mt19937_64 random(seed * 1000003 + static_cast<unsigned>(one * 1009 + other));
        random.discard(3);
        return 1 + static_cast<std::int64_t>(random() % 50);
    }

    Groups groups() const {
        std::vector<std::vector<std::int32_t>> members = permutation_groups(cities);
        const std::size_t count = members.size();
        return {std::move(members), std::vector<bool>(count, true)};
    }

    SparseQubo qubo() const {
        const auto variable = [&](int city, int place) { return city * cities + place; };
        std::vector<std::int64_t> linear(static_cast<std::size_t>(cities * cities));
        std::vector<Coupling> pairs;
        for (int a = 0; a < cities; ++a)
            for (int b = 0; b < cities; ++b)
                for (int place = 0; place < (home ? cities - 1 : cities); ++place)
                    if (a != b)
                        pairs.push_back({variable(a, place), variable(b, (place + 1) % cities),
                                         distance(a, b)});
        for (int city = 0; home && city < cities; ++city)
            for (const int place : {0, cities - 1})
                linear[static_cast<std::size_t>(variable(city, place))] += distance(city, cities);
        for (const auto& group : permutation_groups(cities))
            expect_one(group, 200, linear, pairs);
        return sparse_qubo(std::move(linear), std::move(pairs));
    }
};

/** The same model with its variables numbered in another order, and the groups with it. */
std::pair<SparseQubo, Groups> renumbered(const SparseQubo& qubo, Groups groups, unsigned seed) {
    std::vector<std::int32_t> number(qubo.linear.size());
    std::iota(number.begin(), number.end(), 0);
    std::shuffle(number.begin(), number.end(), std::mt19937_64(seed));
    std::vector<std::int64_t> linear(number.size());
    std::vector<Coupling> pairs;
    for (std::int32_t i = 0; i < qubo.size(); ++i) {
        const std::int32_t now = number[static_cast<std::size_t>(i)];
        linear[static_cast<std::size_t>(now)] = qubo.linear[static_cast<std::size_t>(i)];
        for (std::size_t k = 0; k < qubo.degree(i); ++k)
            if (const std::int32_t j = qubo.neighbours_of(i)[k]; i < j)
                pairs.push_back({now, number[static_cast<std::size_t>(j)], qubo.weights_of(i)[k]});
    }
    for (auto& members : groups.members)
        for (std::int32_t& member : members)
            member = number[static_cast<std::size_t>(member)];
    return {sparse_qubo(std::move(linear), std::move(pairs)), std::move(groups)};
}

std::optional<Route> route_of(const SparseQubo& qubo, const Groups& groups) {
    return find_route(qubo, Families(groups, qubo.size()));
}

Route::Order any_order(int stops, std::mt19937_64& random) {
    Route::Order order(static_cast<std::size_t>(stops));
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), random);
    return order;
}

Wide shortest(const Route& route) {
    Route::Order order(static_cast<std::size_t>(route.stops()));
    std::iota(order.begin(), order.end(), 0);
    Wide least = route.length(order);
    while (std::next_permutation(order.begin() + 1, order.end()))
        least = std::min(least, route.length(order));
    return least;
}

TEST(ROUTE_TEST, tours_have_the_energy_of_their_bits) {
    for (const bool home : {false, true})
        for (const int cities : {5, 6, 12}) {
            const Trip trip{cities, home};
            const auto [qubo, groups] = renumbered(trip.qubo(), trip.groups(), 7);
            const std::optional<Route> route = route_of(qubo, groups);
            ASSERT_TRUE(route);
            EXPECT_EQ(route->stops(), cities + home);
            std::mt19937_64 random(3);
            const Route::Order first = any_order(route->stops(), random);
            const Wide constant = energy_of(qubo, route->bits_of(first)) - route->length(first);
            for (int k = 0; k < 50; ++k) {
                const Route::Order order = any_order(route->stops(), random);
                const Bits bits = route->bits_of(order);
                EXPECT_EQ(energy_of(qubo, bits), route->length(order) + constant);
                EXPECT_EQ(route->bits_of(route->order_of(bits)), bits);
            }
        }
}

TEST(ROUTE_TEST, is_found_with_the_groups_that_are_found) {
    for (const bool home : {false, true}) {
        const SparseQubo qubo = Trip{8, home}.qubo();
        EXPECT_TRUE(route_of(qubo, find_groups(qubo)));
    }
}

TEST(ROUTE_TEST, takes_any_bits_for_a_tour) {
    const Trip trip{7};
    const Route route = *route_of(trip.qubo(), trip.groups());
    for (unsigned seed = 0; seed < 50; ++seed) {
        Route::Order order = route.order_of(random_bits(49, seed));
        std::sort(order.begin(), order.end());
        EXPECT_EQ(order, (Route::Order{0, 1, 2, 3, 4, 5, 6}));
    }
}

TEST(ROUTE_TEST, is_not_invented) {
    const Trip trip{8};
    const auto is_route = [&](const SparseQubo& qubo) {
        return route_of(qubo, trip.groups()).has_value();
    };
    EXPECT_TRUE(is_route(trip.qubo()));
    EXPECT_FALSE(is_route(assignment(8, 1)));
    EXPECT_FALSE(is_route(Trip{8, false, false}.qubo())) << "one way is longer than the other";
    const auto changed = [&](std::vector<std::int64_t> linear, std::vector<Coupling> more) {
        SparseQubo qubo = trip.qubo();
        for (std::int32_t i = 0; i < qubo.size(); ++i)
            for (std::size_t k = 0; k < qubo.degree(i); ++k)
                if (const std::int32_t j = qubo.neighbours_of(i)[k]; i < j)
                    more.push_back({i, j, qubo.weights_of(i)[k]});
        linear.resize(qubo.linear.size());
        for (std::size_t i = 0; i < linear.size(); ++i)
            linear[i] += qubo.linear[i];
        return sparse_qubo(std::move(linear), std::move(more));
    };
    EXPECT_FALSE(is_route(changed({}, {{3 * 8 + 2, 5 * 8 + 3, 1}}))) << "one step costs more";
    EXPECT_FALSE(is_route(changed({}, {{3 * 8 + 2, 5 * 8 + 4, 1}}))) << "places further off";
    EXPECT_FALSE(is_route(changed({0, 0, 0, 1}, {}))) << "a city in a place costs more";
    // What a city costs wherever it is, and a place whatever is there, is the same for every tour.
    std::vector<std::int64_t> anywhere(64);
    for (std::size_t k = 0; k < 8; ++k)
        anywhere[3 * 8 + k] += 5, anywhere[k * 8 + 2] -= 4;
    EXPECT_TRUE(is_route(changed(anywhere, {})));
}

TEST(ROUTE_TEST, needs_both_families_whole) {
    const Trip trip{6};
    Groups groups = trip.groups();
    groups.exactly_one[2] = false;
    EXPECT_FALSE(route_of(trip.qubo(), groups)) << "a city may be left out";
    groups = trip.groups();
    groups.members.resize(6);
    groups.exactly_one.resize(6);
    EXPECT_FALSE(route_of(trip.qubo(), groups)) << "no groups of places";
    groups = trip.groups();
    for (auto& members : groups.members)
        members.pop_back();
    EXPECT_FALSE(route_of(trip.qubo(), groups)) << "variables without groups";
}

TEST(TOUR_TEST, length_is_that_of_the_order_after_every_step) {
    for (const int cities : {5, 6, 7, 8, 11, 40})
        for (const bool home : {false, true}) {
            const Trip trip{cities, home, true, 5};
            const Route route = *route_of(trip.qubo(), trip.groups());
            Tour tour(route);
            std::mt19937_64 random(1);
            tour.stand_at(any_order(route.stops(), random));
            for (int step = 0; step < 300; ++step) {
                tour.improve();
                ASSERT_EQ(tour.standing().length, route.length(tour.standing().order));
                for (std::size_t k = 0; k < tour.standing().order.size(); ++k)
                    ASSERT_EQ(
                        tour.standing().places[static_cast<std::size_t>(tour.standing().order[k])],
                        static_cast<std::int32_t>(k));
                tour.kick(random);
                ASSERT_EQ(tour.standing().length, route.length(tour.standing().order));
            }
        }
}

TEST(TOUR_TEST, local_optima_are_never_longer_than_where_they_began) {
    const Trip trip{30};
    const Route route = *route_of(trip.qubo(), trip.groups());
    Tour tour(route);
    std::mt19937_64 random(2);
    for (int k = 0; k < 50; ++k) {
        const Route::Order order = any_order(30, random);
        tour.stand_at(order);
        tour.improve();
        EXPECT_LE(tour.standing().length, route.length(order));
        Route::Order sorted = tour.standing().order;
        std::sort(sorted.begin(), sorted.end());
        EXPECT_EQ(sorted, route.order_of(Bits(900))) << "each city once";
    }
}

TEST(TOUR_TEST, kicks_lead_to_the_shortest_of_all_tours) {
    for (unsigned seed = 1; seed <= 5; ++seed)
        for (const bool home : {false, true}) {
            const Trip trip{7, home, true, seed};
            const SparseQubo qubo = trip.qubo();
            const Route route = *route_of(qubo, trip.groups());
            const Wide constant = energy_of(qubo, route.bits_of(route.order_of(Bits(49)))) -
                                  route.length(route.order_of(Bits(49)));
            CompanionOptions options;
            options.groups = trip.groups();
            Companion companion(qubo, options);
            companion.start();
            EXPECT_TRUE(companion.wait_for_better(constant + shortest(route) + 1, 20))
                << seed << home;
            companion.stop();
        }
}

TEST(TOUR_TEST, offers_are_taken_and_the_best_is_told) {
    const Trip trip{9};
    const SparseQubo qubo = trip.qubo();
    CompanionOptions options;
    options.groups = trip.groups();
    options.threads = 2;
    Companion companion(qubo, options);
    companion.offer(Bits(81, 1));
    companion.start();
    ASSERT_TRUE(companion.wait_for_better(-2 * 9 * 200 + 9 * 51, 20));
    companion.stop();
    const auto best = companion.better_than(0);
    ASSERT_TRUE(best);
    EXPECT_EQ(best->energy, energy_of(qubo, best->bits));
}

}  // namespace
}  // namespace orvex::toolkit
