// What a search brought, shown and written.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <orvex/orvex.hpp>

#include "app/cli.hpp"
#include "app/report.hpp"
#include "toolkit/io/scale.hpp"
#include "toolkit/solve.hpp"

namespace orvex::cli {

/** Everything about a search but the bits. Times are in seconds. */
Report report_of(const Problem& problem, const Result& result, const std::optional<Target>& target,
                 double read_time);

/** The rules of presolve that took out anything, a line for each. */
Report rules_of(const std::vector<RuleUse>& rules);

/** What the search works on and with, in lines for people. */
std::vector<std::string> lines_of(const Preparation& preparation, int size);

/** What a user wants to read. */
Report summary_of(const Report& report);

/** Ends early when a file cannot be written, before a long run is spent. @throws InputError */
void expect_writable(const std::string& file);

/**
 * The bits in the first line, the report as key=value lines below.
 *
 * @param file "-" is standard output
 * @return whether it worked
 */
bool write_result(const std::string& file, const std::string& digits, const Report& report);

}  // namespace orvex::cli
