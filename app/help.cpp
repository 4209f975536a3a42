#include "app/help.hpp"

#include <sstream>

namespace orvex::cli {
namespace {

constexpr std::size_t COLUMNS = 80;
constexpr std::size_t MEANING_COLUMN = 28;

/** A name, and what it means beside it, or below where the name is long. */
std::string entry(const std::string& name, const std::string& meaning) {
    std::string text = "  " + name;
    std::string lines = wrapped(meaning, COLUMNS, MEANING_COLUMN);
    if (text.size() + 2 > MEANING_COLUMN)
        text += "\n";
    else
        lines.erase(0, text.size());
    return text + lines;
}

/** "--time-limit SECONDS" */
std::string option_name(const CLI::Option* option) {
    std::string name;
    for (const std::string& letter : option->get_snames())
        name += "-" + letter + ", ";
    for (const std::string& word : option->get_lnames())
        name += (name.ends_with(", ") || name.empty() ? "--" : ", --") + word;
    const bool has_value = option->get_type_size() != 0 && !option->get_type_name().empty();
    return has_value ? name + " " + option->get_type_name() : name;
}

}  // namespace

std::string wrapped(const std::string& text, std::size_t columns, std::size_t indent) {
    std::string result;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t own_indent = line.find_first_not_of(' ');
        const std::string margin(indent + (own_indent == std::string::npos ? 0 : own_indent), ' ');
        std::string current = margin;
        std::istringstream words(line);
        for (std::string word; words >> word;) {
            const bool begins = current.size() == margin.size();
            if (!begins && current.size() + 1 + word.size() > columns) {
                result += current + "\n";
                current = margin + word;
            } else {
                current += (begins ? "" : " ") + word;
            }
        }
        result += (current.size() == margin.size() ? "" : current) + "\n";
    }
    return result;
}

std::string HelpFormatter::make_usage(const CLI::App* app, std::string) const {
    // CLI11 names a command alone; which program it belongs to is half of how to call it.
    std::string name = app->get_name();
    for (const CLI::App* parent = app->get_parent(); parent != nullptr;
         parent = parent->get_parent())
        name = parent->get_name() + " " + name;
    std::string usage = "Usage: " + name;
    for (const CLI::Option* option : app->get_options())
        if (option->get_positional()) usage += " " + make_option_usage(option);
    if (!app->get_subcommands({}).empty()) usage += " COMMAND";
    return usage + " [options]\n";
}

std::string HelpFormatter::make_description(const CLI::App* app) const {
    return wrapped(app->get_description(), COLUMNS);
}

std::string HelpFormatter::make_option(const CLI::Option* option, bool is_positional) const {
    return entry(
        is_positional ? option->get_name(true, false) : option_name(option),
        option->get_description() + (option->get_required() && !is_positional ? "; required" : ""));
}

std::string HelpFormatter::make_subcommand(const CLI::App* command) const {
    return entry(command->get_name(), command->get_description());
}

std::string HelpFormatter::make_footer(const CLI::App* app) const {
    return app->get_footer().empty() ? "" : app->get_footer() + "\n";
}

}  // namespace orvex::cli
