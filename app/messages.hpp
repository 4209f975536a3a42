// What the program says on standard error beside its progress. Invariant: there is colour only on a
// terminal, and none where the environment asks for none (https://no-color.org).
#pragma once

#include <string>

namespace orvex::cli {

/** Whether the program's own words on standard error may be coloured. */
bool coloured();

/** "Warning: " and the text, on a line. */
void warn(const std::string& text);

/** "Error: " and the text, on a line; allocates nothing, since memory may be what is missing. */
void complain(const char* text);

}  // namespace orvex::cli
