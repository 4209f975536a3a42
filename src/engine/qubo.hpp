// A band, in reading order. The three macros that band_begin.inl asks for choose which; a source
// may include this once for each band that it needs. The parts build on each other in this order.

// clang-format off
#include "engine/precompiled.hpp"     // all that comes from outside the band's namespace

#include "engine/band/band_begin.inl"
#include "engine/band/instance.inl"        // INST_t: one candidate solution and what travels with it
#include "engine/band/wmat.inl"            // WMAT: the matrix in the form that the search reads
#include "engine/band/globals.inl"         // GLOBAL_VARS: the state of a run; gv, host_gp
#include "engine/band/kernel.inl"   // ORVEX: the kernel of this band
#include "engine/band/session.inl"         // DeviceSession: the matrix between calls
#include "engine/band/device_threads.inl"  // DEV_THREAD: what happens on a device in each phase
#include "engine/band/pool.inl"            // SOLPOOL: an island's population
#include "engine/band/island.inl"          // ISLAND, ALLISLAND: populations and their rings
#include "engine/band/generators.inl"      // how a new start instance is made from a pool
#include "engine/band/harvest.inl"         // results for the caller, and the events of the callback
#include "engine/band/registration.inl"    // what a result achieves for its island and the run
#include "engine/band/host_threads.inl"    // HOST_THREAD: the search loop of an island
#include "engine/band/main_program.inl"    // one run from survey to harvest
#include "engine/band/entry.inl"           // the three functions that the registry calls
#include "engine/band/band_end.inl"
// clang-format on
