// Gives each vertex of a graph one of a few colours so that no edge has one colour at both ends;
// the graph is drawn into graph_colouring.svg. The program ends with 1 where an edge is wrong.
//
// The bit (v, c) says that vertex v has colour c. The QUBO counts the wrong edges, the sum of
// x[u, c] x[v, c] over all edges and colours, and has a penalty A (1 - sum)^2 for each vertex,
// which has exactly one colour; A = 7 is more than the at most 6 edges of a vertex.
//
// The graph is a map: places on a triangular grid, of which some are missing. It lies on the plane,
// so four colours are enough; by how it is made three are, and the program takes as many.
#include <cstdint>
#include <exception>
#include <fstream>
#include <iostream>
#include <optional>
#include <utility>
#include <vector>

#include <orvex/toolkit.hpp>

namespace {

constexpr int ROWS = 9, COLUMNS = 14, COLOURS = 3, PENALTY = 7;

struct Map {
    std::vector<std::pair<int, int>> places;  // row and column of each vertex
    std::vector<std::pair<int, int>> edges;
};

Map make_map() {
    Map map;
    std::vector<std::vector<int>> number(ROWS, std::vector<int>(COLUMNS, -1));
    std::uint32_t random = 1;
    for (int row = 0; row < ROWS; ++row)
        for (int column = 0; column < COLUMNS; ++column) {
            random = random * 1664525 + 1013904223;
            if (random >> 28 < 2) continue;  // one in eight is missing
            number[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)] =
                static_cast<int>(map.places.size());
            map.places.emplace_back(row, column);
        }
    const auto at = [&](int row, int column) -> std::optional<int> {
        if (row < 0 || column < 0 || column >= COLUMNS) return std::nullopt;
        const int v = number[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)];
        return v < 0 ? std::nullopt : std::optional(v);
    };
    for (int v = 0; v < static_cast<int>(map.places.size()); ++v) {
        const auto [row, column] = map.places[static_cast<std::size_t>(v)];
        for (const auto& u : {at(row, column - 1), at(row - 1, column), at(row - 1, column + 1)})
            if (u) map.edges.emplace_back(*u, v);
    }
    return map;
}

void draw(const Map& map, const std::vector<int>& colour) {
    constexpr const char* FILL[] = {"tomato", "gold", "steelblue", "white"};
    const auto x = [&](int v) {
        const auto [row, column] = map.places[static_cast<std::size_t>(v)];
        return column + 0.5 * row + 1;
    };
    const auto y = [&](int v) { return 0.87 * map.places[static_cast<std::size_t>(v)].first + 1; };
    std::ofstream svg("graph_colouring.svg");
    svg << "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 " << COLUMNS + ROWS / 2 + 2 << ' '
        << ROWS << "'>\n";
    for (const auto& [u, v] : map.edges)
        svg << "<line x1='" << x(u) << "' y1='" << y(u) << "' x2='" << x(v) << "' y2='" << y(v)
            << "' stroke='gray' stroke-width='0.05'/>\n";
    for (int v = 0; v < static_cast<int>(colour.size()); ++v)
        svg << "<circle cx='" << x(v) << "' cy='" << y(v) << "' r='0.25' stroke='black'"
            << " stroke-width='0.03' fill='" << FILL[colour[static_cast<std::size_t>(v)]]
            << "'/>\n";
    svg << "</svg>\n";
}

}  // namespace

int main() {
    using namespace orvex;
    const Map map = make_map();
    const int vertices = static_cast<int>(map.places.size());
    std::vector<std::uint32_t> pairs;
    std::vector<std::int64_t> values;
    const auto bit = [](int vertex, int colour) { return COLOURS * vertex + colour; };
    const auto add = [&](int i, int j, long value) {
        pairs.insert(pairs.end(), {static_cast<std::uint32_t>(i), static_cast<std::uint32_t>(j)});
        values.push_back(value);
    };
    toolkit::Groups groups;
    for (int v = 0; v < vertices; ++v) {
        groups.members.emplace_back();
        for (int c = 0; c < COLOURS; ++c) {
            groups.members.back().push_back(bit(v, c));
            for (int d = 0; d < COLOURS; ++d)
                add(bit(v, c), bit(v, d), c == d ? -PENALTY : PENALTY);
        }
    }
    groups.exactly_one.assign(groups.members.size(), true);
    for (const auto& [u, v] : map.edges)
        for (int c = 0; c < COLOURS; ++c)
            add(bit(u, c), bit(v, c), 1);

    try {
        const toolkit::Problem problem =
            toolkit::problem_of_terms(COLOURS * vertices, pairs, values);
        const toolkit::Result result = toolkit::solve(
            problem, {.time_limit = 60, .target = -PENALTY * vertices, .groups = groups});

        std::vector<int> colour(static_cast<std::size_t>(vertices), COLOURS);
        bool complete = true;
        for (int v = 0; v < vertices; ++v) {
            int chosen = 0;
            for (int c = 0; c < COLOURS; ++c)
                if (result.solution.get(bit(v, c))) {
                    colour[static_cast<std::size_t>(v)] = c;
                    ++chosen;
                }
            complete = complete && chosen == 1;
        }
        int wrong = 0;
        for (const auto& [u, v] : map.edges)
            wrong += colour[static_cast<std::size_t>(u)] == colour[static_cast<std::size_t>(v)];
        std::cout << vertices << " vertices, " << map.edges.size() << " edges, " << COLOURS
                  << " colours, " << wrong << " edges wrong\n";
        draw(map, colour);
        return complete && wrong == 0 ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}
