// The program's side of a run: it receives the events, drives the display, and ends the run on an
// interrupt, at a time limit with a fraction, and at a target of 0, which the engine takes for no
// target. Invariant: no exception leaves an event.
#pragma once

#include <chrono>
#include <optional>

#include <orvex/orvex.hpp>

#include "app/cli.hpp"
#include "app/progress.hpp"

namespace orvex::cli {

class Watcher : public orvex::Callback {
  public:
    enum class Stop { NONE, INTERRUPT, DEADLINE, TARGET };

    /** What ends the run from here. */
    struct Limits {
        double shown = 0;  ///< seconds that the run may take, for the display; 0: no limit
        std::optional<double> abort;   ///< seconds after which the run is ended from here
        std::optional<long> target{};  ///< energy at which the run is ended from here
    };

    Watcher(const Limits& limits, Progress& progress) : limits_(limits), progress_(progress) {}

    void callback(const std::string& event) override;

    /** Why the run was ended from here, if it was. */
    Stop stop() const { return stop_; }

  private:
    using Clock = std::chrono::steady_clock;

    void handle(const std::string& event);
    double elapsed() const;
    Stop reason_to_stop() const;

    Limits limits_;
    Progress& progress_;
    Clock::time_point start_{};
    Moment moment_;
    Stop stop_ = Stop::NONE;
};

}  // namespace orvex::cli
