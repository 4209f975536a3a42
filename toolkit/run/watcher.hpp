// The toolkit's side of a run: receives the library's events and tells the caller's Events, keeps
// the history, hands hints over, and ends the run where the caller asks for it, at a time limit
// with a fraction, and at a target of 0, which the engine takes for no target. The library speaks
// only when a result comes in; a Pulse keeps the caller's events and the end on time where none
// does. Invariants: no exception leaves an event of the library, one event at a time is told, and
// every energy in the history was added up from the bits.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "toolkit/model/problem.hpp"
#include "toolkit/run/events.hpp"

namespace orvex::toolkit {

class Watcher : public Callback {
  public:
    /** What ends the run from here. */
    struct Limits {
        double shown = 0;  ///< seconds that the run may take, for the caller to see; 0: no limit
        std::optional<double> abort{};  ///< seconds after which the run is ended from here
        std::optional<long> target{};   ///< energy at which the run is ended from here
    };

    /** @param starts count as found at the beginning; sorted, the best first */
    Watcher(const Problem& problem, const Limits& limits, std::vector<Found> starts,
            const std::vector<Sol>& hints, Events& events);

    void callback(const std::string& event) override;

    /**
     * To be called some times in a tenth of a second, from a thread of its own, from before the run
     * to behind it: tells an event where one is due, and ends a run whose blocks do not hand in in
     * time.
     */
    void tick();

    /** Why the run was ended from here, if it was. */
    std::optional<Ending> ending() const { return steering_.ending_; }

    /** Throws what left an event of the caller's. */
    void rethrow() const;

    /** A solution that the library has returned; enters the history if it is better than all. */
    void take(const Sol& solution, double time);

    const std::vector<Found>& history() const { return history_; }

    /** Whether this thread is inside an event just now. */
    static bool in_event();

  private:
    using Clock = std::chrono::steady_clock;

    template <class ACTION>
    void tell(const ACTION& action);
    void handle(const std::string& event);
    void settle_end();
    bool overdue() const;
    void request();
    double elapsed() const;
    double found_time(const Sol& solution) const;
    long energy_of(const Sol& solution) const;

    const Problem& problem_;
    const Limits limits_;
    Events& events_;
    Steering steering_;
    std::mutex mutex_;       // of one event at a time, and of all that follows
    std::deque<Sol> hints_;  // not handed over yet
    std::vector<Found> history_;
    Clock::time_point start_{};
    bool began_ = false;
    double last_event_ = 0;          // when the last one was told
    std::optional<double> end_due_;  // when the run was asked to end, or its time was up
    Moment moment_;
    std::exception_ptr failure_;
};

/** Calls tick() for as long as it lives. */
class Pulse {
  public:
    explicit Pulse(Watcher& watcher);
    Pulse(const Pulse&) = delete;
    Pulse& operator=(const Pulse&) = delete;
    ~Pulse();

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool over_ = false;
    std::thread thread_;
};

}  // namespace orvex::toolkit
