#include "toolkit/run/trace.hpp"

#include <cmath>
#include <ctime>
#include <limits>
#include <span>
#include <utility>

#include <orvex/orvex.hpp>
#include <orvex/parameters.hpp>

namespace orvex::toolkit {
namespace {

constexpr int FORMAT_VERSION = 1;

std::string utc_now() {
    const std::time_t seconds = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    char text[32];
    std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

/** How many results each kind has had, over all islands. */
template <class COUNTS>
void add_counts(JsonText& line, const char* key, std::span<const std::string_view> names,
                const std::vector<IslandState>& islands, COUNTS IslandState::*counts) {
    line.object(key);
    for (std::size_t k = 0; k < names.size(); ++k) {
        long sum = 0;
        for (const IslandState& island : islands)
            sum += (island.*counts)[k];
        line.add(names[k], sum);
    }
    line.end();
}

void add_preparation(JsonText& line, const Preparation& preparation) {
    line.add("searched_size", preparation.size);
    line.add("searched_couplings", preparation.couplings);
    line.add("presolve_time", preparation.presolve_time);
    line.array("presolve_rules");
    for (const RuleUse& use : preparation.rules)
        line.object()
            .add("rule", use.rule)
            .add("variables", use.nodes)
            .add("seconds", use.seconds)
            .end();
    line.end();
    line.add("groups", preparation.groups);
    line.add("companion_threads", preparation.companion_threads);
    line.add("library", preparation.has_library);
}

void add_plan(JsonText& line, const Plan& plan) {
    line.add("band", plan.band());
    line.add("rows", plan.rows);
    line.add("device", devices().front().name);
    line.add("devices", plan.devices);
    line.add("islands", plan.islands * plan.devices);
    line.add("blocks", plan.islands * plan.blocks_per_island * plan.devices);
}

}  // namespace

std::string Trace::own_text(Wide energy) const {
    return options_.model_numbers ? to_string(energy) : view_.problem().convention.own_text(energy);
}

void Trace::add_energy(JsonText& line, const char* key, std::optional<Wide> energy) const {
    if (energy)
        line.add_digits(key, own_text(*energy));
    else
        line.add_null(key);
}

void Trace::add_searched_energy(JsonText& line, const char* key, Wide energy, Wide none) const {
    add_energy(line, key,
               energy == none ? std::nullopt : std::optional(view_.original_energy(energy)));
}

void Trace::begin(const SolveOptions& options, const Record& record, const Preparation& preparation,
                  const Plan* plan, const Settings& parameters) {
    if (!wanted()) return;
    const Problem& problem = view_.problem();
    JsonText line;
    line.object().add("event", "begin").add("trace", FORMAT_VERSION);
    line.add("version", Solver(false).get("version")).add("started", utc_now());
    line.add("file", problem.file).add("size", problem.size);
    line.add("couplings", long{problem.couplings.count});
    line.add("format", problem.convention.format).add("equation", problem.convention.equation());
    line.add("time_limit", record.limit());
    add_energy(line, "target", record.target());
    line.add("trials", options.trials.value_or(0));
    line.add_digits("seed", std::to_string(options.seed));
    add_preparation(line, preparation);
    if (plan != nullptr) add_plan(line, *plan);
    line.object("parameters");
    for (const auto& [key, value] : parameters)
        line.add(key, value);
    line.end().end();
    write(line);
}

void Trace::tell_bests(const Record& record) {
    for (; told_ < record.history().size(); ++told_) {
        const Found& found = record.history()[told_];
        JsonText line;
        line.object().add("event", "improved").add("time", found.time);
        add_energy(line, "energy", found.energy);
        line.add("source", text_of(found.source)).end();
        write(line);
    }
}

void Trace::add_state(JsonText& line, const Record& record, const std::vector<IslandState>& islands,
                      const Companion* companion) const {
    const std::vector<Found>& history = record.history();
    add_energy(line, "best",
               history.empty() ? std::nullopt : std::optional<Wide>(history.back().energy));
    long flips = 0, results = 0;
    for (const IslandState& island : islands) {
        flips += island.flips;
        results += island.results;
    }
    line.add("flips", flips).add("results", results);
    line.array("islands");
    for (const IslandState& island : islands) {
        line.object();
        add_searched_energy(line, "current", island.current, IslandState::NO_ENERGY);
        add_searched_energy(line, "best", island.best, IslandState::NO_ENERGY);
        line.add("results", island.results).add("flips", island.flips).end();
    }
    line.end();
    add_counts(line, "rules", flip_rules(), islands, &IslandState::rules);
    add_counts(line, "generators", generators(), islands, &IslandState::generators);
    if (companion == nullptr) return;
    line.object("companion");
    add_searched_energy(line, "best", companion->best_energy(), std::numeric_limits<Wide>::max());
    line.add("flips", companion->attempted_flips()).end();
}

void Trace::look(const Record& record, const std::vector<IslandState>& islands,
                 const Companion* companion) {
    if (!wanted()) return;
    tell_bests(record);
    const double elapsed = record.elapsed();
    if (elapsed < next_state_) return;
    next_state_ = std::floor(elapsed) + 1;
    JsonText line;
    line.object().add("event", "state").add("time", elapsed);
    add_state(line, record, islands, companion);
    line.end();
    write(line);
}

void Trace::end(const Record& record, const Outcome& outcome, const Companion* companion) {
    if (!wanted()) return;
    tell_bests(record);
    JsonText line;
    line.object().add("event", "end").add("time", outcome.search_time);
    line.add("status", text_of(outcome.ending));
    add_energy(line, "energy", outcome.best.energy);
    add_energy(line, "bound", outcome.bound);
    line.add("found_by", text_of(outcome.best.source));
    line.add("found_time", outcome.best.time);
    line.add("load_time", outcome.load_time);
    add_state(line, record, last_islands_, companion);
    line.end();
    write(line);
}

}  // namespace orvex::toolkit
