// Scripts that let shells complete the program's commands, options and values. They are made of
// the same tables as the command line itself and its help, so they know what it knows.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace orvex::cli {

/**
 * @param app the command line
 * @param shell "bash", "zsh" or "fish"
 */
std::string completion_script(const CLI::App& app, const std::string& shell);

}  // namespace orvex::cli
