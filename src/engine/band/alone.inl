// The beginning of a band of its own for a part that is read by itself, as editors do; the parts
// include the ones in front of them then.
#include "engine/precompiled.hpp"

#define ORVEX_BAND_SIZE 1024
#define ORVEX_BAND_MATRIX_BITS 32
#define ORVEX_BAND_ARITH_BITS 32
#include "engine/band/band_begin.inl"
