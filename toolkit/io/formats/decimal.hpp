// Decimal numbers as files write them ("12", "-128.0", "1.5e+01"), read exactly: none becomes a
// whole number by rounding.
#pragma once

#include <string_view>

#include "toolkit/model/bounds.hpp"

namespace orvex::toolkit {

enum class Decimal { WHOLE, FRACTION, TOO_LARGE, NO_NUMBER };

/**
 * Reads a decimal number, exactly.
 *
 * @param times what to multiply it by before it must be whole: 2 makes 1 of "0.5"; its magnitude is
 *     at most 2^54
 * @param value the product, if it is whole and fits into 64 bits
 */
Decimal read_decimal(std::string_view word, long times, long& value);

/** The number digits x 10^-behind, whose last digit is not 0. */
struct DecimalNumber {
    static constexpr int MOST_DIGITS = 27;  ///< which leaves room in Wide to add up any model

    Wide digits = 0;
    long behind = 0;     ///< digits after the point; negative where zeros follow the digits
    bool cut = false;    ///< whether it had more digits
    long magnitude = 0;  ///< of a number but 0: the least power of ten above it
};

/** @return whether the word is a number */
bool read_decimal(std::string_view word, DecimalNumber& number);

/** 10 to this power, from 0 to 38. */
Wide power_of_ten(long exponent);

/**
 * A number times a power of ten, rounded to the nearest where it is not whole.
 *
 * @param rounded becomes true where it was not
 */
Wide shifted(Wide number, long exponent, bool& rounded);

/** Reads a coordinate, rounded to the nearest double. @return whether it is a finite number */
bool read_real(std::string_view word, double& value);

}  // namespace orvex::toolkit
