// The call above all rooms of the toolkit: a problem goes in, its best solution comes out, with the
// energy that its bits have. Invariant: nothing here ends the process. What the library would end
// it for is found out before, and thrown.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <orvex/orvex.hpp>
#include <orvex/plan.hpp>

#include "toolkit/model/errors.hpp"
#include "toolkit/model/problem.hpp"
#include "toolkit/settings/search_settings.hpp"

namespace orvex::toolkit {

/** What ended a search. */
enum class Ending { TARGET, TIME_LIMIT, TRIAL_LIMIT, STOPPED, INTERRUPTED, ENDED };

/** "target reached", "time limit", "trial limit", "stopped by callback", "interrupted", "ended". */
const char* text_of(Ending ending);

/** Seconds that a search takes when nothing is said about when it ends. */
inline constexpr double DEFAULT_TIME_LIMIT = 10;

/** How a problem is searched. What is left open is chosen by the problem's structure. */
struct SolveOptions {
    std::optional<double> time_limit{};  ///< seconds, as exact as results come in; 0: no limit
    std::optional<long> target{};        ///< ends at this energy or below
    std::optional<long> trials{};        ///< ends after so many start instances, at least 1

    /**
     * Parameters of the library (docs/parameters.md), by key. They go before what the members above
     * say and before what would be chosen.
     */
    Settings settings{};
    bool library_cycles = false;  ///< leaves an open "search_cycles" to the library

    /**
     * Solutions that count as found when the search begins. The best is searched from at once, the
     * others are given as hints.
     */
    std::vector<Sol> starts{};
    std::vector<Sol> hints{};  ///< solutions for the search to start instances from
};

/** A moment of a search. Times are in seconds since it began. */
struct Moment {
    double elapsed = 0;
    double limit = 0;       ///< of the search; 0 if there is none
    bool has_best = false;  ///< whether a solution has been found yet
    long best = 0;          ///< its energy
    double best_time = 0;   ///< when it was found
    long flips = 0;
};

/** What a caller may ask of a search inside an event. */
class Steering {
  public:
    /** Ends the search; the first reason counts. */
    void stop(Ending why = Ending::STOPPED) {
        if (!ending_) ending_ = why;
    }

    /** Gives the search a solution to start instances from, at one of the next events. */
    void hint(const Sol& solution) { hints_.push_back(solution); }

  private:
    friend class Watcher;
    std::optional<Ending> ending_;
    std::vector<Sol> hints_;
};

/**
 * Receives what happens, one event at a time. Those of the search itself come on threads of the
 * library, some tenths of a second apart at most while results come in. An exception that leaves an
 * event ends the search and is thrown by solve(). A solve() inside an event would wait for itself
 * and is refused.
 */
class Events {
  public:
    virtual ~Events() = default;

    /** Something that the caller should know, before the search. */
    virtual void warned(const std::string& text) { static_cast<void>(text); }
    /** The search follows, with these parameters of the library. */
    virtual void planned(const Plan& plan, const Settings& parameters) {
        static_cast<void>(plan), static_cast<void>(parameters);
    }
    /** The search begins. */
    virtual void began(const Moment& moment, Steering& steering) {
        static_cast<void>(moment), static_cast<void>(steering);
    }
    /** A solution is better than all before; its energy, `moment.best`, was added up from it. */
    virtual void improved(const Moment& moment, const Sol& solution, Steering& steering) {
        static_cast<void>(moment), static_cast<void>(solution), static_cast<void>(steering);
    }
    /** The search goes on. */
    virtual void pulsed(const Moment& moment, Steering& steering) {
        static_cast<void>(moment), static_cast<void>(steering);
    }
};

/** A new best. */
struct Found {
    double time;  ///< seconds since the search began; 0 for a start
    long energy;  ///< added up from the bits
    Sol solution;
};

/** What a search brought. */
struct Result {
    Sol solution;   ///< the best; with what the library tells of it and of the run, by get(key)
    long energy;    ///< its energy, added up from the bits
    Ending ending;  ///< why the search ended
    std::vector<Found> history;  ///< every new best, the last of them the solution
    Plan plan;                   ///< what the run was
    Settings parameters;         ///< what the library was given
    double load_time;            ///< seconds until the search began
    double search_time;          ///< seconds from then until the library had returned
};

/** The library reports another energy than its solution has: an error of the library itself. */
class EnergyMismatch : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** There is no device to search on. */
class NoDevice : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/**
 * Searches for the solution of lowest energy.
 *
 * One search at a time runs in a process: another thread's waits until it is over.
 *
 * @throws InputError when an option is wrong, no band of this build holds the problem, or energies
 *     are not proven to fit
 * @throws MemoryShortage when this machine or a device has not the memory
 * @throws NoDevice when the build is for GPUs and there is none
 * @throws EnergyMismatch when the result is not what it claims to be
 * @throws std::logic_error when called inside an event
 * @throws std::bad_alloc
 */
Result solve(const Problem& problem, const SolveOptions& options, Events& events);

/** The same without events. */
Result solve(const Problem& problem, const SolveOptions& options = {});

}  // namespace orvex::toolkit
