// Files that may be standard input, which "-" means.
#pragma once

#include <algorithm>
#include <initializer_list>
#include <string>

#include "toolkit/model/errors.hpp"

namespace orvex::cli {

/** The name under which the file can be opened. */
inline std::string readable(const std::string& file) {
    return file == "-" ? "/dev/stdin" : file;
}

/** What was read from standard input is not there a second time. @throws InputError */
inline void expect_one_standard_input(std::initializer_list<std::string> files) {
    const auto is_standard_input = [](const std::string& file) {
        return readable(file) == "/dev/stdin";
    };
    if (std::count_if(files.begin(), files.end(), is_standard_input) > 1)
        throw toolkit::InputError("only one file can be read from standard input");
}

}  // namespace orvex::cli
