// From the command line to a search: the problem of the file, the target in its numbers, the
// options.
#pragma once

#include <optional>

#include "app/commands.hpp"
#include "toolkit/io/scale.hpp"
#include "toolkit/solve.hpp"

namespace orvex::cli {

struct Searching {
    Problem problem;
    std::optional<Target> target;
    SolveOptions options;
    double read_time;  ///< seconds
};

/** @throws InputError when anything is wrong: what can be, before a long file is read */
Searching searching_of(const SolveCommand& command);

}  // namespace orvex::cli
