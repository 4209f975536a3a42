// The toolkit, whole: read a problem or make one of a model, solve it, look at the result. Nothing
// in it ends the process. Link orvex::toolkit (CMake) or orvex-toolkit (pkg-config).
//
//     orvex::toolkit::Problem problem = orvex::toolkit::read_problem("model.qubo.gz");
//     orvex::toolkit::Result result = orvex::toolkit::solve(problem, {.time_limit = 5});
//     std::cout << result.energy << "\n";
#pragma once

#include "toolkit/io/read.hpp"
#include "toolkit/model/build.hpp"
#include "toolkit/solve.hpp"
