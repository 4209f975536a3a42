// The formats, each of which has a file of its own here.
#pragma once

#include "toolkit/io/formats/format.hpp"

namespace orvex::toolkit {

extern const Format QBSOLV, MAX_CUT, BIQ_MAC, OR_LIBRARY, COO, MATRIX_MARKET, QOBLIB, QAPLIB,
    TSPLIB;

}  // namespace orvex::toolkit
