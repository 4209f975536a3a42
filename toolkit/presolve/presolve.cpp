#include "toolkit/presolve/presolve.hpp"

#include <chrono>

#include "toolkit/presolve/reduction.hpp"
#include "toolkit/presolve/rules.hpp"

namespace orvex::toolkit {

Presolved presolve(const SparseQubo& qubo, const PresolveOptions& options) {
    if (options.effort == PresolveEffort::OFF || SpinGraph::weight_of(qubo) > SpinGraph::MOST)
        return {WayBack(qubo.size()), qubo, std::nullopt, {}};
    Reduction reduction(qubo);
    RuleUse use{"heavy couplings"};
    const auto start = std::chrono::steady_clock::now();
    heavy_couplings(reduction);
    use.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    use.nodes = qubo.size() - reduction.graph().alive();
    return std::move(reduction).finish({use});
}

}  // namespace orvex::toolkit
