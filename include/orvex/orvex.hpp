// The object interface, whole: state a model, set parameters, solve, read the solution.
//
//     orvex::Model model(3, -1, 1);
//     model.set(0, 0, -1);
//     model.set(0, 2, 1);
//     orvex::Param param;
//     param.set("time_limit", "1");
//     orvex::Sol sol = orvex::Solver(false)(model, param);
//     sol.print("sol", std::cout);
#pragma once

#include "orvex/callback.hpp"
#include "orvex/export.hpp"
#include "orvex/mat.hpp"
#include "orvex/model.hpp"
#include "orvex/param.hpp"
#include "orvex/parameters.hpp"
#include "orvex/sol.hpp"
#include "orvex/solver.hpp"
