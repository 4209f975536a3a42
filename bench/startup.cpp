// What a run costs beside its search: a dense model of 2000 variables, 100 instances, again and
// again through one solver. The first run also prepares the model's matrix; the later ones do not.
// Writes one line of comma-separated values, times in milliseconds.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include <orvex/orvex.hpp>

namespace {

using CLOCK = std::chrono::steady_clock;
constexpr int VARIABLES = 2000;
constexpr int REPEATS = 11;

struct RUN {
    double whole, search;  // milliseconds
};

RUN run(const orvex::Model& model, const orvex::Param& param) {
    const auto start = CLOCK::now();
    const orvex::Sol result = orvex::Solver(false)(model, param);
    const std::chrono::duration<double, std::milli> whole = CLOCK::now() - start;
    return {whole.count(), 1000 * std::stod(result.get("kernel_time"))};
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

}  // namespace

int main() {
    std::mt19937 draw(1);
    orvex::Model model(VARIABLES, 32);
    for (int i = 0; i < VARIABLES; ++i)
        for (int j = i; j < VARIABLES; ++j)
            model.set(i, j, static_cast<long>(draw() % 201) - 100);
    orvex::Param param;
    param.set("trial_limit", "100");

    const RUN first = run(model, param);
    std::vector<double> whole, search, beside;
    for (int i = 0; i < REPEATS; ++i) {
        const RUN again = run(model, param);
        whole.push_back(again.whole);
        search.push_back(again.search);
        beside.push_back(again.whole - again.search);
    }
    std::puts("variables,first_ms,again_ms,search_ms,beside_ms");
    std::printf("%d,%.1f,%.1f,%.1f,%.1f\n", VARIABLES, first.whole, median(whole), median(search),
                median(beside));
}
