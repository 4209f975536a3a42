// The commands, with what the command line says for each. They return the exit status and
// throw InputError for wrong input.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/cli.hpp"
#include "toolkit/io/formats/format.hpp"

namespace orvex::cli {

/** Seconds that a run takes when nothing is said about when it ends. */
inline constexpr long DEFAULT_TIME_LIMIT = 10;

struct SolveOptions {
    std::string file;
    ReadOptions read;
    std::optional<double> time_limit;  ///< seconds; 0: none
    std::optional<long> target;
    std::optional<long> trials;
    std::vector<std::pair<std::string, std::string>> params;  ///< as given, in this order
    std::string start;                                        ///< file; empty: none
    std::string output;                                       ///< file; empty: none
    bool json = false;
    bool quiet = false;
};

struct ConvertOptions {
    std::string input, output;
    ReadOptions read;
    std::string to;  ///< name of a format
    bool json = false;
};

int solve(const SolveOptions& options);
int check(const std::string& file, const ReadOptions& read, bool json);
int convert(const ConvertOptions& options);
int info(bool json);

/** The words of the command line as SolveOptions::params. @throws InputError */
std::vector<std::pair<std::string, std::string>> parse_params(
    const std::vector<std::string>& words);

}  // namespace orvex::cli
