// What presolve leaves of models, and the processor time that it takes: one row of a table for
// each.
//
//     orvex_bench_presolve [full] MODEL...
//
// A MODEL is a file, or a generated model FAMILY:SIZE, made anew and without a dense matrix:
//
//     tree         random tree, weights -9 to 9, linear terms too
//     sparse       random QUBO with twice as many couplings as variables, weights -9 to 9
//     heavy        the same with 15 couplings for each variable
//     cut          Max-Cut of a random graph with as many edges as vertices
//     grid         square lattice with random weights -9 to 9 and no field
//     road         largest independent set of a square lattice with two of three edges
//     geometric    Max-Cut of a random geometric graph with six neighbours on average
#include "toolkit/presolve/presolve.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <exception>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <utility>
#include <vector>

#include "toolkit/io/read.hpp"

using namespace orvex::toolkit;

namespace {

class Maker {
  public:
    explicit Maker(int size) : size_(size), linear_(static_cast<std::size_t>(size)) {}

    int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    int signed_weight() { return below(19) - 9; }
    void couple(int i, int j, int weight) { couplings_.push_back({i, j, weight}); }
    void cut(int i, int j, int weight) {
        couple(i, j, 2 * weight);
        linear_[static_cast<std::size_t>(i)] -= weight;
        linear_[static_cast<std::size_t>(j)] -= weight;
    }
    void fill_linear(int term) { std::fill(linear_.begin(), linear_.end(), term); }
    void draw_linear() {
        for (auto& term : linear_)
            term = signed_weight();
    }
    void random_pairs(int count, bool cut_them) {
        for (int k = 0; k < count; ++k) {
            const int i = below(size_), j = below(size_);
            if (i == j) continue;
            if (cut_them)
                cut(i, j, 1);
            else
                couple(i, j, signed_weight());
        }
    }
    void lattice(bool glass) {
        const int side = static_cast<int>(std::sqrt(size_));
        for (int v = 0; v < side * side; ++v)
            for (const int u : {v + 1, v + side}) {
                const bool there = u == v + 1 ? u % side != 0 : u < side * side;
                if (there && glass)
                    cut(v, u, signed_weight());
                else if (there && below(3) != 0)
                    couple(v, u, 2);
            }
    }
    void geometric(double neighbours) {
        std::vector<std::pair<double, double>> points(linear_.size());
        std::uniform_real_distribution<double> coordinate;
        for (auto& point : points)
            point = {coordinate(random_), coordinate(random_)};
        const double radius = std::sqrt(neighbours / (3.141592653589793 * size_));
        std::map<std::pair<int, int>, std::vector<int>> cells;
        const auto cell = [&](double x) { return static_cast<int>(x / radius); };
        for (int i = 0; i < size_; ++i) {
            const auto [x, y] = points[static_cast<std::size_t>(i)];
            for (int dx = -1; dx <= 1; ++dx)
                for (int dy = -1; dy <= 1; ++dy)
                    for (const int j : cells[{cell(x) + dx, cell(y) + dy}]) {
                        const auto [a, b] = points[static_cast<std::size_t>(j)];
                        if (std::hypot(x - a, y - b) < radius) cut(i, j, 1);
                    }
            cells[{cell(x), cell(y)}].push_back(i);
        }
    }
    SparseQubo take() { return sparse_qubo(std::move(linear_), std::move(couplings_)); }

  private:
    int size_;
    std::mt19937 random_{1};
    std::vector<std::int64_t> linear_;
    std::vector<Coupling> couplings_;
};

SparseQubo generated(const std::string& family, int size) {
    Maker maker(size);
    if (family == "tree") {
        for (int v = 1; v < size; ++v)
            maker.couple(maker.below(v), v, maker.signed_weight());
        maker.draw_linear();
    } else if (family == "sparse" || family == "heavy") {
        maker.random_pairs(size * (family == "sparse" ? 2 : 15), false);
        maker.draw_linear();
    } else if (family == "cut") {
        maker.random_pairs(size, true);
    } else if (family == "grid" || family == "road") {
        if (family == "road") maker.fill_linear(-1);
        maker.lattice(family == "grid");
    } else if (family == "geometric") {
        maker.geometric(6);
    } else {
        throw std::runtime_error("no family " + family);
    }
    return maker.take();
}

SparseQubo model_of(const std::string& name) {
    const auto colon = name.find(':');
    if (colon != std::string::npos)
        return generated(name.substr(0, colon), std::stoi(name.substr(colon + 1)));
    return sparse_qubo(*read_problem(name).model);
}

std::string title_of(const std::string& name) {
    const std::string file = name.substr(name.find_last_of('/') + 1);
    return file.substr(0, file.find(".qubo"));
}

void measure(const std::string& name, const PresolveOptions& options) {
    const SparseQubo qubo = model_of(name);
    std::vector<double> times;
    std::vector<RuleUse> uses;
    for (int run = 0; run < (qubo.size() < 30000 ? 3 : 1); ++run) {
        const std::clock_t start = std::clock();
        const Presolved presolved = presolve(qubo, options);
        times.push_back(1e3 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
        if (presolved.optimal() && energy_of(qubo, presolved.restore({})) != presolved.bound())
            throw std::runtime_error(name + ": the optimum does not have the energy of its bound");
        if (run > 0) continue;
        uses = presolved.rules();
        std::printf("| %s | %d | %zu | %d | %zu |", title_of(name).c_str(), qubo.size(),
                    qubo.couplings(), presolved.reduced_size(), presolved.reduced().couplings());
        std::printf(" %s%s |", presolved.bound() ? to_string(*presolved.bound()).c_str() : "",
                    presolved.optimal() ? " optimal" : "");
    }
    std::nth_element(times.begin(), times.begin() + 1, times.end());
    std::printf(" %.1f |", times.size() > 1 ? times[1] : times[0]);
    const char* separator = " ";
    for (const RuleUse& use : uses) {
        if (use.nodes == 0) continue;
        std::printf("%s%s %ld", separator, use.rule, use.nodes);
        separator = ", ";
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf(" | %ld |\n", usage.ru_maxrss / 1024);
}

}  // namespace

int main(int count, char** arguments) try {
    PresolveOptions options;
    std::puts(
        "| model | variables | couplings | variables left | couplings left | bound | ms "
        "| variables taken by rules | peak MB |");
    std::puts("| --- | ---: | ---: | ---: | ---: | ---: | ---: | --- | ---: |");
    for (int i = 1; i < count; ++i) {
        if (std::string(arguments[i]) == "full")
            options.effort = PresolveEffort::FULL;
        else
            measure(arguments[i], options);
    }
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
