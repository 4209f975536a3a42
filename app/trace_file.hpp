// The trace of a run on its way into a file. Invariant: a trace that cannot be written ends there
// and takes nothing else with it; who asked for it is told when the run is over.
#pragma once

#include <fstream>
#include <string>

#include "app/cli.hpp"
#include "toolkit/settings/solve_options.hpp"

namespace orvex::cli {

class TraceFile {
  public:
    /** @param name "-" is standard output; empty: no trace @throws InputError */
    explicit TraceFile(const std::string& name);

    /** What brings a trace here; this object outlives the run. */
    TraceOptions options();

    /** Whether all of it, if any, was written. */
    bool written() const { return written_; }

  private:
    void write(const std::string& line);

    std::string name_;
    std::ofstream file_;
    bool written_ = true;
};

}  // namespace orvex::cli
