// The inside of the band of 1024 bits with 32-bit weights and 32-bit energies.
#pragma once

#define ORVEX_BAND_SIZE 1024
#define ORVEX_BAND_MATRIX_BITS 32
#define ORVEX_BAND_ARITH_BITS 32
#include "engine/qubo.hpp"
