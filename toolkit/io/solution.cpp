#include "toolkit/io/solution.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>

#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {
namespace {

/** Blanks and the line's end after the last digit. */
constexpr std::size_t LONGEST_LINE_END = 64;

}  // namespace

std::string digits_of(const Sol& solution, int size) {
    std::string digits(static_cast<std::size_t>(size), '0');
    for (int i = 0; i < size; ++i)
        if (solution.get(i)) digits[static_cast<std::size_t>(i)] = '1';
    return digits;
}

Sol read_solution(const std::string& file, int size) {
    errno = 0;
    std::ifstream stream(file);
    // No more is read than a solution of this size can take: the file may be any, or a device.
    std::string line(static_cast<std::size_t>(size) + LONGEST_LINE_END, '\0');
    stream.read(line.data(), static_cast<std::streamsize>(line.size()));
    line.resize(static_cast<std::size_t>(stream.gcount()));
    if (line.empty())
        throw InputError("Cannot read " + file +
                         (errno != 0 ? std::string(": ") + std::strerror(errno) : ": it is empty"));
    const bool whole = stream.eof() || line.find('\n') != std::string::npos;
    line.resize(std::min(line.find('\n'), line.size()));
    line.erase(line.find_last_not_of(" \t\r") + 1);

    const std::size_t wrong = line.find_first_not_of("01");
    if (wrong != std::string::npos)
        throw InputError(file + ", line 1: a solution consists of the digits 0 and 1; character " +
                         std::to_string(wrong + 1) + " is neither");
    if (line.size() != static_cast<std::size_t>(size))
        throw InputError(file + ", line 1: a solution of this model has " + std::to_string(size) +
                         " digits; there are " + (whole ? "" : "at least ") +
                         std::to_string(line.size()));
    Sol solution(size);
    for (int i = 0; i < size; ++i)
        solution.set(i, line[static_cast<std::size_t>(i)] == '1');
    return solution;
}

}  // namespace orvex::toolkit
