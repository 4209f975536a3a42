// What presolve leaves of each model file given, and how long it takes:
//
//     orvex_bench_presolve [full] FILE...
#include "toolkit/presolve/presolve.hpp"

#include <chrono>
#include <cstdio>
#include <exception>
#include <string>

#include "toolkit/io/read.hpp"

using namespace orvex::toolkit;

namespace {

std::string name_of(const std::string& file) {
    const std::string name = file.substr(file.find_last_of('/') + 1);
    return name.substr(0, name.find(".qubo"));
}

void measure(const std::string& file, const PresolveOptions& options) {
    const Problem problem = read_problem(file);
    const SparseQubo qubo = sparse_qubo(*problem.model);
    const auto start = std::chrono::steady_clock::now();
    const Presolved presolved = presolve(qubo, options);
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    std::printf("| %s | %d | %zu | %d | %zu | %.1f | %s |", name_of(file).c_str(), qubo.size(),
                qubo.couplings(), presolved.reduced_size(), presolved.reduced().couplings(),
                time.count(), presolved.bound() ? to_string(*presolved.bound()).c_str() : "");
    for (const RuleUse& use : presolved.rules())
        if (use.nodes > 0 || use.seconds > 1e-3)
            std::printf(" %s %ld (%.1f ms);", use.rule, use.nodes, 1e3 * use.seconds);
    std::puts(" |");
}

}  // namespace

int main(int count, char** arguments) try {
    PresolveOptions options;
    std::puts(
        "| model | variables | couplings | variables left | couplings left | ms | bound | rules |");
    std::puts("| --- | ---: | ---: | ---: | ---: | ---: | ---: | --- |");
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
