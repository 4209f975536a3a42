// Presolve, and the search for one-hot groups, on small models of any weights: all solutions of
// both models are tried, as tests/unit/toolkit/presolve/small_models.hpp does it.
#include "toolkit/presolve/presolve.hpp"

#include "fuzz.hpp"
#include "toolkit/companion/groups.hpp"
#include "unit/toolkit/presolve/small_models.hpp"

namespace orvex::fuzz {
namespace {

using namespace orvex::toolkit;

constexpr int LARGEST = 10;

/** Of all magnitudes whose sums over a model of this size stay within 64 bits. */
std::int64_t weight(Bytes& bytes) {
    const auto value = std::int64_t{bytes.take<std::int8_t>()};
    const auto shift = bytes.take<std::uint8_t>();
    return shift < 200 ? value : value * (std::int64_t{1} << shift % 48);
}

SparseQubo model_of(Bytes& bytes) {
    const int size = 1 + bytes.below(LARGEST);
    std::vector<std::int64_t> linear(static_cast<std::size_t>(size));
    for (auto& term : linear)
        term = weight(bytes);
    std::vector<Coupling> couplings;
    while (!bytes.empty() && couplings.size() < 200) {
        const int i = bytes.below(size), j = bytes.below(size);
        const std::int64_t value = weight(bytes);
        if (i != j) couplings.push_back({i, j, value});
    }
    return sparse_qubo(std::move(linear), std::move(couplings));
}

}  // namespace

void presolve(Input input) {
    Bytes bytes(input);
    const auto effort = static_cast<PresolveEffort>(bytes.below(3));
    const PresolveOptions options{.effort = effort,
                                  .memory = bytes.below(2) == 0 ? 1024U : 1U << 20};
    const SparseQubo qubo = model_of(bytes);
    const std::string fault = small_models::fault_of(qubo, toolkit::presolve(qubo, options));
    require(fault.empty(), fault + ": " + small_models::as_text(qubo));
    const Groups groups = find_groups(qubo);
    expect_groups(groups, qubo.size());
}

}  // namespace orvex::fuzz
