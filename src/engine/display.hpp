// The texts of the progress display, with the terminal's escape sequences written into them as they
// stand. The band collects the figures; the texts are the same for all bands.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "engine/instance.hpp"
#include "engine/names.hpp"
#include "engine/run_state.hpp"

namespace orvex::engine {

/** A solution as the display shows it. */
struct SHOWN {
    std::int64_t energy;
    int inst;
    int algorithm;
};
SHOWN shown(const INSTANCE& record);

/** One line of progress, written for a result that improved its island or the run. */
struct PROGRESS {
    std::vector<SHOWN> islands;  ///< best of the present generation of each island
    int reporter;                ///< island whose result it is
    bool new_best;               ///< it improved the run's best
    SHOWN allbest;
    long number;        ///< run-wide number of the result
    int wait_exponent;  ///< of the result
    bool overflow;      ///< of the result
};
std::string progress_line(const PROGRESS& progress, const RUN_STATE& run,
                          const RESTART_CLOCK& clock);

/** One row of the final table. */
struct TABLE_ROW {
    int number;     ///< the island's number; negative for the row of all
    bool winner;    ///< it found the run's best
    bool has_best;  ///< its best is the run's best
    SHOWN best;
    std::int64_t found_time;  ///< nanoseconds; negative if there is none
    std::array<std::int64_t, GENERATORS> instance_count;
    std::array<std::int64_t, ALGORITHMS> algorithm_count;
    std::int64_t received;
    std::int64_t flips;
};
std::string table_row(const TABLE_ROW& row, const RUN_STATE& run);

}  // namespace orvex::engine
