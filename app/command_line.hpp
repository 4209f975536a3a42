// The tables of the command line: every command with its options and what they mean. Help and
// completion are made of them.
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "app/commands.hpp"
#include "app/generate.hpp"

namespace orvex::cli {

class CommandLine {
  public:
    /**
     * The tables that this command line needs: where its first word is a command, those of the
     * others stay empty. A program that is started for a moment should not spend it on them.
     */
    CommandLine(int argc, char** argv);

    /** @throws CLI::ParseError when it is wrong, or asks for help */
    void parse() { app_.parse(argc_, argv_); }

    /** Says what is wrong, or the help that is asked for. @return 0 for the latter */
    int exit(const CLI::ParseError& error) { return app_.exit(error); }

    /** Does what it asks for. @return the exit status @throws InputError and what commands throw */
    int run();

  private:
    CLI::App* add_command(const char* name, const char* what);
    bool needs(const CLI::App* command) const;
    void describe(CLI::App* command);
    void describe_completion();
    void describe_limits(CLI::App* command);
    void describe_search(CLI::App* command);
    void describe_solve();
    void describe_bench();
    void describe_convert();
    void describe_presolve();
    void describe_restore();
    void describe_reading(CLI::App* command);
    void describe_forms(CLI::App* command);
    void take_config();
    void settle();

    int argc_;
    char** argv_;
    CLI::App app_{"Solves QUBO problems: minimises the sum over i <= j of W[i][j] x[i] x[j]."};
    CLI::App *solve_, *bench_, *check_, *convert_, *presolve_, *restore_, *info_, *completion_;
    GenerateCommand generate_;
    SolveCommand options_;
    BenchCommand benchmark_;
    ConvertCommand conversion_;
    PresolveCommand reduction_;
    RestoreCommand restoration_;
    std::string sense_;
    std::string scale_ = "auto";
    std::string config_;
    std::string shell_;
    std::vector<std::string> params_;
    bool json_ = false, csv_ = false;
};

}  // namespace orvex::cli
