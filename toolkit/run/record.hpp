// What a run has found and what is asked of it, in the terms of the caller's problem: the one place
// through which solutions of the library and of the companion reach the caller's Events.
// Invariants: every energy in the history was added up from the bits, each is lower than the one
// before, and one thread at a time is in here.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "toolkit/run/events.hpp"
#include "toolkit/run/view.hpp"

namespace orvex::toolkit {

class Record {
  public:
    /** What ends the run from here. */
    struct Limits {
        double shown = 0;  ///< seconds that the run may take, for the caller to see; 0: no limit
        std::optional<double> abort{};  ///< seconds after which the run is ended from here
        std::optional<long> target{};   ///< energy at which the run is ended from here
        std::optional<Wide> bound{};    ///< no energy is below: a solution that has it is optimal
    };

    /**
     * @param starts count as found at the beginning; sorted, the best first
     * @param hints of the problem
     */
    Record(const View& view, const Limits& limits, std::vector<Found> starts,
           const std::vector<Sol>& hints, Events& events);

    /** The search begins. */
    void begin();

    /** Flips that the search has made so far. */
    void count(long flips) { moment_.flips = flips; }

    /** A solution of the searched model; enters the history if it is better than all. */
    void take(const Sol& searched, Source source) { take(searched, source, elapsed()); }
    void take(const Sol& searched, Source source, double time);

    /** Tells the caller what is new, or that the search goes on, and looks at the limits. */
    void tell();

    /** Why the run was ended from here, if it was. */
    std::optional<Ending> ending() const { return steering_.ending_; }

    /** Ends the run; the first reason counts. */
    void end(Ending why) { steering_.stop(why); }

    /** Solutions of the searched model that the caller has given since the last call. */
    std::vector<Sol> take_hints();

    /** Changes of the library's parameters that the caller has asked for since the last call. */
    std::vector<std::pair<std::string, std::string>> take_changes();

    double elapsed() const;
    /** Seconds that the run may take; 0: no limit. */
    double limit() const { return limits_.shown; }
    /** Energy at which the run is ended from here, if it is. */
    std::optional<long> target() const { return limits_.target; }
    /** Seconds until the run is ended from here, if it is. */
    std::optional<double> left() const;

    const std::vector<Found>& history() const { return history_; }

    /** The history without what was found after what is better: some come in late. */
    std::vector<Found> bests_in_time() const;
    const View& view() const { return view_; }

    /** Whether this thread is inside an event of a caller just now. */
    static bool in_event();

  private:
    using Clock = std::chrono::steady_clock;

    long energy_of(const Sol& solution) const;
    void look_at_limits();

    const View& view_;
    const Limits limits_;
    Events& events_;
    Steering steering_;
    std::vector<Found> history_;
    std::size_t told_ = 0;  // entries of the history
    Clock::time_point start_{};
    Moment moment_;
};

}  // namespace orvex::toolkit
