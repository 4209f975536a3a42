#include "toolkit/model/convention.hpp"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace orvex::toolkit {

std::string Convention::own_text(Wide number) const {
    if (!scaled()) return to_string(number);
    const double quotient = static_cast<double>(number) / scale;
    if (largest_error > 0) {
        constexpr int LENGTH = 32;
        std::array<char, LENGTH> text{};  // more digits would tell of the rounding only
        std::snprintf(text.data(), text.size(), "%.10g", quotient);
        return text.data();
    }
    if (decimals == 0) return to_string(quotient);
    std::string digits = to_string(number);
    const std::string sign = digits.front() == '-' ? "-" : "";
    digits.erase(0, sign.size());
    const auto behind = static_cast<std::size_t>(decimals);
    if (digits.size() <= behind) digits.insert(0, behind + 1 - digits.size(), '0');
    digits.insert(digits.size() - behind, 1, '.');
    digits.erase(digits.find_last_not_of('0') + 1);
    if (digits.back() == '.') digits.pop_back();
    return sign + digits;
}

std::string Convention::offset_text() const {
    return largest_error > 0 ? to_string(real_offset) : own_text(offset);
}

std::string Convention::text() const {
    return "format " + format + ", indices from " + std::to_string(index_base) +
           ", weight of a pair " + std::to_string(factor) + " x its entry" +
           (scaled() ? " x " + to_string(scale) : "") + ", " + sense() + ", " + equation() +
           (note.empty() ? "" : ", " + note);
}

std::string Convention::equation() const {
    std::string text = (objective == "energy" ? "objective" : objective) + " = ";
    std::string shift = offset_text();
    if (maximised) return text + (shift == "0" ? "-energy" : shift + " - energy");
    text += "energy";
    if (shift == "0") return text;
    return shift.front() == '-' ? text + " - " + shift.substr(1) : text + " + " + shift;
}

std::string Convention::equation_of_model() const {
    return equation() + (scaled() ? ", energy = that of this model / " + to_string(scale) : "");
}

std::string to_string(double number) {
    constexpr double MOST_WHOLE = 9007199254740992;  // below it all whole numbers are doubles
    constexpr int LENGTH = 32;
    std::array<char, LENGTH> text{};
    if (std::abs(number) < MOST_WHOLE && number == std::trunc(number))
        return std::to_string(static_cast<long>(number));
    const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), number);
    return {text.data(), end};
}

}  // namespace orvex::toolkit
