#include "toolkit/run/json_text.hpp"

#include <cstdio>

namespace orvex::toolkit {
namespace {

constexpr std::string_view REPLACEMENT = "\\ufffd";

/** The length of the character of UTF-8 at the beginning; 0 where there is none. */
std::size_t character_length(std::string_view text) {
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned lead = byte(0);
    if (lead < 0x80) return 1;
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
    for (std::size_t k = 1; k < length; ++k)
        if ((byte(k) & 0xC0) != 0x80) return 0;
    // Longer than need be, half of a pair of UTF-16, beyond the last character.
    if (lead == 0xE0 && byte(1) < 0xA0) return 0;
    if (lead == 0xED && byte(1) > 0x9F) return 0;
    if (lead == 0xF0 && byte(1) < 0x90) return 0;
    if (lead == 0xF4 && byte(1) > 0x8F) return 0;
    return length;
}

std::string quoted(std::string_view text) {
    std::string result = "\"";
    while (!text.empty()) {
        const std::size_t length = character_length(text);
        if (length == 0) {
            result += REPLACEMENT;
        } else if (text[0] == '"' || text[0] == '\\') {
            result += {'\\', text[0]};
        } else if (static_cast<unsigned char>(text[0]) < 0x20) {
            char code[8];
            std::snprintf(code, sizeof(code), "\\u%04x", static_cast<unsigned>(text[0]));
            result += code;
        } else {
            result += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return result + '"';
}

}  // namespace

void JsonText::begin_value(std::string_view key) {
    if (!first_) text_ += ',';
    first_ = false;
    if (!key.empty()) text_ += quoted(key) + ':';
}

JsonText& JsonText::open(std::string_view key, char opening, char closing) {
    begin_value(key);
    text_ += opening;
    closing_ += closing;
    first_ = true;
    return *this;
}

JsonText& JsonText::end() {
    text_ += closing_.back();
    closing_.pop_back();
    first_ = false;
    return *this;
}

JsonText& JsonText::add(std::string_view key, std::string_view text) {
    begin_value(key);
    text_ += quoted(text);
    return *this;
}

JsonText& JsonText::add(std::string_view key, long number) {
    return add_digits(key, std::to_string(number));
}

JsonText& JsonText::add(std::string_view key, double seconds) {
    char digits[64];
    std::snprintf(digits, sizeof(digits), "%.6f", seconds);
    return add_digits(key, digits);
}

JsonText& JsonText::add(std::string_view key, bool truth) {
    return add_digits(key, truth ? "true" : "false");
}

JsonText& JsonText::add_null(std::string_view key) {
    return add_digits(key, "null");
}

JsonText& JsonText::add_digits(std::string_view key, std::string_view digits) {
    begin_value(key);
    text_ += digits;
    return *this;
}

}  // namespace orvex::toolkit
