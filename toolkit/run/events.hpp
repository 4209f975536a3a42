// What a caller hears of a search while it goes on, and what it may ask for.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <orvex/orvex.hpp>
#include <orvex/plan.hpp>

#include "toolkit/presolve/presolve.hpp"
#include "toolkit/settings/search_settings.hpp"

namespace orvex::toolkit {

/** What ended a search. */
enum class Ending { OPTIMAL, TARGET, TIME_LIMIT, TRIAL_LIMIT, STOPPED, INTERRUPTED, ENDED };

/** "optimal" (the best is proven to be), "target reached", "time limit", "trial limit", "stopped by
 * callback", "interrupted", "ended". */
const char* text_of(Ending ending);

/** Who found a solution. */
enum class Source { START, PRESOLVE, SEARCH, COMPANION, MERGE };

/**
 * "start" (the caller), "presolve" (it was all that presolve left), "search" (the library),
 * "companion" (annealing), "merge" (the companion, from parts of several solutions).
 */
const char* text_of(Source source);

/** What a search works on and with, as it was settled before it. */
struct Preparation {
    int size = 0;                ///< variables of the model that is searched
    long couplings = 0;          ///< its couplings
    double presolve_time = 0;    ///< seconds
    std::vector<RuleUse> rules;  ///< what presolve did; empty if it was not asked
    long groups = 0;             ///< one-hot groups that the companion keeps
    int companion_threads = 0;   ///< 0: there is no companion
    bool has_library = true;     ///< whether the library searches
};

/** A moment of a search. Times are in seconds since it began. */
struct Moment {
    double elapsed = 0;
    double limit = 0;               ///< of the search; 0 if there is none
    bool has_best = false;          ///< whether a solution has been found yet
    long best = 0;                  ///< its energy
    double best_time = 0;           ///< when it was found
    Source source = Source::START;  ///< and by whom
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

    /**
     * Changes a parameter of the library from one of the next results on.
     *
     * @param key "batch_factor" or "annealing_factor"
     * @param value the new value, as text
     * @throws InputError when it is another, or the value is wrong
     */
    void change(const std::string& key, const std::string& value);

  private:
    friend class Record;
    std::vector<std::pair<std::string, std::string>> changes_;
    std::optional<Ending> ending_;
    std::vector<Sol> hints_;
};

/**
 * Receives what happens, one event at a time, on threads that are not the caller's. While a search
 * goes on no more than a tenth of a second is between two events, however quiet it is: what is due
 * without a result comes as pulsed(). What is asked for in an event goes to the library with its
 * next result; the end, where none comes in time, without it. An exception that leaves an event
 * ends the search and is thrown by solve(). A solve() inside an event would wait for itself and is
 * refused.
 */
class Events {
  public:
    virtual ~Events() = default;

    /** Something that the caller should know, before the search. */
    virtual void warned(const std::string& text) { static_cast<void>(text); }
    /** What will be searched, and by whom. */
    virtual void prepared(const Preparation& preparation) { static_cast<void>(preparation); }
    /** A search of the library follows, with these parameters. */
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
    /** The search goes on; at most a tenth of a second after the event before. */
    virtual void pulsed(const Moment& moment, Steering& steering) {
        static_cast<void>(moment), static_cast<void>(steering);
    }
};

/** A new best. */
struct Found {
    double time;  ///< seconds since the search began; 0 for a start
    long energy;  ///< added up from the bits
    Sol solution;
    Source source = Source::SEARCH;  ///< who found it
};

/** One of several good solutions. */
struct Ranked {
    long energy;  ///< added up from the bits
    Sol solution;
};

}  // namespace orvex::toolkit
