// Callback is the channel between a running search and its caller: the engine shows the best
// solution and calls the event operation, the caller leaves requests, the engine carries them out
// when the event has returned. Invariant: the object only holds requests and acts on none, and it
// is touched only inside an event or while no run uses it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "orvex/export.hpp"
#include "orvex/island_state.hpp"
#include "orvex/sol.hpp"

namespace orvex {

/**
 * The base of a caller's receiver of events, handed to a run with Param::set(Callback&).
 *
 * Events come one at a time: "init" once, before the search, on the thread that called the solver;
 * "new" when the best energy of the run improves, if that was asked for; "alarm" when an alarm runs
 * out. The last two come on threads of the engine. Inside an event the object may be read and
 * written; during a run at no other time. An event must not throw.
 *
 * A callback outlives runs, and flags that are still set count for the next one.
 */
class ORVEX_API Callback {
  public:
    struct Impl;

    Callback();
    Callback(const Callback&) = delete;
    Callback& operator=(const Callback&) = delete;
    virtual ~Callback();

    /**
     * The event operation.
     *
     * @param event "init", "new" or "alarm"
     */
    virtual void callback(const std::string& event) = 0;

    /**
     * The best solution of the run, in "new" and "alarm". In "init" it has the size of the model;
     * all bits are 0 unless a run before, of a model of that size, has left its last one here.
     */
    const Sol& get() const;

    /**
     * Flips done so far, by all instances of the current run whose results have come back; 0 before
     * the first run.
     */
    long flips() const;

    /**
     * What each island has done so far, in "new" and "alarm", and when the run has ended the final
     * figures; without entries before the first run, and in its "init". Other islands than the one
     * that reports work on meanwhile, so that their figures may differ by a result from each other.
     */
    const std::vector<IslandState>& islands() const;

    /**
     * Asks runs for the best of what is in their pools when they end.
     *
     * @param count of distinct solutions, at most; 0, as it is first: none
     */
    void want_solutions(long count);

    /**
     * The best distinct solutions of all islands' pools at the end of the last run, the best first.
     * There may be fewer than were wanted, and a best of the run that an island has forgotten in a
     * restart is not among them.
     */
    const std::vector<Sol>& solutions() const;

    /**
     * Gives the run a hint: a solution to search from. It is copied; its length is not checked
     * against the model. Of several within one event the last counts.
     *
     * Every hint reaches a block, as long as the run sends instances at all: beside them while the
     * blocks' queue has room, and in place of the next one where it has none or `trial_limit`
     * grants no more. A run that is ending (by its limits, its target, "abort" or "kill") takes no
     * hints; those of its last results are kept for the "Hint" generator alone.
     */
    void set(const Sol& sol);

    /**
     * Leaves a request without a value.
     *
     * - "abort": end the run normally.
     * - "kill": end the run at once, without waiting for results. It goes before "abort", and
     * either one puts off all other requests to the next event.
     * - "new": deliver "new" events.
     * - "restart": restart all islands whenever a hint is taken, in this run and later ones. Alone
     *   it changes nothing.
     *
     * Any other word ends the process with status 1 and "Error: Wrong operation <operation>." on
     * standard error.
     */
    void set(const std::string& operation);

    /**
     * Leaves a request with a value.
     *
     * - "alarm": an "alarm" event after that many seconds. It comes once, and each event that comes
     *   before pushes it back to the full delay.
     * - "new": "0" stops "new" events, anything else starts them.
     * - "hint": "0" bars the hint algorithm from selection, anything else admits it.
     * - "annealing_factor", "batch_factor": the new factor; 0 asks for nothing.
     * - "search_cycles": the new cycles, as text like that of the parameter of this name. It is
     *   taken again after each later event and so goes before the two factors.
     *
     * Any other word ends the process with status 1 and
     * "Error: Wrong callback set operation [<operation>]." on standard error.
     *
     * @throws std::invalid_argument when the value of "alarm" or of a factor is not a number; the
     * caller must not let this leave an event
     * @throws std::out_of_range when it is one that its type cannot hold; the same
     */
    void set(const std::string& operation, const std::string& value);

    Impl& impl();              ///< what the object holds
    const Impl& impl() const;  ///< what the object holds

  private:
    std::unique_ptr<Impl> impl_;
};

/** What a Callback holds, as the engine reads and fills it; all zero, empty or without bits first.
 */
struct ORVEX_API Callback::Impl {
    unsigned char notify_new = 0;       ///< deliver "new" events
    unsigned char alarm_armed = 0;      ///< an alarm is wanted; the engine clears it before one
    unsigned char abort_request = 0;    ///< end the run normally
    unsigned char kill_request = 0;     ///< end the run at once
    unsigned char restart_request = 0;  ///< restart all islands at each hint
    double alarm_seconds = 0;           ///< delay of the alarm
    float batch_factor = 0;             ///< pending new factor; 0 means none
    float annealing_factor = 0;         ///< pending new factor; 0 means none
    std::string search_cycles;          ///< pending new cycles; empty means none
    Sol solution;                       ///< what the caller is shown; filled before an event
    unsigned char hint_pending = 0;     ///< hint holds a new solution
    unsigned char hint_ready = 0;       ///< the hint algorithm may be selected
    Sol hint;                           ///< the solution given by the caller
    long run_flips = 0;                 ///< flips of the run so far; filled before an event
    /**
     * End the run at once, as "kill" does, asked for outside of events: the one field that any
     * thread may write at any time, as a relaxed atomic. It is looked at some ten times a second
     * where no result comes in, and cleared when it is carried out.
     */
    unsigned char end_at_once = 0;
    std::vector<IslandState> islands;  ///< filled before "new" and "alarm", and by the run's end
    long solutions_wanted = 0;         ///< of the pools, at the run's end
    std::vector<Sol> solutions;        ///< filled by the run's end
};

}  // namespace orvex
