// What the flat interface knows without a handle: what this build is, and why the calling thread
// was last refused. Invariant: everything but the refusal is the same for the life of the process.
#pragma once

#include <string>

namespace orvex::flat {

/** The most variables that any band holds. */
int largest_size();

/** Why the last call of this thread that can be refused was refused; empty when it was not. */
std::string& last_error();

}  // namespace orvex::flat
