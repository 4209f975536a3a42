// Finds the ground state of a spin glass, which is drawn into spin_glass.svg. The program ends with
// 1 where its energy is not the least.
//
// Spins of -1 or 1 stand on a square lattice, each coupled to its neighbours by a J of -1 or 1: the
// energy is the sum of -J s s'. With s = 2 x - 1 that is a QUBO: -J (4 x x' - 2 x - 2 x' + 1).
//
// The lattice has 40 x 12 spins and open borders. So the least energy can also be computed column
// by column, over all states of a column (a transfer matrix), and is compared with what was found.
// The toolkit takes such a lattice apart before any search, with a proof.
#include <algorithm>
#include <array>
#include <cstdint>
#include <exception>
#include <fstream>
#include <iostream>
#include <utility>
#include <vector>

#include <orvex/toolkit.hpp>

namespace {

constexpr int LENGTH = 40, WIDTH = 12;

int spin(int x, int y) {
    return WIDTH * x + y;
}

struct Coupling {
    int from, to, strength;
};

/** Those of a column come one after the other, those to the column before in front of them. */
std::vector<Coupling> make_couplings() {
    std::vector<Coupling> couplings;
    std::uint32_t random = 7;
    const auto sign = [&] { return (random = random * 1664525 + 1013904223) >> 31 ? 1 : -1; };
    for (int x = 0; x < LENGTH; ++x) {
        for (int y = 0; x > 0 && y < WIDTH; ++y)
            couplings.push_back({spin(x - 1, y), spin(x, y), sign()});
        for (int y = 0; y + 1 < WIDTH; ++y)
            couplings.push_back({spin(x, y), spin(x, y + 1), sign()});
    }
    return couplings;
}

/** By the least energies of the columns so far, for each state of the last. */
long least_energy(const std::vector<Coupling>& couplings) {
    std::vector<long> least(1u << WIDTH, 0), next(least.size());
    const auto value = [](std::size_t state, int y) { return (state >> y & 1) != 0 ? 1 : -1; };
    for (const auto& [from, to, strength] : couplings) {
        const int y = to % WIDTH;
        if (from / WIDTH == to / WIDTH) {
            for (std::size_t state = 0; state < least.size(); ++state)
                least[state] -= strength * value(state, y - 1) * value(state, y);
            continue;
        }
        for (std::size_t state = 0; state < least.size(); ++state)  // one spin takes its next value
            next[state] =
                std::min(least[state] - strength, least[state ^ std::size_t{1} << y] + strength);
        least.swap(next);
    }
    return *std::min_element(least.begin(), least.end());
}

void draw(const std::vector<Coupling>& couplings, const orvex::Sol& solution) {
    std::ofstream svg("spin_glass.svg");
    svg << "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 " << LENGTH << ' ' << WIDTH
        << "'>\n";
    for (int x = 0; x < LENGTH; ++x)
        for (int y = 0; y < WIDTH; ++y)
            svg << "<rect x='" << x << "' y='" << y << "' width='1' height='1' fill='"
                << (solution.get(spin(x, y)) ? "silver" : "white") << "'/>\n";
    for (const auto& [from, to, strength] : couplings) {
        const bool pleased = (solution.get(from) == solution.get(to)) == (strength > 0);
        if (pleased) continue;  // the others are drawn as lines between their spins
        const int x = to / WIDTH, y = to % WIDTH;
        const bool along = from / WIDTH != x;
        svg << "<line x1='" << x << "' y1='" << y << "' x2='" << x + (along ? 0 : 1) << "' y2='"
            << y + (along ? 1 : 0) << "' stroke='crimson' stroke-width='0.15'/>\n";
    }
    svg << "</svg>\n";
}

}  // namespace

int main() {
    using namespace orvex;
    const std::vector<Coupling> couplings = make_couplings();
    std::vector<std::uint32_t> pairs;
    std::vector<std::int64_t> values;
    const auto add = [&](int i, int j, long value) {
        pairs.insert(pairs.end(), {static_cast<std::uint32_t>(i), static_cast<std::uint32_t>(j)});
        values.push_back(value);
    };
    long constant = 0;
    for (const auto& [from, to, strength] : couplings) {
        add(from, to, -4 * strength);
        add(from, from, 2 * strength);
        add(to, to, 2 * strength);
        constant -= strength;
    }

    try {
        const toolkit::Problem problem = toolkit::problem_of_terms(LENGTH * WIDTH, pairs, values);
        const toolkit::Result result = toolkit::solve(problem, {.time_limit = 30});

        long energy = 0;  // of the spins themselves
        for (const auto& [from, to, strength] : couplings)
            energy -= result.solution.get(from) == result.solution.get(to) ? strength : -strength;
        const long least = least_energy(couplings);
        std::cout << LENGTH << " x " << WIDTH << " spins: energy " << energy << " ("
                  << toolkit::text_of(result.ending) << "); the ground state has " << least << "\n";
        draw(couplings, result.solution);
        return energy == result.energy + constant && energy == least ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}
