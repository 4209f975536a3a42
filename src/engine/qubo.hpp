// A band, in reading order. The three macros that band_begin.hpp asks for choose which; a source
// may include this once for each band that it needs. The parts build on each other in this order.

// clang-format off
#include "engine/precompiled.hpp"     // all that comes from outside the band's namespace

#include "engine/band_begin.hpp"
#include "engine/instance.hpp"        // INST_t: one candidate solution and what travels with it
#include "engine/wmat.hpp"            // WMAT: the matrix in the form that the search reads
#include "engine/globals.hpp"         // GLOBAL_VARS: the state of a run; gv, host_gp
#include "engine/device/kernel.hpp"   // ORVEX: the kernel of this band
#include "engine/session.hpp"         // DeviceSession: the matrix between calls
#include "engine/device_threads.hpp"  // DEV_THREAD: what happens on a device in each phase
#include "engine/pool.hpp"            // SOLPOOL: an island's population
#include "engine/island.hpp"          // ISLAND, ALLISLAND: populations and their rings
#include "engine/generators.hpp"      // how a new start instance is made from a pool
#include "engine/harvest.hpp"         // results for the caller, and the events of the callback
#include "engine/registration.hpp"    // what a result achieves for its island and the run
#include "engine/host_threads.hpp"    // HOST_THREAD: the search loop of an island
#include "engine/main_program.hpp"    // one run from survey to harvest
#include "engine/entry.hpp"           // the three functions that the registry calls
#include "engine/band_end.hpp"
// clang-format on
