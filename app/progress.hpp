// What a run shows while it runs, on standard error: on a terminal one line that is redrawn, and
// elsewhere a line for each improvement, but not more than one in half a second, so that a log
// stays readable. Invariant: what is shown last before the end is the run's best.
#pragma once

#include <chrono>
#include <ostream>
#include <string>
#include <utility>

#include "app/cli.hpp"
#include "toolkit/solve.hpp"

namespace orvex::cli {

/** The line of a terminal, cut to its width. */
std::string live_line(const Moment& moment, int columns, const Convention& convention = {});

/** The line of a log. */
std::string log_line(const Moment& moment, const Convention& convention = {});

/** A duration as it is read at a glance: "4.0 s", "12 min 05 s", "3 h 20 min". */
std::string duration_text(double seconds);

/** A rate with the prefix that leaves three digits, such as "12.3 M" or "850 ". */
std::string rate_text(double per_second);

class Progress {
  public:
    enum class Style { QUIET, LOG, LIVE };

    /** @param convention in whose numbers energies are shown */
    Progress(Style style, std::ostream& out, Convention convention = {})
        : style_(style), out_(out), convention_(std::move(convention)) {}

    /** The style that suits standard error. */
    static Style style_for_stderr(bool quiet);

    void begin(const Moment& moment);

    /** Something may have changed; `improved` says whether the best has. */
    void update(const Moment& moment, bool improved);

    /** The run has ended: the terminal's line goes, a log gets what it has not seen yet. */
    void end();

  private:
    using Clock = std::chrono::steady_clock;

    void draw(const Moment& moment);

    Style style_;
    std::ostream& out_;
    Convention convention_;
    Clock::time_point drawn_{};  // when something was shown last
    bool pending_ = false;       // an improvement has not been shown
    Moment last_;
};

}  // namespace orvex::cli
