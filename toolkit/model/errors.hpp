// What the toolkit throws where something outside of it is wrong.
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

}  // namespace orvex::toolkit
