// The program orvex: the command line, and the exit status for whatever goes wrong.
#include <atomic>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <system_error>
#include <unistd.h>
#include <vector>

#include <CLI/CLI.hpp>

#include <orvex/orvex.hpp>

#include "app/commands.hpp"
#include "app/exit_status.hpp"
#include "app/generate.hpp"
#include "app/result.hpp"
#include "toolkit/io/output_file.hpp"
#include "toolkit/model/errors.hpp"
#include "toolkit/solve.hpp"

namespace orvex::cli {
namespace {

constexpr const char* EXAMPLES = R"(Examples:
  orvex check model.qubo.gz
  orvex solve model.qubo.gz --time-limit 60 --output best.sol
  orvex solve model.qubo.gz --target -371438 --time-limit 20 --json
  orvex convert G14.txt model.qubo.gz --from maxcut --to orvex
  orvex solve model.qubo.gz --start best.sol --param search_cycles="5000 1000"
  orvex generate dense --size 4096 model.qubo.gz

Exit status:
  0   solved, or ended by a limit or by the first Ctrl-C
  1   refused by the library, or out of memory
  2   wrong command line or file, or a model too large for this machine
  3   internal error: the reported energy is not that of the solution
  4   the result could not be written
  130 ended by a second Ctrl-C (143 by a second SIGTERM))";

constexpr const char* SOLVE_FOOTER =
    R"(Without --time-limit, --target and --trials a run takes 10 seconds.
Ctrl-C ends a run and still prints and writes the best solution; a second one quits at once.)";

struct CommandLine {
    CLI::App app{"Solves QUBO problems: minimises the sum over i <= j of W[i][j] x[i] x[j]."};
    CLI::App* solve = app.add_subcommand("solve", "search for the bit vector of lowest energy");
    CLI::App* check =
        app.add_subcommand("check", "check a problem's file and show what a run needs");
    CLI::App* convert = app.add_subcommand("convert", "write a problem's file in another format");
    CLI::App* presolve =
        app.add_subcommand("presolve", "write what exact reductions leave of a problem");
    CLI::App* restore = app.add_subcommand(
        "restore", "turn a solution of what presolve left into one of the problem");
    CLI::App* info = app.add_subcommand("info", "show what this build is and where it runs");
    GenerateCommand generate{app};
    SolveCommand options;
    ConvertCommand conversion;
    PresolveCommand reduction;
    RestoreCommand restoration;
    std::string sense;
    std::string scale = "auto";
    std::vector<std::string> params;

    CommandLine() {
        app.name("orvex");
        app.require_subcommand(1);
        app.footer(EXAMPLES);
        app.set_version_flag("--version", [] {
            return "orvex " ORVEX_PROJECT_VERSION ", engine " + Solver(false).get("version");
        });
        for (CLI::App* command : {solve, check})
            command
                ->add_option("FILE", options.file, "file of a problem, plain or compressed (.gz)")
                ->required()
                ->type_name("");
        describe_solve();
        describe_convert();
        describe_presolve();
        for (CLI::App* command : {solve, check, convert, presolve})
            describe_reading(command);
        for (CLI::App* command : {solve, check, convert, presolve, restore, info})
            command->add_flag("--json", options.json,
                              "result as one JSON object on standard output");
    }

    void describe_solve() {
        solve->footer(SOLVE_FOOTER);
        solve
            ->add_option("--time-limit", options.time_limit,
                         "end after this many seconds; 0: no limit")
            ->type_name("SECONDS");
        solve
            ->add_option("--target", options.target,
                         "end at this energy or below, in the numbers of the file")
            ->type_name("ENERGY");
        solve->add_option("--trials", options.trials, "end after this many instances")
            ->type_name("N");
        solve
            ->add_option("--param", params,
                         "a parameter of the library, in place of what the program would set; may "
                         "be repeated")
            ->type_name("KEY=VALUE")
            ->allow_extra_args(false);
        solve
            ->add_option("--presolve", options.presolve,
                         "exact reductions before the search: auto, off or full")
            ->check(CLI::IsMember({"auto", "off", "full"}))
            ->type_name("EFFORT");
        solve
            ->add_option("--companion", options.companion,
                         "share of the processors for the companion, which works on parts of "
                         "structured models: from 0 (none) to 1 (all), or auto")
            ->type_name("SHARE");
        solve
            ->add_option("--groups", options.groups,
                         "one-hot groups for the companion: a line of variables for each group of "
                         "which exactly one is 1; at most one where the line begins with <=")
            ->type_name("FILE");
        solve->add_option("--start", options.start, "begin with the solution in this file")
            ->type_name("FILE");
        solve->add_option("--output", options.output, "write the solution and its results here")
            ->type_name("FILE");
        solve
            ->add_option("--checkpoint", options.checkpoint,
                         "keep the best solutions in this file while the search goes on")
            ->type_name("FILE");
        solve
            ->add_option("--resume", options.resume,
                         "begin with the solutions that --checkpoint left in this file")
            ->type_name("FILE");
        solve->add_flag("--quiet", options.quiet, "show no progress and no warnings");
    }

    void describe_convert() {
        convert->footer("Formats (docs/formats.md defines them):\n" + format_list());
        convert->add_option("IN", conversion.input, "file to read, plain or compressed (.gz)")
            ->required()
            ->type_name("");
        convert
            ->add_option("OUT", conversion.output,
                         "file to write, compressed if its name ends in .gz; -: standard output")
            ->required()
            ->type_name("");
        convert->add_option("--to", conversion.to, "format to write: " + written_format_names())
            ->required()
            ->type_name("FORMAT");
    }

    void describe_presolve() {
        presolve->footer(
            "Beside OUT the way back is written to OUT.back: \"orvex restore\" takes it and a\n"
            "solution of OUT, and writes one of IN.");
        presolve->add_option("IN", reduction.input, "file of a problem")->required()->type_name("");
        presolve
            ->add_option("OUT", reduction.output,
                         "file to write, compressed if its name ends in .gz")
            ->required()
            ->type_name("");
        presolve->add_flag("--full", reduction.full, "all rules, however long they take");
        restore->add_option("BACK", restoration.way_back, "the way back, of \"orvex presolve\"")
            ->required()
            ->type_name("");
        restore->add_option("IN", restoration.input, "file of a solution of the reduced problem")
            ->required()
            ->type_name("");
        restore->add_option("OUT", restoration.output, "file for the solution of the problem")
            ->required()
            ->type_name("");
    }

    void describe_reading(CLI::App* command) {
        command
            ->add_option("--from", options.read.format,
                         "format of the file, if its contents leave it open: " + format_names())
            ->type_name("FORMAT");
        command
            ->add_option(
                "--instance", options.read.instance,
                "which of the file's instances (" + format_names(&Format::has_instances) + ")")
            ->type_name("K");
        command
            ->add_option("--penalty", options.read.penalty,
                         "penalty of a broken constraint (" + format_names(&Format::has_penalty) +
                             "); by default one that is proven to suffice")
            ->type_name("P");
        command
            ->add_option("--sense", sense,
                         "whether to minimise or maximise, if the format leaves it open (" +
                             format_names(&Format::leaves_sense_open) + "); min by default")
            ->check(CLI::IsMember({"min", "max"}))
            ->type_name("SENSE");
        command
            ->add_option("--scale", scale,
                         "how decimals become integers: auto (exactly where energies fit, else "
                         "rounded), exact (none do), or a whole number by which all are multiplied")
            ->type_name("SCALE");
    }

    int run() {
        options.params = parse_params(params);
        if (!sense.empty()) options.read.maximised = sense == "max";
        options.read.scale = Scale::of(scale);
        options.read.note = [this](const std::string& text) {
            if (!options.quiet) std::cerr << text << std::endl;
        };
        conversion.read = options.read;
        conversion.json = options.json;
        if (*solve) return cli::solve(options);
        if (*check) return cli::check(options.file, options.read, options.json);
        if (*convert) return cli::convert(conversion);
        reduction.read = options.read;
        reduction.json = restoration.json = options.json;
        if (*presolve) return cli::presolve(reduction);
        if (*restore) return cli::restore(restoration);
        if (generate.chosen()) return generate.run();
        return cli::info(options.json);
    }
};

constexpr const char* NO_MEMORY = "Error: not enough memory\n";

int fail(int status, const char* text) {
    std::cerr << "Error: " << text << std::endl;
    return status;
}

int main_of(int argc, char** argv) {
    CommandLine line;
    try {
        line.app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return line.app.exit(error) == 0 ? EXIT_NORMAL : EXIT_BAD_INPUT;
    }
    const int status = line.run();
    if (status == EXIT_NORMAL && !std::cout.flush())
        return fail(EXIT_NOT_WRITTEN, "Cannot write to standard output");
    return status;
}

/** Whether what ends the process is a lack of memory. */
bool memory_lacks() {
    // On its way out of the library an exception meets threads that still run, and ends the process
    // before anyone has caught it. Nothing but a lack of memory throws there.
    if (!std::current_exception()) return std::uncaught_exceptions() > 0;
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return true;
    } catch (...) {
        return false;
    }
}

/**
 * Ends the process where no caller can: a thread of the library, or a destructor, lacks memory.
 * Anything else is an error of the program and leaves its trace.
 */
[[noreturn]] void end_where_nobody_catches() {
    static std::atomic_flag ended;
    if (!memory_lacks()) std::abort();
    if (ended.test_and_set())
        for (;;)
            pause();  // another thread was first
    std::cerr << NO_MEMORY;
    _exit(EXIT_REFUSED);
}

/** Nothing here allocates: memory may be what is missing. */
int guarded_main_of(int argc, char** argv) {
    try {
        return main_of(argc, argv);
    } catch (const InputError& error) {
        return fail(EXIT_BAD_INPUT, error.what());
    } catch (const EnergyMismatch& error) {
        return fail(EXIT_ENERGY_MISMATCH, error.what());
    } catch (const WriteError& error) {
        return fail(EXIT_NOT_WRITTEN, error.what());
    } catch (const NoDevice& error) {
        return fail(EXIT_REFUSED, error.what());
    } catch (const std::bad_alloc&) {
        std::cerr << NO_MEMORY;
        return EXIT_REFUSED;
    } catch (const std::system_error& error) {  // a thread that cannot be started
        return fail(EXIT_REFUSED, error.what());
    }
}

}  // namespace
}  // namespace orvex::cli

int main(int argc, char** argv) {
    std::set_terminate(orvex::cli::end_where_nobody_catches);
    return orvex::cli::guarded_main_of(argc, argv);
}
