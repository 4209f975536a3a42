// The command "solve": a model file, a run, a result.
#include <chrono>
#include <iostream>

#include "app/commands.hpp"
#include "app/exit_status.hpp"
#include "app/interrupt.hpp"
#include "app/progress.hpp"
#include "app/result.hpp"
#include "app/run_settings.hpp"
#include "app/watcher.hpp"
#include "toolkit/errors.hpp"
#include "toolkit/io/formats/input_file.hpp"
#include "toolkit/io/solution.hpp"
#include "toolkit/model/machine.hpp"

namespace orvex::cli {
namespace {

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void note(const SolveOptions& options, const std::string& text) {
    if (!options.quiet) std::cerr << text << std::endl;
}

/** Before the entries are read, which may take the memory already. */
void expect_memory(const SolveOptions& options, const InputFile& file, const Band& band) {
    const long needed = memory_of_run(file.size(), file.width(), band).total();
    const std::string need = options.file + ": a run needs " + bytes_text(needed);
    if (needed > machine_memory())
        throw InputError(need + " of memory; this machine has " + bytes_text(machine_memory()));
    if (needed > free_memory())
        note(options, "Warning: " + need + " of memory, of which " + bytes_text(free_memory()) +
                          " are free");
}

Sol run(const Problem& problem, const RunSettings& settings, const std::optional<Sol>& start,
        Watcher& watcher) {
    Param param;
    for (const auto& [key, value] : settings.params)
        param.set(key, value);
    param.set(watcher);
    const Solver solver(false);
    return start ? solver(*problem.model, param, *start) : solver(*problem.model, param);
}

}  // namespace

int solve(const SolveOptions& options) {
    const Clock::time_point begin = Clock::now();
    Solver solver(false);
    const std::vector<int> sizes = band_sizes(solver);
    if (!options.output.empty()) expect_writable(options.output);

    InputFile file(options.file, options.read);
    // A model that no band holds goes on to the library, which refuses it with what there is.
    const std::optional<Band> smallest = band_for(sizes, file.size(), file.width(), 32);
    if (smallest) expect_memory(options, file, *smallest);
    const Problem problem = file.read();
    const int fillers = smallest ? smallest->size - problem.size : 0;

    const RunSettings settings = settings_for(options, problem, problem.bound.bits(fillers));
    std::optional<Sol> start;
    if (!options.start.empty()) start = read_solution(options.start, problem.size);
    for (const auto* warnings : {&problem.warnings, &settings.warnings})
        for (const std::string& warning : *warnings)
            note(options, "Warning: " + warning);
    const std::optional<Band> band =
        band_for(sizes, problem.size, problem.width, settings.arithmetic_bits);
    if (band) {
        const auto rows = rows_of_run(*band, problem.couplings);
        note(options, options.file + ": " + std::to_string(problem.size) + " variables, " +
                          std::to_string(problem.entries) + " entries, band " + band->name() +
                          (rows ? ", " + rows->form + " rows" : ""));
    }

    if (!problem.convention.is_own())
        note(options, options.file + ": " + problem.convention.text());

    const bool quiet = options.quiet || !settings.own_display;
    Progress progress(Progress::style_for_stderr(quiet), std::cerr);
    Watcher watcher(settings.limits, progress);
    const double load_time = seconds_since(begin);
    catch_interrupts();
    const Sol result = run(problem, settings, start, watcher);
    progress.end();

    const long energy = verified_energy(*problem.model, result, problem.size);
    const std::string status =
        status_of(settings, watcher.stop(), energy, std::stod(result.get("runtime")));
    Report report = report_of(problem, settings, result, energy, status, load_time);
    const std::string digits = digits_of(result, problem.size);

    const bool written = options.output.empty() || write_result(options.output, digits, report);
    if (options.json) {
        report["bits"] = digits;
        print_json(report, std::cout);
    } else {
        print_text(summary_of(report), std::cout);
    }
    if (!written) {
        std::cerr << "Error: Cannot write " << options.output << std::endl;
        return EXIT_NOT_WRITTEN;
    }
    return EXIT_NORMAL;
}

}  // namespace orvex::cli
