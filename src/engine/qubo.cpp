// The template of a band's source: the generated unit of each band defines the three macros and
// includes this. Loading the library registers the band.
#define ORVEX_BAND_REGISTERS
#include "engine/qubo.hpp"
