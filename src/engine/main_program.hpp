// One run after its parameters are set: sizes it to the devices, makes the objects, drives the
// threads through their phases, each closed by a join, and harvests the result.
#pragma once

#include "engine/globals.hpp"

namespace orvex::engine {

void main_program(GLOBAL_VARS& run);

// Its steps, as far as they come before the threads.
void survey_devices(GLOBAL_VARS& run);
void size_run(GLOBAL_VARS& run);
void make_seeds(GLOBAL_VARS& run);
void enter_start_solution(GLOBAL_VARS& run);

/** Ends the process with what can be done about an overflow in energies of that width. */
[[noreturn]] void report_overflow(int arith_bits);

}  // namespace orvex::engine
