// Options from a file, for commands that are called again and again alike.
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace orvex::cli {

/**
 * Takes options of a command from a file in TOML: "time-limit = 60" for --time-limit 60, "quiet =
 * true" for --quiet. What is in a section that is named like a command is for this command
 * alone. In a section "param" are parameters of the library, each by its key. What the command line
 * has said is kept; @throws InputError when the file cannot be read, or has what the command does
 * not know
 *
 * @param params receives the words key=value that --param would have had, in front of those that
 *     it has
 */
void read_config(const std::string& file, CLI::App& command, std::vector<std::string>& params);

}  // namespace orvex::cli
