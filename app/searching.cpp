#include "app/searching.hpp"

#include <chrono>
#include <cstdlib>
#include <utility>

#include "app/standard_input.hpp"
#include "toolkit/io/formats/input_file.hpp"
#include "toolkit/io/groups_file.hpp"
#include "toolkit/io/solution.hpp"
#include "toolkit/model/errors.hpp"
#include "toolkit/settings/check_settings.hpp"

namespace orvex::cli {
namespace {

double share_of(const std::string& text) {
    char* end = nullptr;
    const double share = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0')
        throw InputError("--companion takes a share from 0 to 1 or auto, not \"" + text + "\"");
    return share;
}

SolveOptions options_of(const SolveCommand& command, const Problem& problem,
                        const std::optional<Target>& target) {
    SolveOptions options{
        .time_limit = command.time_limit, .trials = command.trials, .settings = command.params};
    if (target) options.target = target->searched;
    options.presolve = command.presolve == "off"    ? PresolveEffort::OFF
                       : command.presolve == "full" ? PresolveEffort::FULL
                                                    : PresolveEffort::AUTO;
    if (command.companion != "auto") options.companion = share_of(command.companion);
    if (!command.groups.empty())
        options.groups =
            read_groups(readable(command.groups), problem.convention.index_base, problem.size);
    if (!command.start.empty())
        options.starts.push_back(read_solution(readable(command.start), problem.size));
    options.seed = command.seed;
    options.checkpoint = command.checkpoint;
    options.resume = command.resume;
    return options;
}

}  // namespace

Searching searching_of(const SolveCommand& command) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point begin = Clock::now();
    expect_settings(command.params);
    expect_one_standard_input({command.file, command.groups, command.start});
    if (command.target) target_of(*command.target, {});  // refused before a long file is read
    InputFile file(readable(command.file), command.read);
    file.expect_memory_of_run();
    Problem problem = file.read();
    std::optional<Target> target;
    if (command.target) target = target_of(*command.target, problem.convention);
    SolveOptions options = options_of(command, problem, target);
    const std::chrono::duration<double> read_time = Clock::now() - begin;
    return {std::move(problem), target, std::move(options), read_time.count()};
}

}  // namespace orvex::cli
