// How a command's help looks. Invariant: no line is longer than 80 columns, as long as no single
// word is.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace orvex::cli {

/** A text in lines of at most that many columns, each after an indent; line breaks stay. */
std::string wrapped(const std::string& text, std::size_t columns, std::size_t indent = 0);

/** Options and commands in two columns: names, and what they mean. */
class HelpFormatter : public CLI::Formatter {
  public:
    std::string make_usage(const CLI::App* app, std::string name) const override;
    std::string make_description(const CLI::App* app) const override;
    std::string make_option(const CLI::Option* option, bool is_positional) const override;
    std::string make_subcommand(const CLI::App* command) const override;
    std::string make_footer(const CLI::App* app) const override;
};

}  // namespace orvex::cli
