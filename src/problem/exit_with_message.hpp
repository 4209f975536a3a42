// How a failure ends the process. Invariant: however many threads fail, one message is written
// whole, and exit is called once, with the status that goes with that message.
#pragma once

#include <string>

namespace orvex {

/**
 * Writes a text to standard error unchanged and ends the process with exit(status).
 *
 * The first thread to come here does so; any other waits for ever, since its failure must neither
 * mix with the first one's text nor destroy statics a second time. A thread that comes here again,
 * from the destructor of a static, ends the process at once.
 */
[[noreturn]] void end_process(int status, const std::string& text);

/** Ends the process with status 1 and "Error: ", the text and a newline. */
[[noreturn]] void exit_with_message(const std::string& text);

}  // namespace orvex
