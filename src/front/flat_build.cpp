// The functions of the flat interface that take no handle.
//
// Their texts must stay where they are for as long as anyone may look at them, which at the end of
// the process may be after the destructors of statics: they are built once and never destroyed. All
// come from one solver, since two of them must not be built at the same time and these functions
// may be called from any thread.
#include "front/flat_build.hpp"

#include <cstdlib>

#include "orvex/registry.hpp"
#include "orvex/solver.hpp"
#include "orvex/tarvik_orvex.h"

namespace orvex::flat {
namespace {

struct BUILD {
    std::string version;
    std::string sizes;
    int largest_size;
};

BUILD describe_build() {
    Solver solver(false);
    const std::string largest = solver.get("max_size");
    return {.version = solver.get("version"),
            .sizes = solver.get("sizes"),
            .largest_size = static_cast<int>(std::strtol(largest.c_str(), nullptr, 10))};
}

const BUILD& build() {
    static const BUILD& description = *new BUILD(describe_build());
    return description;
}

}  // namespace

int largest_size() {
    return build().largest_size;
}

std::string& last_error() {
    thread_local std::string text;
    return text;
}

}  // namespace orvex::flat

using namespace orvex::flat;

const char* tarvik_orvex_version() {
    return build().version.c_str();
}

int tarvik_orvex_max_size() {
    return largest_size();
}

const char* tarvik_orvex_kernel_sizes() {
    return build().sizes.c_str();
}

const char* tarvik_orvex_arith_bits() {
    static const std::string& list = *new std::string(qubo_multi::arith_bits_list());
    return list.c_str();
}

const char* tarvik_orvex_last_error() {
    return last_error().c_str();
}
