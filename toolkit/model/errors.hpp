// What the toolkit throws where something is wrong, first of all outside of it.
#pragma once

#include <stdexcept>

namespace orvex::toolkit {

/** Something in what the caller gave is wrong; the text is shown as it is. */
class InputError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** It is only that this machine has not the memory for it. */
class MemoryShortage : public InputError {
  public:
    using InputError::InputError;
};

/** The library reports another energy than its solution has: an error of the library itself. */
class EnergyMismatch : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** There is no device to search on. */
class NoDevice : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace orvex::toolkit
