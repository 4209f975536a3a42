// The commands, with what the command line says for each. They return the exit status and
// throw InputError for wrong input. A file that is read and is named "-" is standard input.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/cli.hpp"
#include "app/report.hpp"
#include "toolkit/io/formats/format.hpp"
#include "toolkit/settings/search_settings.hpp"

namespace orvex::cli {

/** What the command line says of a search. */
struct SolveCommand {
    std::string file;
    ReadOptions read;
    std::optional<double> time_limit;   ///< seconds; 0: none
    std::optional<std::string> target;  ///< energy in the numbers of the file
    std::optional<long> trials;
    Settings params;                 ///< of a key that is given twice the last value counts
    std::string start;               ///< file; empty: none
    std::string output;              ///< file; empty: none
    std::string checkpoint, resume;  ///< files; empty: none
    std::string presolve = "auto";   ///< "auto", "off" or "full"
    std::string companion = "auto";  ///< "auto" or the share of the processors, from 0 to 1
    std::string groups;              ///< file; empty: as they are found
    std::uint64_t seed = 1;          ///< of the companion; that of the first run in a series
    std::string trace;               ///< file; empty: none
    Form form = Form::TEXT;
    bool quiet = false;
};

/** The same for several runs, each of which ends at the target or at its limits. */
struct BenchCommand {
    SolveCommand search;
    long runs = 10;
};

struct PresolveCommand {
    std::string input, output;  ///< files of the problem and of what is left of it
    ReadOptions read;
    std::string way_back;  ///< file; empty: output, with ".back"
    bool full = false;
    Form form = Form::TEXT;
};

struct RestoreCommand {
    std::string way_back, input, output;  ///< files: of "presolve", of a solution, to be written
    Form form = Form::TEXT;
};

struct ConvertCommand {
    std::string input, output;
    ReadOptions read;
    std::string to;  ///< name of a format
    Form form = Form::TEXT;
};

int solve(const SolveCommand& command);
int bench(const BenchCommand& command);
int check(const std::string& file, const ReadOptions& read, Form form);
int convert(const ConvertCommand& command);
int presolve(const PresolveCommand& command);
int restore(const RestoreCommand& command);
int info(Form form);

/** Words key=value as SolveCommand::params. @throws InputError */
Settings parse_params(const std::vector<std::string>& words);

}  // namespace orvex::cli
