#include "toolkit/io/solution.hpp"

#include <cerrno>
#include <cstring>
#include <fstream>

#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {

std::string digits_of(const Sol& solution, int size) {
    std::string digits(static_cast<std::size_t>(size), '0');
    for (int i = 0; i < size; ++i)
        if (solution.get(i)) digits[static_cast<std::size_t>(i)] = '1';
    return digits;
}

Sol read_solution(const std::string& file, int size) {
    errno = 0;
    std::ifstream stream(file);
    std::string line;
    if (!stream || !std::getline(stream, line))
        throw InputError("Cannot read " + file +
                         (errno != 0 ? std::string(": ") + std::strerror(errno) : ": it is empty"));
    line.erase(line.find_last_not_of(" \t\r") + 1);

    const std::size_t wrong = line.find_first_not_of("01");
    if (wrong != std::string::npos)
        throw InputError(file + ", line 1: a solution has the digits 0 and 1 only; character " +
                         std::to_string(wrong + 1) + " is another");
    if (line.size() != static_cast<std::size_t>(size))
        throw InputError(file + ", line 1: a solution of this model has " + std::to_string(size) +
                         " digits; there are " + std::to_string(line.size()));
    Sol solution(size);
    for (int i = 0; i < size; ++i)
        solution.set(i, line[static_cast<std::size_t>(i)] == '1');
    return solution;
}

}  // namespace orvex::toolkit
