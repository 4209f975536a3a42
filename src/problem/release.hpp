// What this release says of itself: in the banner, in a solver's information and in each result.
#pragma once

namespace orvex {

inline constexpr const char* RELEASE_VERSION = "2024-12-29";
inline constexpr const char* SOLVER_TEXT = "ORVEX QUBO Solver GPU-Engine (https://orvex.example)";
inline constexpr const char* LICENSE_TEXT = "Licensed under the Apache License, Version 2.0.";

}  // namespace orvex
