#include "toolkit/io/formats/decimal.hpp"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <system_error>

#include "toolkit/model/bounds.hpp"

namespace orvex::toolkit {
namespace {

constexpr long MOST_POWER = 38;  // of ten in 128 bits

bool is_digit(char c) {
    return '0' <= c && c <= '9';
}

/** The digits of a number without its point, and how many of them follow it. */
struct Digits {
    bool negative = false;
    std::string digits;
    long behind = 0;
};

bool split(std::string_view word, Digits& number) {
    std::size_t at = 0;
    if (at < word.size() && (word[at] == '-' || word[at] == '+'))
        number.negative = word[at++] == '-';
    bool point = false, any = false;
    for (; at < word.size() && (is_digit(word[at]) || (word[at] == '.' && !point)); ++at) {
        if (word[at] == '.') {
            point = true;
            continue;
        }
        any = true;
        number.digits += word[at];
        number.behind += point;
    }
    if (!any) return false;
    if (at == word.size()) return true;
    if (word[at] != 'e' && word[at] != 'E') return false;
    if (++at < word.size() && word[at] == '+' && ++at < word.size() && !is_digit(word[at]))
        return false;
    int exponent = 0;
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data() + at, end, exponent);
    if (stop != end || error == std::errc::invalid_argument) return false;
    // An exponent beyond an int is taken for one that is beyond every use.
    if (error != std::errc()) exponent = word[at] == '-' ? -1'000'000'000 : 1'000'000'000;
    number.behind -= exponent;
    return true;
}

/** Leaves no zeros at either end. */
void strip_zeros(Digits& number) {
    number.digits.erase(0, number.digits.find_first_not_of('0'));
    while (!number.digits.empty() && number.digits.back() == '0') {
        number.digits.pop_back();
        --number.behind;
    }
}

}  // namespace

Wide power_of_ten(long exponent) {
    Wide power = 1;
    for (; exponent > 0; --exponent)
        power *= 10;
    return power;
}

Wide shifted(Wide number, long exponent, bool& rounded) {
    if (number == 0) return 0;
    if (exponent >= 0) return number * power_of_ten(exponent);
    if (exponent < -MOST_POWER) {
        rounded = true;
        return 0;
    }
    const Wide divisor = power_of_ten(-exponent);
    const Wide rest = number % divisor;
    rounded |= rest != 0;
    const Wide half = divisor / 2;
    return number / divisor + (rest >= half ? 1 : rest <= -half ? -1 : 0);
}

bool read_decimal(std::string_view word, DecimalNumber& number) {
    Digits split_word;
    if (!split(word, split_word)) return false;
    number = {};
    std::string& digits = split_word.digits;
    strip_zeros(split_word);
    number.behind = split_word.behind;
    number.magnitude = static_cast<long>(digits.size()) - number.behind;
    if (digits.size() > DecimalNumber::MOST_DIGITS) {
        number.behind -= static_cast<long>(digits.size()) - DecimalNumber::MOST_DIGITS;
        digits.resize(DecimalNumber::MOST_DIGITS);
        number.cut = true;
    }
    for (const char digit : digits)
        number.digits = 10 * number.digits + (digit - '0');
    if (split_word.negative) number.digits = -number.digits;
    return true;
}

Decimal read_decimal(std::string_view word, long times, long& value) {
    Digits number;
    if (!split(word, number)) return Decimal::NO_NUMBER;
    const std::string& digits = number.digits;
    strip_zeros(number);
    value = 0;
    if (digits.empty()) return Decimal::WHOLE;
    // The product with `times` stays within 128 bits so. A fraction of more digits has no whole
    // product of 64 bits: the power of 2 or of 5 that it needs would be beyond `times`.
    constexpr std::size_t MOST_DIGITS = 21;
    constexpr long MOST_WHOLE = 19, MOST_BEHIND = MOST_POWER;
    if (number.behind > MOST_BEHIND || (number.behind > 0 && digits.size() > MOST_DIGITS))
        return Decimal::FRACTION;
    if (static_cast<long>(digits.size()) - number.behind > MOST_WHOLE) return Decimal::TOO_LARGE;
    Wide product = 0;
    for (const char digit : digits)
        product = 10 * product + (digit - '0');
    if (number.behind < 0) product *= power_of_ten(-number.behind);
    product *= number.negative ? -times : times;
    if (number.behind > 0) {
        const Wide divisor = power_of_ten(number.behind);
        if (product % divisor != 0) return Decimal::FRACTION;
        product /= divisor;
    }
    using Limits = std::numeric_limits<long>;
    if (product < Limits::min() || product > Limits::max()) return Decimal::TOO_LARGE;
    value = static_cast<long>(product);
    return Decimal::WHOLE;
}

bool read_real(std::string_view word, double& value) {
    if (!word.empty() && word.front() == '+') word.remove_prefix(1);
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, value);
    return stop == end && error == std::errc() && std::isfinite(value);
}

}  // namespace orvex::toolkit
