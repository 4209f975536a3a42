#include "app/messages.hpp"

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <unistd.h>

namespace orvex::cli {
namespace {

constexpr const char* RED = "\033[1;31m";
constexpr const char* YELLOW = "\033[1;33m";
constexpr const char* PLAIN = "\033[0m";

void say(const char* colour, const char* label, const char* text) {
    const bool colours = coloured();
    std::cerr << (colours ? colour : "") << label << (colours ? PLAIN : "") << ' ' << text
              << std::endl;
}

}  // namespace

bool coloured() {
    const char* unwanted = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    return isatty(STDERR_FILENO) && (unwanted == nullptr || *unwanted == '\0') &&
           terminal != nullptr && std::strcmp(terminal, "dumb") != 0;
}

void warn(const std::string& text) {
    say(YELLOW, "Warning:", text.c_str());
}

void complain(const char* text) {
    say(RED, "Error:", text);
}

}  // namespace orvex::cli
