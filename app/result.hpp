// What a run hands back, checked and shown. Invariant: no energy is shown that was not added up
// from the bits that go with it.
#pragma once

#include <stdexcept>
#include <string>

#include <orvex/orvex.hpp>

#include "app/cli.hpp"
#include "app/report.hpp"
#include "app/run_settings.hpp"

namespace orvex::cli {

/** The library reports another energy than its solution has. */
class EnergyMismatch : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/**
 * The energy of a run's result, added up from the weights and compared with what the run reports.
 *
 * @throws EnergyMismatch when they differ
 */
long verified_energy(const Model& model, const Sol& result, int size);

/** Everything about a run but the bits. Times are in seconds. */
Report report_of(const Problem& problem, const RunSettings& settings, const Sol& result,
                 long energy, const std::string& status, double load_time);

/** What a user wants to read. */
Report summary_of(const Report& report);

/** Ends early when a file cannot be written, before a long run is spent. @throws InputError */
void expect_writable(const std::string& file);

/** The bits in the first line, the report as key=value lines below. @return whether it worked */
bool write_result(const std::string& file, const std::string& digits, const Report& report);

}  // namespace orvex::cli
