// How many blocks and islands a run has on each of its devices, all alike.
#pragma once

#include "platform/platform.hpp"

namespace orvex::engine {

/** Counts on one device; a 0 that goes in means what the rules make of the others. */
struct RUN_SHAPE {
    int blocks_per_gpu = 0;  ///< wanted; a launch can have more by rounding up
    int islands_per_gpu = 0;
    int blocks_per_island = 0;
};

/**
 * Fills in what is open: as many blocks as the device holds threads for, and at least five islands
 * over all devices as far as there are blocks for them.
 *
 * @param blocks_per_sm blocks that a multiprocessor holds threads for
 */
RUN_SHAPE sized(RUN_SHAPE wanted, int gpus, int blocks_per_sm, int multiprocessors);

/**
 * Islands and blocks are taken as the caller gave them. Not so a shape that no device takes, or of
 * which the run could not count the threads, rings or results.
 */
bool can_be_launched(const RUN_SHAPE& shape, int gpus);

}  // namespace orvex::engine
