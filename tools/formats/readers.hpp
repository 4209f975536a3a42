// The formats, each of which has a file of its own here.
#pragma once

#include "formats/format.hpp"

namespace orvex::cli {

extern const Format QBSOLV, MAX_CUT, BIQ_MAC, OR_LIBRARY, COO, MATRIX_MARKET, QOBLIB, QAPLIB,
    TSPLIB;

}  // namespace orvex::cli
