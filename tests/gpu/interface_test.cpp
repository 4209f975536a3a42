// The object interface on GPUs. Every energy that comes back is added up again from the model.
// Needs a GPU. Prints a line for each case; arguments name the cases to run, none means all.
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <orvex/orvex.hpp>

#include "needs_gpu.hpp"

namespace {

int failures = 0;

void expect(bool holds, const std::string& what) {
    if (holds) return;
    ++failures;
    std::printf("  not so: %s\n", what.c_str());
}

orvex::Model randomModel(int n, int bits, long limit, int one_in = 1) {
    std::mt19937_64 random(static_cast<unsigned long>(n));
    orvex::Model model(n, bits);
    const auto weight = [&] {
        return static_cast<long>(random() % static_cast<unsigned long>(2 * limit + 1)) - limit;
    };
    for (int i = 0; i < n; ++i) {
        model.set(i, i, weight());
        for (int j = i + 1; j < n; j += 1 + static_cast<int>(random() % (2 * one_in - 1)))
            model.set(i, j, weight());
    }
    return model;
}

long energyOf(const orvex::Model& model, const orvex::Sol& solution, int n) {
    std::vector<int> ones;
    for (int i = 0; i < n; ++i)
        if (solution.get(i)) ones.push_back(i);
    long energy = 0;
    for (std::size_t a = 0; a < ones.size(); ++a)
        for (std::size_t b = a; b < ones.size(); ++b)
            energy += model.get(ones[a], ones[b]);
    return energy;
}

orvex::Param settings(const std::string& seconds) {
    orvex::Param param;
    param.set("time_limit", seconds);
    return param;
}

orvex::Sol solved(const orvex::Model& model, int n, const orvex::Param& param) {
    const orvex::Sol solution = orvex::Solver(false)(model, param);
    const long energy = std::stol(solution.get("energy"));
    expect(energy == energyOf(model, solution, n),
           "the energy is that of the bits, n = " + std::to_string(n));
    expect(energy < 0, "a random model has a negative energy");
    expect(std::stol(solution.get("total_flips")) > 0, "blocks flipped");
    return solution;
}

// ---- cases ---------------------------------------------------------------------------------

void shortRun() {
    orvex::Param param = settings("1");
    param.set("trial_limit", "40");
    param.set("islands_per_gpu", "2");
    param.set("blocks_per_island", "2");
    solved(randomModel(60, 32, 100), 60, param);
    solved(randomModel(250, 32, 100), 250, param);
}

void severalBandsInOneProcess() {
    for (int n : {64, 65, 192, 250, 384, 1000, 4096, 5000, 10000})
        solved(randomModel(n, 32, 100, n > 3000 ? 8 : 1), n, settings("1"));
    for (int n : {60, 250, 4096}) {
        solved(randomModel(n, 64, 1L << 40), n, settings("1"));
        orvex::Param wide = settings("1");
        wide.set("arithmetic_bits", "64");
        solved(randomModel(n, 32, 1 << 20), n, wide);
    }
}

void everyRule() {
    const orvex::Model model = randomModel(500, 32, 100);
    for (const std::string_view rule : orvex::flip_rules()) {
        orvex::Param param = settings("1");
        param.set("fix_algorithm", std::string(rule));
        solved(model, 500, param);
    }
}

void preparedChangedReleased() {
    orvex::Model model = randomModel(1000, 32, 100);
    orvex::Solver solver(false);
    solver.prepare(model, settings("1"));
    const long first = std::stol(solved(model, 1000, settings("2")).get("energy"));
    for (int i = 0; i < 3; ++i)
        solved(model, 1000, settings("1"));
    model.set(0, 0, -1000000);
    const long changed = std::stol(solved(model, 1000, settings("2")).get("energy"));
    expect(changed < first - 900000, "the changed weight is seen");
    solver.release();
    solved(model, 1000, settings("1"));
}

class REQUESTS : public orvex::Callback {
  public:
    explicit REQUESTS(std::function<void(REQUESTS&, const std::string&)> on_event)
        : on_event_(std::move(on_event)) {}
    void callback(const std::string& event) override { on_event_(*this, event); }

  private:
    std::function<void(REQUESTS&, const std::string&)> on_event_;
};

void callbackEnds(const std::string& request) {
    REQUESTS requests([&](REQUESTS& self, const std::string& event) {
        if (event == "init") self.orvex::Callback::set("alarm", "0.5");
        if (event == "alarm") self.orvex::Callback::set(request);
    });
    orvex::Param param = settings("60");
    param.set(requests);
    const orvex::Sol solution = solved(randomModel(2000, 32, 100), 2000, param);
    expect(std::stod(solution.get("runtime")) < 10, request + " ends the run soon");
}

void hintAndRestart() {
    const orvex::Model model = randomModel(700, 32, 100);
    const orvex::Sol known = solved(model, 700, settings("2"));
    REQUESTS requests([&](REQUESTS& self, const std::string& event) {
        if (event != "init") return;
        self.orvex::Callback::set("restart");
        self.orvex::Callback::set(known);
    });
    orvex::Param param = settings("1");
    param.set(requests);
    const orvex::Sol hinted = solved(model, 700, param);
    expect(std::stol(hinted.get("energy")) <= std::stol(known.get("energy")), "a hint is not lost");
}

void startSolution() {
    const orvex::Model model = randomModel(700, 32, 100);
    const orvex::Sol known = solved(model, 700, settings("2"));
    const orvex::Sol again = orvex::Solver(false)(model, settings("1"), known);
    expect(std::stol(again.get("energy")) <= std::stol(known.get("energy")), "a start is not lost");
}

/** More blocks than any device holds at once: the run works, stops and drains all the same. */
void moreBlocksThanFit() {
    orvex::Param param = settings("2");
    param.set("islands_per_gpu", "7");
    param.set("blocks_per_island", "400");
    solved(randomModel(4096, 32, 100, 8), 4096, param);
}

void largestModel() {
    orvex::Param param = settings("20");
    solved(randomModel(65536, 8, 100, 4096), 65536, param);
}

struct NAMED_CASE {
    const char* name;
    std::function<void()> run;
};

const std::vector<NAMED_CASE> CASES = {
    {"short-run", shortRun},
    {"several-bands-in-one-process", severalBandsInOneProcess},
    {"every-rule", everyRule},
    {"prepared-changed-released", preparedChangedReleased},
    {"abort", [] { callbackEnds("abort"); }},
    {"kill", [] { callbackEnds("kill"); }},
    {"hint-and-restart", hintAndRestart},
    {"start-solution", startSolution},
    {"more-blocks-than-fit", moreBlocksThanFit},
    {"largest-model", largestModel},
};

}  // namespace

int main(int argc, char** argv) {
    needs_gpu();
    int failed = 0;
    for (const NAMED_CASE& one : CASES) {
        bool wanted = argc == 1;
        for (int i = 1; i < argc; ++i)
            wanted |= std::string(argv[i]) == one.name;
        if (!wanted) continue;
        failures = 0;
        one.run();
        failed += failures != 0;
        std::printf("%s interface.%s\n", failures == 0 ? "passed" : "FAILED", one.name);
        std::fflush(stdout);
    }
    return failed == 0 ? 0 : 1;
}
