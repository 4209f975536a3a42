// Decimal numbers as files write them ("12", "-128.0", "1.5e+01"), read exactly: weights are whole
// numbers, and none may become one by rounding.
#pragma once

#include <string_view>

namespace orvex::toolkit {

enum class Decimal { WHOLE, FRACTION, TOO_LARGE, NO_NUMBER };

/**
 * Reads a decimal number, exactly.
 *
 * @param times what to multiply it by before it must be whole: 2 makes 1 of "0.5"
 * @param value the product, if it is whole and fits into 64 bits
 */
Decimal read_decimal(std::string_view word, int times, long& value);

/** Reads a coordinate, rounded to the nearest double. @return whether it is a finite number */
bool read_real(std::string_view word, double& value);

}  // namespace orvex::toolkit
