#include "app/config.hpp"

#include <algorithm>
#include <fstream>

#include "app/cli.hpp"
#include "app/standard_input.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::cli {
namespace {

constexpr const char* PARAM = "param";
constexpr const char* SECTION_BEGINS = "++";
constexpr const char* SECTION_ENDS = "--";

std::vector<CLI::ConfigItem> items_of(const std::string& file) {
    std::ifstream stream(readable(file));
    if (!stream) throw InputError("Cannot read " + file);
    return CLI::ConfigTOML().from_config(stream);
}

/** Takes off the name of the command, if the item is for one. @return whether it is for this one */
bool is_for(const CLI::App& command, CLI::ConfigItem& item) {
    const std::vector<std::string>& parents = item.parents;
    if (parents.empty() || parents.front() == PARAM) return true;
    const auto commands = command.get_parent()->get_subcommands({});
    const bool names_command = std::any_of(commands.begin(), commands.end(), [&](auto* other) {
        return other->get_name() == parents.front();
    });
    if (!names_command) throw InputError("there is no section \"" + parents.front() + "\"");
    if (parents.front() != command.get_name()) return false;
    item.parents.erase(item.parents.begin());
    return true;
}

void take_option(const CLI::ConfigItem& item, CLI::App& command) {
    CLI::Option* option = command.get_option_no_throw("--" + item.name);
    if (option == nullptr || item.name == "config" || item.name == "help")
        throw InputError(std::string("orvex ") + command.get_name() + " has no option \"" +
                         item.name + "\" that a file may set");
    if (option->count() > 0) return;
    if (option->get_expected_min() == 0) {
        if (CLI::ConfigTOML().to_flag(item) != "true") return;
        option->add_result("true");
    } else {
        option->add_result(item.inputs);
    }
    option->run_callback();
}

}  // namespace

void read_config(const std::string& file, CLI::App& command, std::vector<std::string>& params) {
    std::vector<std::string> found;
    try {
        for (CLI::ConfigItem& item : items_of(file)) {
            if (item.name == SECTION_BEGINS || item.name == SECTION_ENDS) continue;
            if (!is_for(command, item)) continue;
            if (item.parents == std::vector<std::string>{PARAM})
                found.push_back(item.name + "=" + CLI::detail::join(item.inputs, " "));
            else if (item.parents.empty())
                take_option(item, command);
            else
                throw InputError("there is no section \"" + item.fullname() + "\"");
        }
    } catch (const CLI::Error& error) {
        throw InputError(file + ": " + error.what());
    } catch (const InputError& error) {
        throw InputError(file + ": " + error.what());
    }
    params.insert(params.begin(), found.begin(), found.end());
}

}  // namespace orvex::cli
