// Visits each of n cities once and comes home by the shortest way; the tour is drawn into
// travelling_salesman.svg. The program ends with 1 where it does not find the optimum.
//
// The bit (c, p) says that city c is the p-th on the tour; city 0 stays where it is, since a tour
// may begin anywhere. The QUBO is the length, the sum of distance(c, d) x[c, p] x[d, p + 1], and a
// penalty A (1 - sum)^2 for each city and each place, of which exactly one bit is 1; A is the
// longest distance twice over, more than a city too many or too few saves. Told of these groups,
// the search swaps cities and never climbs over the penalties.
//
// The cities are those of Ulysses's odyssey, ulysses16 of TSPLIB, whose shortest tour has 6859 km.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <exception>
#include <fstream>
#include <iostream>
#include <vector>

#include <orvex/toolkit.hpp>

namespace {

struct Place {
    double north, east;  // degrees and minutes
};

constexpr std::array<Place, 16> PLACES = {{{38.24, 20.42},
                                           {39.57, 26.15},
                                           {40.56, 25.32},
                                           {36.26, 23.12},
                                           {33.48, 10.54},
                                           {37.56, 12.19},
                                           {38.42, 13.11},
                                           {37.52, 20.44},
                                           {41.23, 9.10},
                                           {41.17, 13.05},
                                           {36.08, -5.21},
                                           {38.47, 15.13},
                                           {38.15, 15.35},
                                           {37.51, 15.17},
                                           {35.49, 14.32},
                                           {39.36, 19.56}}};
constexpr int CITIES = PLACES.size();
constexpr long OPTIMUM = 6859;

double radians(double value) {
    const double degrees = std::trunc(value);
    return 3.141592 * (degrees + 5 * (value - degrees) / 3) / 180;
}

/** In kilometres, as TSPLIB measures them on its globe. */
long distance(int a, int b) {
    if (a == b) return 0;
    const Place &from = PLACES[static_cast<std::size_t>(a)],
                &to = PLACES[static_cast<std::size_t>(b)];
    const double q1 = std::cos(radians(from.east) - radians(to.east));
    const double q2 = std::cos(radians(from.north) - radians(to.north));
    const double q3 = std::cos(radians(from.north) + radians(to.north));
    return static_cast<long>(6378.388 * std::acos(0.5 * ((1 + q1) * q2 - (1 - q1) * q3)) + 1);
}

/** Cities and places are counted from 1 here. */
int bit(int city, int place) {
    return (city - 1) * (CITIES - 1) + place - 1;
}

/** A sum of terms as the toolkit takes it. */
struct Terms {
    std::vector<std::uint32_t> pairs;
    std::vector<std::int64_t> values;

    void add(int i, int j, long value) {
        pairs.insert(pairs.end(), {static_cast<std::uint32_t>(i), static_cast<std::uint32_t>(j)});
        values.push_back(value);
    }
};

void draw(const std::vector<int>& tour) {
    std::ofstream svg("travelling_salesman.svg");
    svg << "<svg xmlns='http://www.w3.org/2000/svg' viewBox='-6.5 -42 34 10'>\n<polygon points='";
    const auto at = [](int city) { return PLACES[static_cast<std::size_t>(city)]; };
    for (const int city : tour)
        svg << at(city).east << ',' << -at(city).north << ' ';
    svg << "' fill='none' stroke='steelblue' stroke-width='0.1'/>\n";
    for (const int city : tour)
        svg << "<circle cx='" << at(city).east << "' cy='" << -at(city).north << "' r='0.2'/>\n"
            << "<text x='" << at(city).east + 0.3 << "' y='" << -at(city).north
            << "' font-size='0.8'>" << city + 1 << "</text>\n";
    svg << "</svg>\n";
}

}  // namespace

int main() {
    using namespace orvex;
    long longest = 0;
    for (int a = 0; a < CITIES; ++a)
        for (int b = 0; b < a; ++b)
            longest = std::max(longest, distance(a, b));
    const long penalty = 2 * longest;

    Terms terms;
    for (int c = 1; c < CITIES; ++c) {
        terms.add(bit(c, 1), bit(c, 1), distance(0, c));
        terms.add(bit(c, CITIES - 1), bit(c, CITIES - 1), distance(c, 0));
        for (int d = 1; d < CITIES; ++d)
            for (int place = 1; c != d && place + 1 < CITIES; ++place)
                terms.add(bit(c, place), bit(d, place + 1), distance(c, d));
    }
    toolkit::Groups groups;
    for (int k = 1; k < CITIES; ++k) {
        std::vector<std::int32_t> city, place;
        for (int other = 1; other < CITIES; ++other) {
            city.push_back(bit(k, other));
            place.push_back(bit(other, k));
        }
        groups.members.insert(groups.members.end(), {city, place});
    }
    groups.exactly_one.assign(groups.members.size(), true);
    for (const std::vector<std::int32_t>& group : groups.members)
        for (const std::int32_t i : group)
            for (const std::int32_t j : group)
                terms.add(i, j, i == j ? -penalty : penalty);
    const long constant = penalty * static_cast<long>(groups.members.size());

    try {
        const toolkit::Problem problem =
            toolkit::problem_of_terms((CITIES - 1) * (CITIES - 1), terms.pairs, terms.values);
        const toolkit::Result result = toolkit::solve(
            problem, {.time_limit = 60, .target = OPTIMUM - constant, .groups = groups});

        std::vector<int> tour = {0};
        for (int place = 1; place < CITIES; ++place)
            for (int city = 1; city < CITIES; ++city)
                if (result.solution.get(bit(city, place))) tour.push_back(city);
        long length = 0;
        for (std::size_t k = 0; k < tour.size(); ++k)
            length += distance(tour[k], tour[(k + 1) % tour.size()]);
        std::cout << length << " km by";
        for (const int city : tour)
            std::cout << ' ' << city + 1;
        std::cout << "; the shortest is " << OPTIMUM << " km\n";
        draw(tour);
        return tour.size() == CITIES && length == OPTIMUM ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}
