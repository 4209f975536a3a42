#include "app/completion.hpp"

#include <algorithm>
#include <sstream>
#include <vector>

#include <orvex/parameters.hpp>

#include "app/cli.hpp"
#include "toolkit/io/formats/format.hpp"

namespace orvex::cli {
namespace {

/** What an option, or a place of the command line, takes. */
struct Value {
    bool none = false;  ///< nothing: a flag
    bool file = false;
    std::string words{};   ///< to choose from, with blanks between; empty: anything
    std::string suffix{};  ///< after a word, where more follows
};

std::string with_blanks(std::string list, char separator) {
    std::replace(list.begin(), list.end(), separator, ' ');
    return list;
}

/** Known by the name under which the help shows the value. */
Value value_of(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    if (option.get_positional() && type.empty()) return {.file = true};
    if (option.get_type_size() == 0) return {.none = true};
    if (type == "FILE") return {.file = true};
    if (type == "FORMAT") {
        std::string names = format_names();
        names.erase(std::remove(names.begin(), names.end(), ','), names.end());
        return {.words = names};
    }
    if (type == "KEY=VALUE") {
        Value keys{.suffix = "="};
        for (const Parameter& parameter : parameters())
            keys.words += (keys.words.empty() ? "" : " ") + std::string(parameter.key);
        return keys;
    }
    if (type.find('|') != std::string::npos) {
        // What is in capitals is a placeholder.
        std::istringstream choices(with_blanks(type, '|'));
        Value value;
        for (std::string word; choices >> word;)
            if (std::none_of(word.begin(), word.end(), [](char c) { return 'A' <= c && c <= 'Z'; }))
                value.words += (value.words.empty() ? "" : " ") + word;
        return value;
    }
    return {};
}

/** A command with the words that lead to it, such as {"generate", "dense"}. */
struct Command {
    const CLI::App* app;
    std::vector<std::string> words;

    std::string path() const { return CLI::detail::join(words, " "); }
    std::vector<const CLI::Option*> options() const {
        return app->get_options([](const CLI::Option* option) { return option->nonpositional(); });
    }
    std::vector<const CLI::Option*> places() const {
        return app->get_options([](const CLI::Option* option) { return option->get_positional(); });
    }
    bool takes_files() const {
        const std::vector<const CLI::Option*> taken = places();
        return std::any_of(taken.begin(), taken.end(),
                           [](const CLI::Option* option) { return value_of(*option).file; });
    }
    /** What may stand at the first place, where that is a choice. */
    std::string words_of_place() const {
        const std::vector<const CLI::Option*> taken = places();
        return taken.empty() ? "" : value_of(*taken.front()).words;
    }
    std::string names_of_commands() const {
        std::string names;
        for (const CLI::App* command : app->get_subcommands({}))
            names += (names.empty() ? "" : " ") + command->get_name();
        return names;
    }
};

void collect(const CLI::App& app, std::vector<std::string> words, std::vector<Command>& commands) {
    commands.push_back({&app, words});
    for (const CLI::App* command : app.get_subcommands({})) {
        std::vector<std::string> longer = words;
        longer.push_back(command->get_name());
        collect(*command, std::move(longer), commands);
    }
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

/** Between single quotes in a shell. */
std::string quoted(const std::string& text, const char* quote_inside) {
    return "'" + replaced(text, "'", quote_inside) + "'";
}

std::string joined_names(const std::vector<const CLI::Option*>& options) {
    std::string names;
    for (const CLI::Option* option : options)
        for (const std::string& name : option->get_lnames())
            names += (names.empty() ? "--" : " --") + name;
    return names;
}

// ---- bash ----------------------------------------------------------------------------------

std::string bash_script(const std::vector<Command>& commands) {
    std::ostringstream values, tables;
    for (const Command& command : commands) {
        for (const CLI::Option* option : command.options()) {
            const Value value = value_of(*option);
            if (value.none) continue;
            for (const std::string& name : option->get_lnames())
                values << "    '" << command.path() << ":--" << name << "')\n        "
                       << (value.file ? "_orvex_files"
                                      : "_orvex_words '" + value.words + "' '" + value.suffix + "'")
                       << "\n        return ;;\n";
        }
        tables << "    '" << command.path() << "') options='" << joined_names(command.options())
               << "' commands='" << command.names_of_commands() << command.words_of_place()
               << "' files=" << command.takes_files() << " ;;\n";
    }
    return R"(# Completion of orvex for bash; made by "orvex completion bash".
_orvex_words() {  # words to choose from, and what follows each
    COMPREPLY=($(compgen -W "$1" -S "$2" -- "$current"))
    [[ -z $2 ]] || compopt -o nospace 2>/dev/null
}

_orvex_files() {
    compopt -o filenames 2>/dev/null
    local IFS=$'\n'
    COMPREPLY=($(compgen -f -- "$current"))
}

_orvex() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local path='' options='' commands='' files=0 word
    COMPREPLY=()
    _orvex_table "$path"
    for word in "${COMP_WORDS[@]:1:COMP_CWORD - 1}"; do
        if [[ $word != -* && " $commands " == *" $word "* ]]; then
            path=${path:+$path }$word
            _orvex_table "$path"
        fi
    done
    case $path:$previous in
)" + values.str() +
           R"(    esac
    if [[ $current == -* ]]; then
        _orvex_words "$options"
    elif [[ -n $commands ]]; then
        _orvex_words "$commands"
    elif [[ $files == 1 ]]; then
        _orvex_files
    fi
}

_orvex_table() {
    case $1 in
)" + tables.str() +
           R"(    esac
}

complete -F _orvex orvex
)";
}

// ---- zsh -----------------------------------------------------------------------------------

std::string zsh_text(const std::string& text) {
    std::string escaped = replaced(text, "\\", "\\\\");
    for (const char* special : {"[", "]", ":"})
        escaped = replaced(escaped, special, std::string("\\") + special);
    return escaped;
}

std::string zsh_action(const Value& value) {
    if (value.file) return "_files";
    if (value.words.empty()) return " ";
    return value.suffix.empty() ? "(" + value.words + ")"
                                : "compadd -S " + value.suffix + " -- " + value.words;
}

std::string zsh_function(const Command& command) {
    return "_orvex" + (command.words.empty() ? "" : "_" + CLI::detail::join(command.words, "_"));
}

std::string zsh_script(const std::vector<Command>& commands) {
    std::ostringstream script;
    script << "#compdef orvex\n# Completion of orvex for zsh; made by \"orvex completion zsh\".\n";
    for (const Command& command : commands) {
        const std::vector<const CLI::App*> inner = command.app->get_subcommands({});
        script << "\n" << zsh_function(command) << "() {\n";
        if (!inner.empty()) script << "    local line state\n";
        script << "    _arguments -S" << (inner.empty() ? "" : " -C");
        for (const CLI::Option* option : command.options()) {
            const Value value = value_of(*option);
            for (const std::string& name : option->get_lnames()) {
                const std::string repeated = option->get_expected_max() > 1 ? "*" : "";
                std::string entry = repeated + "--" + name + (value.none ? "" : "=") + "[" +
                                    zsh_text(option->get_description()) + "]";
                if (!value.none)
                    entry += ":" + zsh_text(option->get_type_name()) + ":" + zsh_action(value);
                script << " \\\n        " << quoted(entry, "'\\''");
            }
        }
        for (const CLI::Option* place : command.places())
            script << " \\\n        "
                   << quoted(":" + place->get_name() + ":" + zsh_action(value_of(*place)), "'\\''");
        if (inner.empty()) {
            script << "\n}\n";
            continue;
        }
        script << " \\\n        '1:command:->command' '*::argument:->argument'\n"
               << "    case $state in\n    command)\n        local -a commands=(";
        for (const CLI::App* app : inner)
            script << "\n            "
                   << quoted(app->get_name() + ":" + zsh_text(app->get_description()), "'\\''");
        script << "\n        )\n        _describe command commands ;;\n    argument)\n"
               << "        (( $+functions[" << zsh_function(command) << "_$line[1]] )) &&\n"
               << "            " << zsh_function(command) << "_$line[1] ;;\n    esac\n}\n";
    }
    script << "\nif [ \"$funcstack[1]\" = \"_orvex\" ]; then\n    _orvex \"$@\"\nelse\n"
           << "    compdef _orvex orvex\nfi\n";
    return script.str();
}

// ---- fish ----------------------------------------------------------------------------------

/** When the words before the cursor have led to this command and no further. */
std::string fish_condition(const Command& command) {
    std::string condition;
    for (const std::string& word : command.words)
        condition += (condition.empty() ? "" : "; and ") + ("__fish_seen_subcommand_from " + word);
    const std::string inner = command.names_of_commands();
    if (!inner.empty())
        condition +=
            (condition.empty() ? "" : "; and ") + ("not __fish_seen_subcommand_from " + inner);
    return condition;
}

std::string fish_script(const std::vector<Command>& commands) {
    std::ostringstream script;
    script << "# Completion of orvex for fish; made by \"orvex completion fish\".\n";
    const auto line = [&](const Command& command, const std::string& rest) {
        script << "complete -c orvex -n " << quoted(fish_condition(command), "\\'") << " " << rest
               << "\n";
    };
    for (const Command& command : commands) {
        if (!command.takes_files()) line(command, "-f");
        if (const std::string words = command.words_of_place(); !words.empty())
            line(command, "-a " + quoted(words, "\\'"));
        for (const CLI::App* inner : command.app->get_subcommands({}))
            line(command,
                 "-a " + inner->get_name() + " -d " + quoted(inner->get_description(), "\\'"));
        for (const CLI::Option* option : command.options()) {
            const Value value = value_of(*option);
            std::string kind = value.none ? "" : value.file ? " -r -F" : " -x";
            if (!value.words.empty()) {
                std::string words = " " + value.words;
                if (!value.suffix.empty()) {
                    words = replaced(words, " ", value.suffix + " ") + value.suffix;
                    words.erase(0, value.suffix.size());
                }
                kind += " -a '" + words.substr(1) + "'";
            }
            for (const std::string& name : option->get_lnames())
                line(command,
                     "-l " + name + kind + " -d " + quoted(option->get_description(), "\\'"));
        }
    }
    return script.str();
}

}  // namespace

std::string completion_script(const CLI::App& app, const std::string& shell) {
    std::vector<Command> commands;
    collect(app, {}, commands);
    if (shell == "bash") return bash_script(commands);
    return shell == "zsh" ? zsh_script(commands) : fish_script(commands);
}

}  // namespace orvex::cli
