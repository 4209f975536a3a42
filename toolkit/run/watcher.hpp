// The toolkit's side of a run of the library: receives its events, keeps the record of the run and
// the companion supplied with what is found, hands hints over, and ends the run where the record
// asks for it: at the caller's wish, at a time limit with a fraction, at a target of 0, which the
// engine takes for no target. The library speaks only when a result comes in; a Pulse keeps the
// caller's events and the end on time where none does. Invariants: no exception leaves an event of
// the library, and one event at a time is told.
#pragma once

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>

#include <orvex/orvex.hpp>

#include "toolkit/companion/companion.hpp"
#include "toolkit/run/record.hpp"
#include "toolkit/run/trace.hpp"

namespace orvex::toolkit {

class Watcher : public Callback {
  public:
    /**
     * @param companion works beside the library; null if there is none
     * @param trace null if nobody wants one
     */
    explicit Watcher(Record& record, Companion* companion = nullptr, Trace* trace = nullptr);

    void callback(const std::string& event) override;

    /**
     * To be called some times in a tenth of a second, from a thread of its own, from before the run
     * until after it: tells an event where one is due, and ends a run whose blocks do not hand in
     * in time.
     */
    void tick();

    /** The run is over: stops the companion, and throws what left an event of the caller's. */
    void finish();

  private:
    template <class ACTION>
    void guarded(const ACTION& action);
    void handle(const std::string& event);
    void exchange(bool is_new);
    void tell();
    bool overdue() const;
    void request();

    Record& record_;
    Companion* const companion_;
    Trace* const trace_;
    std::mutex mutex_;  // of one event at a time, and of all that follows
    Wide known_;        // lowest energy of the searched model that library and companion both know
    std::deque<Sol> hints_;  // not handed over yet
    // A copy, since the engine fills its own while a tick may look.
    std::vector<IslandState> seen_islands_;
    bool began_ = false;
    double last_event_ = 0;          // when the last one was told
    std::optional<double> end_due_;  // when the run was asked to end
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
