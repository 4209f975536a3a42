// The order of the rules. Invariant: a rule begins only where those before it find nothing more, so
// that a dear one never does what a cheap one can; those that look at the whole graph are passed
// over until it has shrunk or nothing else finds anything.
#pragma once

#include <span>

#include "toolkit/presolve/presolve.hpp"
#include "toolkit/presolve/reduction.hpp"

namespace orvex::toolkit {

struct Rule {
    const char* name;
    void (*apply)(Reduction&);
    bool cheap = false;  ///< runs whatever time is left
    bool whole = false;  ///< looks at the whole graph each time
};

/** All rules that presolve() has, the cheapest first. */
std::span<const Rule> all_rules();

/** What presolve() does, with these rules. */
Presolved reduce_with(const SparseQubo& qubo, const PresolveOptions& options,
                      std::span<const Rule> rules);

}  // namespace orvex::toolkit
