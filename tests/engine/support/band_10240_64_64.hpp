// The inside of the band of 10240 bits with 64-bit weights and 64-bit energies.
#pragma once

#define ORVEX_BAND_SIZE 10240
#define ORVEX_BAND_MATRIX_BITS 64
#define ORVEX_BAND_ARITH_BITS 64
#include "engine/qubo.hpp"
