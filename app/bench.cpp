// The command "bench": several runs on one problem, and what they say about the time to a target.
#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "app/commands.hpp"
#include "app/exit_status.hpp"
#include "app/interrupt.hpp"
#include "app/messages.hpp"
#include "app/progress.hpp"
#include "app/result.hpp"
#include "app/searching.hpp"
#include "app/statistics.hpp"

namespace orvex::cli {
namespace {

struct Run {
    long energy;   ///< of the integers that are searched
    Report shown;  ///< the energy in the file's own numbers
    Ending ending;
    double load_time, search_time;  ///< seconds
    std::vector<Found> history;
};

/** Ends a run at an interrupt, and says what should be known, once. */
class Watch : public Events {
  public:
    explicit Watch(bool quiet) : quiet_(quiet) {}

    void warned(const std::string& text) override {
        if (!quiet_) warn(text);
        quiet_ = true;
    }
    void began(const Moment&, Steering& steering) override { obey_interrupts(steering); }
    void improved(const Moment&, const Sol&, Steering& steering) override {
        obey_interrupts(steering);
    }
    void pulsed(const Moment&, Steering& steering) override { obey_interrupts(steering); }

  private:
    static void obey_interrupts(Steering& steering) {
        if (interrupted()) steering.stop(Ending::INTERRUPTED);
    }

    bool quiet_;
};

Run run_once(const Searching& searching, Events& events) {
    const Result result = toolkit::solve(searching.problem, searching.options, events);
    const Report report = report_of(searching.problem, result, searching.target, 0);
    std::vector<Found> history = result.history;
    for (Found& found : history)
        found.solution = Sol();
    return {result.energy,    report["energy"],   result.ending,
            result.load_time, result.search_time, std::move(history)};
}

/** Seconds from the call of the search, with all that it does first; none if it never came there.
 */
std::optional<double> time_to(long target, const Run& run) {
    for (const Found& found : run.history)
        if (found.energy <= target) return run.load_time + found.time;
    return std::nullopt;
}

Report seconds(const std::optional<double>& time) {
    return time ? Report(std::round(*time * 1e6) / 1e6) : Report();
}

TimesToTarget times_of(const std::vector<Run>& runs, long target) {
    TimesToTarget times{{}, static_cast<int>(runs.size())};
    for (const Run& run : runs)
        if (const std::optional<double> time = time_to(target, run)) times.reached.push_back(*time);
    std::sort(times.reached.begin(), times.reached.end());
    return times;
}

Report report_of_each(const std::vector<Run>& runs, long target) {
    Report each = Report::array();
    for (const Run& run : runs) {
        const std::optional<double> time = time_to(target, run);
        Report line = Report::object();
        line["run"] = each.size() + 1;
        line["energy"] = run.shown;
        line["status"] = text_of(run.ending);
        line["target_reached"] = time.has_value();
        line["time_to_target"] = seconds(time);
        line["load_time"] = seconds(run.load_time);
        line["run_time"] = seconds(run.search_time);
        each.push_back(line);
    }
    return each;
}

Report report_of_all(const Searching& searching, std::vector<Run> runs, long target) {
    const TimesToTarget times = times_of(runs, target);
    const int reached = static_cast<int>(times.reached.size());
    const Interval share = interval_of_share(reached, times.runs);
    const std::optional<RepeatedRuns> repeated = tts99(times);
    const std::optional<Interval> confidence = interval_of_tts99(times);
    std::sort(runs.begin(), runs.end(),
              [](const Run& a, const Run& b) { return a.energy < b.energy; });

    Report report = Report::object();
    report["file"] = searching.problem.file;
    report["size"] = searching.problem.size;
    report["runs"] = times.runs;
    report["target"] =
        searching.target ? number(searching.target->value) : Report(runs.front().shown);
    report["target_given"] = searching.target.has_value();
    report["time_limit"] = seconds(searching.options.time_limit);
    report["reached"] = reached;
    report["success_rate"] = static_cast<double>(reached) / times.runs;
    report["success_rate_low"] = share.low;
    report["success_rate_high"] = share.high;
    const char* names[] = {"time_least", "time_quartile_1", "time_median", "time_quartile_3",
                           "time_greatest"};
    for (int k = 0; k < 5; ++k)
        report[names[k]] = seconds(quantile(times, k / 4.0));
    report["tts99"] = repeated ? seconds(repeated->seconds) : Report();
    report["tts99_low"] = confidence ? seconds(confidence->low) : Report();
    report["tts99_high"] = confidence ? seconds(confidence->high) : Report();
    report["tts99_cutoff"] = repeated ? seconds(repeated->cutoff) : Report();
    report["best_energy"] = runs.front().shown;
    report["median_energy"] = runs[(runs.size() - 1) / 2].shown;
    report["worst_energy"] = runs.back().shown;
    return report;
}

std::string percent(const Report& share) {
    char text[32];
    std::snprintf(text, sizeof(text), "%.1f %%", 100 * share.get<double>());
    return text;
}

std::string seconds_text(const Report& time) {
    if (time.is_null()) return "not reached";
    char text[32];
    std::snprintf(text, sizeof(text), "%.4g s", time.get<double>());
    return text;
}

Report summary_of_all(const Report& report) {
    Report summary = Report::object();
    summary["target"] = report["target"];
    if (!report["target_given"].get<bool>())
        summary["target_is"] = "the lowest energy of these runs, since none was given";
    summary["reached"] = report["reached"].dump() + " of " + report["runs"].dump() + " runs";
    summary["success_rate"] = percent(report["success_rate"]) + ", 95 % confidence " +
                              percent(report["success_rate_low"]) + " to " +
                              percent(report["success_rate_high"]);
    for (const auto& [label, key] : {std::pair{"least_time", "time_least"},
                                     {"first_quartile", "time_quartile_1"},
                                     {"median_time", "time_median"},
                                     {"third_quartile", "time_quartile_3"},
                                     {"greatest_time", "time_greatest"}})
        summary[label] = seconds_text(report[key]);
    std::string repeated = seconds_text(report["tts99"]);
    if (!report["tts99"].is_null())
        repeated += ", in runs of " + seconds_text(report["tts99_cutoff"]);
    if (!report["tts99_low"].is_null())
        repeated += ", 95 % confidence " + seconds_text(report["tts99_low"]) + " to " +
                    seconds_text(report["tts99_high"]);
    summary["99_%_time"] = repeated;
    summary["energies"] = "best " + value_text(report["best_energy"]) + ", median " +
                          value_text(report["median_energy"]) + ", worst " +
                          value_text(report["worst_energy"]);
    return summary;
}

void tell(const Run& run, std::size_t number, long runs) {
    std::cerr << "run " << number << " of " << runs << ": energy " << value_text(run.shown) << ", "
              << text_of(run.ending) << " after " << duration_text(run.load_time + run.search_time)
              << std::endl;
}

}  // namespace

int bench(const BenchCommand& command) {
    Searching searching = searching_of(command.search);
    SolveOptions& options = searching.options;
    const bool limited = options.time_limit || options.trials ||
                         options.settings.contains("time_limit") ||
                         options.settings.contains("trial_limit");
    if (!limited) options.time_limit = DEFAULT_TIME_LIMIT;

    Watch watch(command.search.quiet);
    catch_interrupts();
    std::vector<Run> runs;
    while (static_cast<long>(runs.size()) < command.runs) {
        options.seed = command.search.seed + runs.size();
        Run run = run_once(searching, watch);
        if (run.ending == Ending::INTERRUPTED) break;  // what it would have brought is not known
        runs.push_back(std::move(run));
        if (!command.search.quiet) tell(runs.back(), runs.size(), command.runs);
    }
    if (runs.empty()) {
        complain("interrupted before the end of the first run");
        return EXIT_SIGNAL_BASE + SIGINT;
    }

    const long target =
        searching.target
            ? searching.target->searched
            : std::min_element(runs.begin(), runs.end(), [](const Run& a, const Run& b) {
                  return a.energy < b.energy;
              })->energy;
    const Report each = report_of_each(runs, target);
    Report report = report_of_all(searching, std::move(runs), target);
    const Report summary = summary_of_all(report);
    report["results"] = each;
    if (command.search.form == Form::CSV)
        print_csv({each.begin(), each.end()}, std::cout);
    else
        print(report, summary, command.search.form, std::cout);
    return EXIT_NORMAL;
}

}  // namespace orvex::cli
