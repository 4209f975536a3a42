// A band, in reading order. The three macros that band_begin.inl asks for choose which; a source
// may include this once for each band that it needs. The parts build on each other in this order.
// What is the same in all bands, which is nearly all of the engine, they only name.

// clang-format off
#include "engine/precompiled.hpp"     // all that comes from outside the band's namespace

#include "engine/band/band_begin.inl"
#include "engine/band/instance.inl"   // INST_t: one candidate solution and what travels with it
#include "engine/band/wmat.inl"       // WMAT: the matrix in the form that the search reads
#include "engine/band/kernel.inl"     // ORVEX: the kernel of this band
#include "engine/band/globals.inl"    // what the band keeps: gv, host_gp, the session
#include "engine/band/entry.inl"      // the three functions that the registry calls
#include "engine/band/band_end.inl"
// clang-format on
