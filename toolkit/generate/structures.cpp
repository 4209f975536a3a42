#include "toolkit/generate/structures.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "toolkit/generate/sequences.hpp"
#include "toolkit/generate/terms.hpp"
#include "toolkit/model/bounds.hpp"

namespace orvex::toolkit::generate {
namespace {

std::size_t at(int k) {
    return static_cast<std::size_t>(k);
}

/** Takes `wanted` of `left` things that come one by one, every choice of them equally likely. */
class Sample {
  public:
    Sample(std::uint64_t wanted, std::uint64_t left) : wanted_(wanted), left_(left) {}

    bool takes(Congruential& sequence) {
        const bool taken = sequence.next() * left_-- < wanted_ << 32;
        wanted_ -= taken;
        return taken;
    }

  private:
    std::uint64_t wanted_, left_;
};

void drop_repeated(std::vector<Edge>& edges) {
    const auto key = [](const Edge& edge) { return std::pair(edge.low, edge.high); };
    std::sort(edges.begin(), edges.end(),
              [&](const Edge& a, const Edge& b) { return key(a) < key(b); });
    edges.erase(std::unique(edges.begin(), edges.end(),
                            [&](const Edge& a, const Edge& b) { return key(a) == key(b); }),
                edges.end());
}

}  // namespace

Graph road(int size, double degree, std::uint64_t seed) {
    const int columns = std::max(1, static_cast<int>(std::sqrt(size)));
    Congruential sequence(seed);
    Graph graph{size, {}};
    std::vector<Edge> others;
    // Each vertex leads left or up, which joins all of them; the other way may be a street as well.
    for (int vertex = 1; vertex < size; ++vertex) {
        const bool has_left = vertex % columns != 0, has_upper = vertex >= columns;
        const bool goes_left = has_left && (!has_upper || sequence.between(0, 1) == 0);
        const Edge left{vertex - 1, vertex}, upper{vertex - columns, vertex};
        graph.edges.push_back(goes_left ? left : upper);
        if (has_left && has_upper) others.push_back(goes_left ? upper : left);
    }
    const int crossings = size / 200;
    const auto edges = static_cast<std::int64_t>(std::llround(size * degree / 2));
    const std::int64_t missing =
        std::clamp<std::int64_t>(edges - static_cast<std::int64_t>(graph.edges.size()) - crossings,
                                 0, static_cast<std::int64_t>(others.size()));
    Sample sample(static_cast<std::uint64_t>(missing), others.size());
    for (const Edge& edge : others)
        if (sample.takes(sequence)) graph.edges.push_back(edge);
    // Bridges and tunnels: to a vertex two or three rows below and as many columns aside.
    for (int k = 0; k < crossings; ++k) {
        const auto from = static_cast<int>(sequence.between(0, size - 1));
        const auto to =
            static_cast<int>(from + sequence.between(2, 3) * columns + sequence.between(-3, 3));
        if (to < size && to > from) graph.edges.push_back({from, to});
    }
    drop_repeated(graph.edges);
    return graph;
}

Graph geometric(int size, int degree, std::uint64_t seed) {
    constexpr std::int64_t SIDE = std::int64_t{1} << 20;
    struct Point {
        std::int64_t x, y;
    };
    Congruential sequence(seed);
    std::vector<Point> points(at(size));
    for (Point& point : points) {
        point.x = sequence.between(0, SIDE - 1);
        point.y = sequence.between(0, SIDE - 1);
    }
    // size pi r^2 = degree SIDE^2, with 355/113 for pi: all of it in whole numbers.
    const auto square = static_cast<std::int64_t>(Wide{degree} * SIDE * SIDE * 113 / 355 / size);
    std::int64_t reach = static_cast<std::int64_t>(std::sqrt(static_cast<double>(square))) + 1;
    reach = std::clamp(reach, SIDE / 1024, SIDE);  // no more than a million cells
    const auto cells = static_cast<int>(SIDE / reach + 1);
    std::vector<std::vector<int>> inside(at(cells) * at(cells));
    const auto cell_of = [&](std::int64_t x, std::int64_t y) {
        return static_cast<std::size_t>(y / reach * cells + x / reach);
    };
    Graph graph{size, {}};
    for (int vertex = 0; vertex < size; ++vertex) {
        const auto [x, y] = points[at(vertex)];
        for (std::int64_t cy = std::max<std::int64_t>(y / reach - 1, 0);
             cy <= std::min<std::int64_t>(y / reach + 1, cells - 1); ++cy)
            for (std::int64_t cx = std::max<std::int64_t>(x / reach - 1, 0);
                 cx <= std::min<std::int64_t>(x / reach + 1, cells - 1); ++cx)
                for (const int other : inside[cell_of(cx * reach, cy * reach)]) {
                    const std::int64_t dx = points[at(other)].x - x, dy = points[at(other)].y - y;
                    if (dx * dx + dy * dy < square) graph.edges.push_back({other, vertex});
                }
        inside[cell_of(x, y)].push_back(vertex);
    }
    drop_repeated(graph.edges);
    return graph;
}

Graph lattice(const Box& box) {
    const auto [rows, columns, layers, closed] = box;
    Graph graph{rows * columns * layers, {}};
    const auto vertex = [&](int layer, int row, int column) {
        return (layer * box.rows + row) * box.columns + column;
    };
    const auto connect = [&](int u, int v) {
        graph.edges.push_back({std::min(u, v), std::max(u, v)});
    };
    for (int layer = 0; layer < layers; ++layer)
        for (int row = 0; row < rows; ++row)
            for (int column = 0; column < columns; ++column) {
                const int here = vertex(layer, row, column);
                if (column + 1 < columns || (closed && columns > 1))
                    connect(here, vertex(layer, row, (column + 1) % columns));
                if (row + 1 < rows || (closed && rows > 1))
                    connect(here, vertex(layer, (row + 1) % rows, column));
                if (layer + 1 < layers || (closed && layers > 1))
                    connect(here, vertex((layer + 1) % layers, row, column));
            }
    return graph;
}

/** The sum of twelve uniform numbers, less 6, has the variance 1 and is close to normal. */
void draw_gaussian(Graph& graph, int deviation, std::uint64_t seed) {
    Congruential sequence(seed);
    for (Edge& edge : graph.edges) {
        std::int64_t sum = -(std::int64_t{6} << 32);
        for (int k = 0; k < 12; ++k)
            sum += static_cast<std::int64_t>(sequence.next());
        constexpr std::int64_t ONE = std::int64_t{1} << 32;
        const std::int64_t scaled = sum * deviation;
        edge.weight = static_cast<int>((scaled + (scaled < 0 ? -ONE / 2 : ONE / 2)) / ONE);
    }
}

Graph regular(int size, int degree, std::uint64_t seed) {
    std::vector<int> ends(at(size) * at(degree));
    for (std::size_t k = 0; k < ends.size(); ++k)
        ends[k] = static_cast<int>(k % at(size));
    Congruential sequence(seed);
    for (std::size_t k = ends.size(); k > 1; --k)
        std::swap(
            ends[k - 1],
            ends[static_cast<std::size_t>(sequence.between(0, static_cast<std::int64_t>(k) - 1))]);
    Graph graph{size, {}};
    for (std::size_t k = 0; k + 1 < ends.size(); k += 2)
        if (ends[k] != ends[k + 1])
            graph.edges.push_back({std::min(ends[k], ends[k + 1]), std::max(ends[k], ends[k + 1])});
    drop_repeated(graph.edges);
    return graph;
}

GeneratedModel weighted(const Graph& graph, Range range, std::uint64_t seed) {
    Congruential sequence(seed);
    Terms terms(graph.size);
    for (int i = 0; i < graph.size; ++i)
        terms.add(i, i, sequence.between(range.smallest, range.largest));
    for (const Edge& edge : graph.edges)
        terms.add(edge.low, edge.high, sequence.between(range.smallest, range.largest));
    return terms.model();
}

}  // namespace orvex::toolkit::generate
