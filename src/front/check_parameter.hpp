// What a parameter wants, in the words of messages and of the documentation.
#pragma once

#include <string>

#include "orvex/parameters.hpp"

namespace orvex {

/** The form and range of a value, as in: an integer from 0 to 255. */
std::string wanted_value(const Parameter& parameter);

}  // namespace orvex
