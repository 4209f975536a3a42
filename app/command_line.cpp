#include "app/command_line.hpp"

#include <algorithm>
#include <iostream>
#include <memory>
#include <utility>

#include <orvex/orvex.hpp>

#include "app/completion.hpp"
#include "app/config.hpp"
#include "app/exit_status.hpp"
#include "app/help.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::cli {
namespace {

constexpr const char* EXAMPLES = R"(Examples:
  orvex check model.qubo.gz
  orvex solve model.qubo.gz --time-limit 60 --output best.sol
  orvex solve model.qubo.gz --target -371438 --time-limit 20 --json
  orvex solve model.qubo.gz --start best.sol --param search_cycles="5000 1000"
  orvex bench model.qubo.gz --target -371438 --runs 20
  orvex convert G14.txt model.qubo.gz --from maxcut --to orvex
  orvex generate dense --size 4096 - | orvex solve -

"orvex COMMAND --help" shows the options of a command. Where a file is read or
written, - means standard input or output.

Exit status:
  0   solved, or ended by a limit or by the first Ctrl-C
  1   refused by the library, or out of memory
  2   wrong command line or file, or a model too large for this machine
  3   internal error: the reported energy is not that of the solution
  4   the result could not be written
  130 ended by a second Ctrl-C (143 by a second SIGTERM))";

constexpr const char* SOLVE_FOOTER =
    R"(Without --time-limit, --target and --trials a run takes 10 seconds. Ctrl-C ends
a run and still prints and writes the best solution; a second one quits at once.

Examples:
  orvex solve model.qubo.gz --time-limit 60 --output best.sol
  orvex solve model.qubo.gz --target -371438 --time-limit 20 --json
  orvex solve model.qubo.gz --time-limit 60 --trace run.jsonl)";

constexpr const char* BENCH_FOOTER =
    R"(Every run ends at the target, or at --time-limit (10 seconds by default) or
--trials. Without --target, the lowest energy that these runs found takes its
place. Times count from the start of presolve, without reading the file.

The 99 % time is the time in which repeated runs reach the target with a
probability of 99 %: t ln(1 - 0.99) / ln(1 - p(t)), p(t) being the share of the
runs that reached it within t, for the t for which this is least.

Example:
  orvex bench model.qubo.gz --target -371438 --runs 20 --time-limit 5)";

constexpr const char* PRESOLVE_FOOTER =
    R"(Beside OUT the way back is written to OUT.back: "orvex restore" takes it and a
solution of OUT, and writes one of IN.)";

constexpr const char* COMPLETION_FOOTER =
    R"(An installed program has its completions installed too. Elsewhere:
  source <(orvex completion bash)                  in ~/.bashrc
  source <(orvex completion zsh)                   in ~/.zshrc, after compinit
  orvex completion fish | source                   in ~/.config/fish/config.fish)";

/** Without the list that CLI11 would add to the type, which names them already. */
CLI::Validator one_of(std::vector<std::string> words) {
    return CLI::IsMember(std::move(words)).description("");
}

}  // namespace

CommandLine::CommandLine(int argc, char** argv)
    : argc_(argc),
      argv_(argv),
      solve_(add_command("solve", "search for the bit vector of lowest energy")),
      bench_(add_command("bench", "measure how long it takes to reach a target, in several runs")),
      check_(add_command("check", "check a problem's file and show what a run needs")),
      convert_(add_command("convert", "write a problem's file in another format")),
      presolve_(add_command("presolve", "write what exact reductions leave of a problem")),
      restore_(
          add_command("restore", "turn a solution of what presolve left into one of the problem")),
      info_(add_command("info", "show what this build is and where it runs")),
      completion_(add_command("completion", "print a script with which a shell completes words")),
      generate_(add_command("generate", "make a random model for experiments")) {
    app_.name("orvex");
    app_.require_subcommand(1);
    app_.footer(EXAMPLES);
    app_.set_version_flag(
        "--version",
        [] { return "orvex " ORVEX_PROJECT_VERSION ", engine " + Solver(false).get("version"); },
        "show the versions of program and engine, and end");
    for (CLI::App* command : app_.get_subcommands({}))
        if (needs(command)) describe(command);
}

bool CommandLine::needs(const CLI::App* command) const {
    const std::string first = argc_ > 1 ? argv_[1] : "";
    if (first == command->get_name()) return true;
    const std::vector<const CLI::App*> commands = app_.get_subcommands({});
    return first == completion_->get_name() ||
           std::none_of(commands.begin(), commands.end(),
                        [&](const CLI::App* any) { return any->get_name() == first; });
}

void CommandLine::describe(CLI::App* command) {
    if (command == generate_.command()) return generate_.describe();
    if (command == completion_) return describe_completion();
    if (command == solve_ || command == bench_ || command == check_)
        command->add_option("FILE", options_.file, "file of a problem, plain or compressed (.gz)")
            ->required()
            ->type_name("");
    if (command == solve_) describe_solve();
    if (command == bench_) describe_bench();
    if (command == convert_) describe_convert();
    if (command == presolve_) describe_presolve();
    if (command == restore_) describe_restore();
    if (command != restore_ && command != info_) describe_reading(command);
    describe_forms(command);
}

void CommandLine::describe_completion() {
    completion_->footer(COMPLETION_FOOTER);
    completion_->add_option("SHELL", shell_, "bash, zsh or fish")
        ->required()
        ->check(one_of({"bash", "zsh", "fish"}))
        ->type_name("bash|zsh|fish");
}

CLI::App* CommandLine::add_command(const char* name, const char* what) {
    if (app_.get_subcommands({}).empty()) {  // what follows takes these over
        app_.formatter(std::make_shared<HelpFormatter>());
        app_.get_formatter()->label("Positionals", "Arguments");
        app_.set_help_flag("-h,--help", "show this help and end");
    }
    return app_.add_subcommand(name, what)->group("Commands");
}

void CommandLine::describe_limits(CLI::App* command) {
    command->option_defaults()->group("When the search ends");
    command
        ->add_option("--time-limit", options_.time_limit,
                     "end after this many seconds; 0: no limit")
        ->type_name("SECONDS");
    command
        ->add_option("--target", options_.target,
                     "end at this energy or below, in the numbers of the file")
        ->type_name("ENERGY");
    command->add_option("--trials", options_.trials, "end after this many instances")
        ->type_name("N");
}

void CommandLine::describe_search(CLI::App* command) {
    describe_limits(command);
    command->option_defaults()->group("How it searches");
    command
        ->add_option("--param", params_,
                     "a parameter of the library, in place of what the program would set; may "
                     "be repeated")
        ->type_name("KEY=VALUE")
        ->allow_extra_args(false);
    command
        ->add_option("--presolve", options_.presolve,
                     "exact reductions before the search; auto by default")
        ->check(one_of({"auto", "off", "full"}))
        ->type_name("auto|off|full");
    command
        ->add_option("--companion", options_.companion,
                     "share of the processors for the companion, which works on parts of "
                     "structured models: from 0 (none) to 1 (all); auto by default")
        ->type_name("auto|SHARE");
    command
        ->add_option("--groups", options_.groups,
                     "one-hot groups for the companion: a line of variables for each group of "
                     "which exactly one is 1; at most one where the line begins with <=")
        ->type_name("FILE");
    command
        ->add_option("--seed", options_.seed,
                     "where the companion's random numbers begin; 1 by default")
        ->type_name("N");
    command->add_option("--start", options_.start, "begin with the solution in this file")
        ->type_name("FILE");
    command->option_defaults()->group("Files and messages");
    command->add_flag("--quiet", options_.quiet, "show no progress and no warnings");
    command
        ->add_option("--config", config_,
                     "options from this file, as lines like time-limit = 60; what the command "
                     "line says goes before them")
        ->type_name("FILE");
}

void CommandLine::describe_solve() {
    solve_->footer(SOLVE_FOOTER);
    describe_search(solve_);
    solve_->add_option("--output", options_.output, "write the solution and its results here")
        ->type_name("FILE");
    solve_
        ->add_option("--checkpoint", options_.checkpoint,
                     "keep the best solutions in this file while the search goes on")
        ->type_name("FILE");
    solve_
        ->add_option("--resume", options_.resume,
                     "begin with the solutions that --checkpoint left in this file")
        ->type_name("FILE");
    solve_
        ->add_option("--trace", options_.trace,
                     "write what the run does, second by second, here; python -m orvex.report "
                     "draws it")
        ->type_name("FILE");
}

void CommandLine::describe_bench() {
    bench_->footer(BENCH_FOOTER);
    bench_->add_option("--runs", benchmark_.runs, "how many runs; 10 by default")
        ->check(CLI::Range(1, 1'000'000).description(""))
        ->type_name("N");
    describe_search(bench_);
}

void CommandLine::describe_convert() {
    convert_->footer("Formats (docs/formats.md defines them):\n" + format_list());
    convert_->add_option("IN", conversion_.input, "file to read, plain or compressed (.gz)")
        ->required()
        ->type_name("");
    convert_
        ->add_option("OUT", conversion_.output,
                     "file to write, compressed if its name ends in .gz; -: standard output")
        ->required()
        ->type_name("");
    convert_->add_option("--to", conversion_.to, "format to write: " + written_format_names())
        ->required()
        ->type_name("FORMAT");
}

void CommandLine::describe_presolve() {
    presolve_->footer(PRESOLVE_FOOTER);
    presolve_->add_option("IN", reduction_.input, "file of a problem")->required()->type_name("");
    presolve_
        ->add_option("OUT", reduction_.output, "file to write, compressed if its name ends in .gz")
        ->required()
        ->type_name("");
    presolve_
        ->add_option("--back", reduction_.way_back, "file for the way back; OUT.back by default")
        ->type_name("FILE");
    presolve_->add_flag("--full", reduction_.full, "all rules, however long they take");
}

void CommandLine::describe_restore() {
    restore_->add_option("BACK", restoration_.way_back, "the way back, of \"orvex presolve\"")
        ->required()
        ->type_name("");
    restore_->add_option("IN", restoration_.input, "file of a solution of the reduced problem")
        ->required()
        ->type_name("");
    restore_->add_option("OUT", restoration_.output, "file for the solution of the problem")
        ->required()
        ->type_name("");
}

void CommandLine::describe_reading(CLI::App* command) {
    command->option_defaults()->group("How the file is read");
    command
        ->add_option("--from", options_.read.format,
                     "format of the file, if its contents leave it open: " + format_names())
        ->type_name("FORMAT");
    command
        ->add_option("--instance", options_.read.instance,
                     "which of the file's instances (" + format_names(&Format::has_instances) + ")")
        ->type_name("K");
    command
        ->add_option("--penalty", options_.read.penalty,
                     "penalty of a broken constraint (" + format_names(&Format::has_penalty) +
                         "); by default one that is proven to suffice")
        ->type_name("P");
    command
        ->add_option("--sense", sense_,
                     "whether to minimise or maximise, if the format leaves it open (" +
                         format_names(&Format::leaves_sense_open) + "); min by default")
        ->check(one_of({"min", "max"}))
        ->type_name("min|max");
    command
        ->add_option("--scale", scale_,
                     "how decimals become integers: auto (exactly where energies fit, else "
                     "rounded), exact (none do), or a whole number by which all are multiplied")
        ->type_name("auto|exact|FACTOR");
}

void CommandLine::describe_forms(CLI::App* command) {
    command->option_defaults()->group("Form of the result");
    CLI::Option* json =
        command->add_flag("--json", json_, "result as one JSON object on standard output");
    command
        ->add_flag("--csv", csv_,
                   command == bench_ ? "a line of comma-separated values for each run"
                                     : "result as names and values, separated by commas")
        ->excludes(json);
}

void CommandLine::take_config() {
    if (config_.empty()) return;
    read_config(config_, *app_.get_subcommands().front(), params_);
    if (json_ && csv_) throw InputError("--json and --csv exclude each other");
}

/** What several commands share reaches each of them. */
void CommandLine::settle() {
    options_.params = parse_params(params_);
    if (!sense_.empty()) options_.read.maximised = sense_ == "max";
    options_.read.scale = Scale::of(scale_);
    options_.read.note = [this](const std::string& text) {
        if (!options_.quiet) std::cerr << text << std::endl;
    };
    options_.form = json_ ? Form::JSON : csv_ ? Form::CSV : Form::TEXT;
    conversion_.read = reduction_.read = options_.read;
    conversion_.form = reduction_.form = restoration_.form = options_.form;
    benchmark_.search = options_;
}

int CommandLine::run() {
    take_config();
    settle();
    if (*solve_) return cli::solve(options_);
    if (*bench_) return cli::bench(benchmark_);
    if (*check_) return cli::check(options_.file, options_.read, options_.form);
    if (*convert_) return cli::convert(conversion_);
    if (*presolve_) return cli::presolve(reduction_);
    if (*restore_) return cli::restore(restoration_);
    if (generate_.chosen()) return generate_.run();
    if (*completion_) {
        std::cout << completion_script(app_, shell_);
        return EXIT_NORMAL;
    }
    return cli::info(options_.form);
}

}  // namespace orvex::cli
