// From the command line and the model to the parameters of a run, and from a run's end to the words
// for it. What the user gives with --param goes before everything that the program would set.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "app/cli.hpp"
#include "app/commands.hpp"
#include "app/watcher.hpp"
#include "toolkit/io/model_file.hpp"

namespace orvex::cli {

struct RunSettings {
    std::map<std::string, std::string> params;  ///< for the library
    Watcher::Limits limits;                     ///< what the program itself sees to
    double time_limit = 0;                      ///< seconds, as the run obeys it; 0: none
    std::optional<long> target;
    long trials = 0;          ///< 0: no limit
    int arithmetic_bits = 0;  ///< asked for
    bool own_display = true;  ///< false when the library's display was asked for
    std::vector<std::string> warnings;
};

/**
 * @param proven_bits the arithmetic width that is proven to be enough, 128 for none
 * @throws InputError when a limit is out of its range
 */
RunSettings settings_for(const SolveOptions& options, const Problem& problem, int proven_bits);

/**
 * What ended a run.
 *
 * @param stop why the program ended it, if it did
 * @param energy the result
 * @param runtime seconds, as the library tells them
 */
std::string status_of(const RunSettings& settings, Watcher::Stop stop, long energy, double runtime);

}  // namespace orvex::cli
