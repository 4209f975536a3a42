#include "toolkit/io/formats/decimal.hpp"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <system_error>

#include "toolkit/model/bounds.hpp"

namespace orvex::toolkit {
namespace {

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
    // An exponent beyond an int stands for one that is beyond every use.
    if (error != std::errc()) exponent = word[at] == '-' ? -1'000'000'000 : 1'000'000'000;
    number.behind -= exponent;
    return true;
}

}  // namespace

Decimal read_decimal(std::string_view word, int times, long& value) {
    Digits number;
    if (!split(word, number)) return Decimal::NO_NUMBER;
    std::string& digits = number.digits;
    digits.erase(0, digits.find_first_not_of('0'));
    while (!digits.empty() && digits.back() == '0') {
        digits.pop_back();
        --number.behind;
    }
    value = 0;
    if (digits.empty()) return Decimal::WHOLE;
    constexpr std::size_t MOST_DIGITS = 30;  // far beyond 64 bits, well within 128
    if (number.behind > 1 || (number.behind == 1 && (digits.back() != '5' || times % 2 != 0)))
        return Decimal::FRACTION;
    if (static_cast<long>(digits.size()) - number.behind > static_cast<long>(MOST_DIGITS))
        return Decimal::TOO_LARGE;
    Wide sum = 0;
    for (const char digit : digits)
        sum = 10 * sum + (digit - '0');
    for (; number.behind < 0; ++number.behind)
        sum *= 10;
    sum *= number.negative ? -times : times;
    if (number.behind == 1) sum /= 10;
    using Limits = std::numeric_limits<long>;
    if (sum < Limits::min() || sum > Limits::max()) return Decimal::TOO_LARGE;
    value = static_cast<long>(sum);
    return Decimal::WHOLE;
}

bool read_real(std::string_view word, double& value) {
    if (!word.empty() && word.front() == '+') word.remove_prefix(1);
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, value);
    return stop == end && error == std::errc() && std::isfinite(value);
}

}  // namespace orvex::toolkit
