// The command "solve": a problem's file, a search, a result.
#include "toolkit/solve.hpp"

#include <iostream>

#include "app/commands.hpp"
#include "app/exit_status.hpp"
#include "app/interrupt.hpp"
#include "app/messages.hpp"
#include "app/progress.hpp"
#include "app/result.hpp"
#include "app/searching.hpp"
#include "app/trace_file.hpp"
#include "toolkit/io/solution.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::cli {
namespace {

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

    void warned(const std::string& text) override {
        if (!quiet_) warn(text);
    }

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

}  // namespace

int solve(const SolveCommand& command) {
    const bool result_elsewhere = command.output == "-" || command.trace == "-";
    if (command.output == "-" && command.trace == "-")
        throw InputError("either --output or --trace can be standard output, not both");
    if (!command.output.empty() && command.output != "-") expect_writable(command.output);
    Searching searching = searching_of(command);
    const Problem& problem = searching.problem;
    TraceFile trace(command.trace);
    searching.options.trace = trace.options();

    Screen screen(problem, command);
    catch_interrupts();
    const Result result = toolkit::solve(problem, searching.options, screen);
    screen.end();

    Report report = report_of(problem, result, searching.target, searching.read_time);
    const std::string digits = digits_of(result.solution, problem.size);
    const bool written = command.output.empty() || write_result(command.output, digits, report);
    const Report summary = summary_of(report);
    report["bits"] = digits;
    print(report, summary, command.form, result_elsewhere ? std::cerr : std::cout);
    if (!written) complain(("Cannot write " + command.output).c_str());
    if (!trace.written()) complain(("Cannot write all of the trace to " + command.trace).c_str());
    if (!result.checkpoint_failure.empty()) complain(result.checkpoint_failure.c_str());
    return written && trace.written() && result.checkpoint_failure.empty() ? EXIT_NORMAL
                                                                           : EXIT_NOT_WRITTEN;
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
