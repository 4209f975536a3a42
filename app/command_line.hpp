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
    CommandLine();

    /** @throws CLI::ParseError when it is wrong, or asks for help */
    void parse(int argc, char** argv) { app_.parse(argc, argv); }

    /** Says what is wrong, or the help that is asked for. @return 0 for the latter */
    int exit(const CLI::ParseError& error) { return app_.exit(error); }

    /** Does what it asks for. @return the exit status @throws InputError and what commands throw */
    int run();

  private:
    CLI::App* add_command(const char* name, const char* what);
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
