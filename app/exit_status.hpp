// The exit statuses of the program. Refusals of the library end the process with status 1 from
// inside the library.
#pragma once

namespace orvex::cli {

enum ExitStatus : int {
    EXIT_NORMAL = 0,           ///< solved, or ended by a limit or by the first interrupt
    EXIT_REFUSED = 1,          ///< refused by the library, or out of memory
    EXIT_BAD_INPUT = 2,        ///< wrong command line, wrong file, or too large for this machine
    EXIT_ENERGY_MISMATCH = 3,  ///< the reported energy is not that of the reported bits
    EXIT_NOT_WRITTEN = 4,      ///< the result could not be written
    EXIT_SIGNAL_BASE = 128     ///< plus the number of the signal that came a second time
};

}  // namespace orvex::cli
