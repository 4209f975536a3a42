// What a run does, second by second, as lines of JSON for whoever wants to look at it later:
// "begin" with what was settled before the search, "improved" for each new best, "state" each
// second, "end" with the result. docs/traces.md defines them. Invariants: the lines come one at a
// time and in this order, and every energy is told as one of the caller's problem.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <orvex/island_state.hpp>
#include <orvex/plan.hpp>

#include "toolkit/companion/companion.hpp"
#include "toolkit/run/json_text.hpp"
#include "toolkit/run/record.hpp"
#include "toolkit/settings/solve_options.hpp"

namespace orvex::toolkit {

class Trace {
  public:
    /** How a search has ended. Times are in seconds. */
    struct Outcome {
        Ending ending;
        const Found& best;
        std::optional<Wide> bound;  ///< no energy is below, where that is known
        double load_time;           ///< before the search
        double search_time;
    };

    /** @param view outlives the trace */
    Trace(const TraceOptions& options, const View& view) : options_(options), view_(view) {}

    /** Whether anybody wants it; without, nothing below does anything. */
    bool wanted() const { return static_cast<bool>(options_.write); }

    /**
     * The search is about to begin.
     *
     * @param plan, parameters of the library; null where it does not search
     */
    void begin(const SolveOptions& options, const Record& record, const Preparation& preparation,
               const Plan* plan, const Settings& parameters);

    /** Tells the bests that are new, and the state where a second has gone by. */
    void look(const Record& record, const std::vector<IslandState>& islands,
              const Companion* companion);

    /** The figures with which the search has ended. */
    void keep(const std::vector<IslandState>& islands) { last_islands_ = islands; }

    void end(const Record& record, const Outcome& outcome, const Companion* companion);

  private:
    std::string own_text(Wide energy) const;
    void add_energy(JsonText& line, const char* key, std::optional<Wide> energy) const;
    void add_searched_energy(JsonText& line, const char* key, Wide energy, Wide none) const;
    void add_state(JsonText& line, const Record& record, const std::vector<IslandState>& islands,
                   const Companion* companion) const;
    void tell_bests(const Record& record);
    void write(const JsonText& line) { options_.write(line.text()); }

    const TraceOptions& options_;
    const View& view_;
    std::size_t told_ = 0;  // entries of the record's history
    double next_state_ = 1;
    std::vector<IslandState> last_islands_;
};

}  // namespace orvex::toolkit
