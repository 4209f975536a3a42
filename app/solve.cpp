// The command "solve": a problem's file, a search, a result.
#include "toolkit/solve.hpp"

#include <chrono>
#include <iostream>

#include "app/commands.hpp"
#include "app/exit_status.hpp"
#include "app/interrupt.hpp"
#include "app/progress.hpp"
#include "app/result.hpp"
#include "toolkit/io/formats/input_file.hpp"
#include "toolkit/io/groups_file.hpp"
#include "toolkit/io/solution.hpp"
#include "toolkit/model/errors.hpp"
#include "toolkit/settings/check_settings.hpp"

namespace orvex::cli {
namespace {

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/** The library's own display takes the place of the program's. */
bool wants_librarys_display(const SolveCommand& command) {
    const auto verbose = command.params.find("verbose");
    return verbose != command.params.end() && std::atol(verbose->second.c_str()) > 0;
}

/** Shows on standard error what happens, and ends the search at an interrupt. */
class Screen : public Events {
  public:
    Screen(const Problem& problem, const SolveCommand& command)
        : problem_(problem),
          quiet_(command.quiet),
          progress_(Progress::style_for_stderr(command.quiet || wants_librarys_display(command)),
                    std::cerr, problem.convention) {}

    void warned(const std::string& text) override { note("Warning: " + text); }

    void prepared(const Preparation& preparation) override {
        for (const std::string& warning : problem_.warnings)
            warned(warning);
        note(problem_.file + ": " + std::to_string(problem_.size) + " variables, " +
             std::to_string(problem_.entries) + " entries");
        if (!problem_.convention.is_own() || problem_.convention.scaled())
            note(problem_.file + ": " + problem_.convention.text());
        for (const std::string& line : lines_of(preparation, problem_.size))
            note(line);
    }

    void planned(const Plan& plan, const Settings&) override {
        note("search: band " + plan.band() + ", " + plan.rows + " rows, " +
             std::to_string(plan.islands * plan.blocks_per_island * plan.devices) + " blocks");
    }

    void began(const Moment& moment, Steering& steering) override {
        obey_interrupts(steering);
        shown([&] { progress_.begin(moment); });
    }
    void improved(const Moment& moment, const Sol&, Steering& steering) override {
        obey_interrupts(steering);
        shown([&] { progress_.update(moment, true); });
    }
    void pulsed(const Moment& moment, Steering& steering) override {
        obey_interrupts(steering);
        shown([&] { progress_.update(moment, false); });
    }
    void end() { progress_.end(); }

  private:
    void note(const std::string& text) const {
        if (!quiet_) std::cerr << text << std::endl;
    }

    static void obey_interrupts(Steering& steering) {
        if (interrupted()) steering.stop(Ending::INTERRUPTED);
    }

    /** A search can go on without its display, which may fail for want of memory. */
    template <class ACTION>
    static void shown(const ACTION& action) {
        try {
            action();
        } catch (...) {
        }
    }

    const Problem& problem_;
    const bool quiet_;
    Progress progress_;
};

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
        options.groups = read_groups(command.groups, problem.convention.index_base, problem.size);
    if (!command.start.empty())
        options.starts.push_back(read_solution(command.start, problem.size));
    options.checkpoint = command.checkpoint;
    options.resume = command.resume;
    return options;
}

}  // namespace

int solve(const SolveCommand& command) {
    const Clock::time_point begin = Clock::now();
    expect_settings(command.params);
    if (command.target) target_of(*command.target, {});  // refused before a long file is read
    if (!command.output.empty()) expect_writable(command.output);
    InputFile file(command.file, command.read);
    file.expect_memory_of_run();
    const Problem problem = file.read();
    std::optional<Target> target;
    if (command.target) target = target_of(*command.target, problem.convention);
    const SolveOptions options = options_of(command, problem, target);
    const double read_time = seconds_since(begin);

    Screen screen(problem, command);
    catch_interrupts();
    const Result result = toolkit::solve(problem, options, screen);
    screen.end();

    Report report = report_of(problem, result, target, read_time);
    const std::string digits = digits_of(result.solution, problem.size);
    const bool written = command.output.empty() || write_result(command.output, digits, report);
    if (command.json) {
        report["bits"] = digits;
        print_json(report, std::cout);
    } else {
        print_text(summary_of(report), std::cout);
    }
    if (!written) {
        std::cerr << "Error: Cannot write " << command.output << std::endl;
        return EXIT_NOT_WRITTEN;
    }
    if (!result.checkpoint_failure.empty()) {
        std::cerr << "Error: " << result.checkpoint_failure << std::endl;
        return EXIT_NOT_WRITTEN;
    }
    return EXIT_NORMAL;
}

Settings parse_params(const std::vector<std::string>& words) {
    Settings params;
    for (const std::string& word : words) {
        const std::size_t equals = word.find('=');
        if (equals == std::string::npos || equals == 0)
            throw InputError("--param takes key=value, not \"" + word + "\"");
        params[word.substr(0, equals)] = word.substr(equals + 1);
    }
    return params;
}

}  // namespace orvex::cli
