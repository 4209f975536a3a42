// Ctrl-C: the first SIGINT or SIGTERM asks the run to end, so that its best solution is not lost;
// the second ends the process at once. Invariant: the handler does only what a handler may.
#pragma once

namespace orvex::cli {

/** From now on the first signal only leaves a mark. A signal that is ignored stays ignored. */
void catch_interrupts();

/** Whether a signal has come. */
bool interrupted();

}  // namespace orvex::cli
