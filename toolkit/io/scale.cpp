#include "toolkit/io/scale.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "toolkit/io/formats/decimal.hpp"
#include "toolkit/io/formats/lines.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {
namespace {

using Limits = std::numeric_limits<long>;

/** number / divisor, rounded down. */
Wide floor_of(Wide number, Wide divisor) {
    return number / divisor - (number % divisor < 0 ? 1 : 0);
}

/** A number times the convention's scale, rounded down, cut to 64 bits. */
long scaled_down(const DecimalNumber& number, const Convention& convention) {
    constexpr long MOST_POWER = 38, FAR_BEYOND = 20;
    if (number.digits == 0) return 0;
    const long beyond = number.digits < 0 ? Limits::min() : Limits::max();
    // What is not a power of ten is an integer of at most 54 bits.
    const Wide factor = convention.decimals > 0 ? 1 : static_cast<Wide>(convention.scale);
    const long shift = convention.decimals - number.behind;
    if (number.magnitude + convention.decimals > FAR_BEYOND) return beyond;
    const Wide product = number.digits * factor;
    const Wide scaled = shift >= 0             ? product * power_of_ten(shift)
                        : -shift <= MOST_POWER ? floor_of(product, power_of_ten(-shift))
                                               : (product < 0 ? -1 : 0);
    return static_cast<long>(std::clamp<Wide>(scaled, Limits::min(), Limits::max()));
}

}  // namespace

Scale Scale::of(const std::string& text) {
    if (text == "auto") return {};
    if (text == "exact") return {.rule = Rule::EXACT};
    long factor = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, factor);
    if (stop != end || error != std::errc() || factor < 1 || factor > MOST_FACTOR)
        throw InputError("the scale is auto, exact or a whole number from 1 to 2^53, not " +
                         Lines::quoted(text));
    return {.rule = Rule::FACTOR, .factor = factor};
}

Target target_of(const std::string& text, const Convention& convention) {
    constexpr int MOST_DIGITS = 20;  // which leave room for a factor of 54 bits
    DecimalNumber number;
    double value = 0;
    if (!read_decimal(text, number) || !read_real(text, value) || number.cut ||
        number.digits / power_of_ten(MOST_DIGITS) != 0)
        throw InputError("the target is a number of at most 20 digits, not " + Lines::quoted(text));
    if (convention.largest_error == 0) return {value, scaled_down(number, convention)};
    const double searched = std::floor((value - convention.largest_error) * convention.scale);
    constexpr double MOST = 9.2e18;
    return {value, static_cast<long>(std::clamp(searched, -MOST, MOST))};
}

}  // namespace orvex::toolkit
