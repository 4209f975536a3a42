#include "app/result.hpp"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <limits>
#include <sstream>
#include <unistd.h>

#include "app/exit_status.hpp"
#include "toolkit/model/errors.hpp"
#include "toolkit/model/scaling.hpp"

namespace orvex::cli {
namespace {

/** A time in text; none while there is none. */
Report seconds_of(const std::string& text) {
    return text.empty() ? Report() : Report(std::stod(text));
}

/** What the library tells of its run; none where it made none. */
Report text_of(const Sol& solution, const char* key) {
    const std::string text = solution.get(key);
    return text.empty() ? Report() : Report(text);
}
Report whole_number_of(const Sol& solution, const char* key) {
    const std::string text = solution.get(key);
    return text.empty() ? Report() : Report(std::stol(text));
}

std::string with_unit(const Report& seconds) {
    return seconds.is_null() ? "none" : seconds.dump() + " s";
}

/** Whole numbers with blanks between them, as the library writes a pair of settings. */
Report numbers_in(const std::string& text) {
    Report numbers = Report::array();
    std::istringstream words(text);
    for (long number = 0; words >> number;)
        numbers.push_back(number);
    return numbers;
}

/** The library's lines "seconds,energy", each as a pair of numbers. */
Report log_of(const Sol& solution, const Convention& convention) {
    Report lines = Report::array();
    std::istringstream log(solution.impl().log.str());
    for (std::string line; std::getline(log, line);) {
        const std::size_t comma = line.find(',');
        lines.push_back({std::stod(line.substr(0, comma)),
                         own_number(convention, std::stol(line.substr(comma + 1)))});
    }
    return lines;
}

std::string rule_text(const RuleUse& use) {
    char text[160];
    std::snprintf(text, sizeof(text), "%s: %ld variables, %.4f s", use.rule, use.nodes,
                  use.seconds);
    return text;
}

/** No energy is below; where coefficients were rounded, no true one either. */
Report bound_of(const Problem& problem, const Result& result) {
    if (!result.bound) return {};
    const Convention& convention = problem.convention;
    if (!problem.reals) return own_number(convention, *result.bound);
    return number(static_cast<double>(*result.bound) / convention.scale - convention.largest_error);
}

/** The solution's energy and what the file makes of it, in the file's own numbers. */
void add_energy(const Problem& problem, const Result& result, const std::optional<Target>& target,
                Report& report) {
    const Convention& convention = problem.convention;
    bool reached = target && result.energy <= target->searched;
    if (problem.reals) {
        const double energy =
            real_energy(problem.reals->pairs, problem.reals->values, result.solution);
        report["energy"] = number(energy);
        report["objective"] = number(convention.real_objective_at(energy));
        reached = target && energy <= target->value;
    } else {
        report["energy"] = own_number(convention, result.energy);
        report["objective"] = own_number(convention, convention.objective_at(result.energy));
    }
    add_convention(convention, report);
    report["status"] = text_of(result.ending);
    report["bound"] = bound_of(problem, result);
    report["found_by"] = text_of(result.history.back().source);
    if (!target) return;
    report["target"] = number(target->value);
    report["target_reached"] = reached;
}

void add_preparation(const Preparation& preparation, Report& report) {
    report["searched_size"] = preparation.size;
    report["searched_couplings"] = preparation.couplings;
    report["presolve_time"] = std::round(preparation.presolve_time * 1e6) / 1e6;
    report["presolve_rules"] = rules_of(preparation.rules);
    report["groups"] = preparation.groups;
    report["companion_threads"] = preparation.companion_threads;
}

}  // namespace

Report rules_of(const std::vector<RuleUse>& rules) {
    Report lines = Report::array();
    for (const RuleUse& use : rules)
        if (use.nodes > 0) lines.push_back(rule_text(use));
    return lines;
}

std::vector<std::string> lines_of(const Preparation& preparation, int size) {
    std::vector<std::string> lines;
    const auto number_text = [](long number) { return std::to_string(number); };
    if (preparation.size < size) {
        char seconds[32];
        std::snprintf(seconds, sizeof(seconds), "%.3f s", preparation.presolve_time);
        lines.push_back("presolve: " + number_text(preparation.size) + " variables and " +
                        number_text(preparation.couplings) + " couplings are left, " + seconds);
        for (const RuleUse& use : preparation.rules)
            if (use.nodes > 0) lines.push_back("  " + rule_text(use));
    }
    if (preparation.companion_threads > 0)
        lines.push_back("companion: " + number_text(preparation.companion_threads) + " threads" +
                        (preparation.groups > 0
                             ? ", " + number_text(preparation.groups) + " one-hot groups"
                             : "") +
                        (preparation.has_library ? "" : ", alone"));
    return lines;
}

Report report_of(const Problem& problem, const Result& result, const std::optional<Target>& target,
                 double read_time) {
    const Sol& solution = result.solution;
    Report report = Report::object();
    report["file"] = problem.file;
    report["size"] = problem.size;
    add_energy(problem, result, target, report);
    add_preparation(result.preparation, report);
    report["tts"] = seconds_of(solution.get("tts"));
    report["runtime"] = seconds_of(solution.get("runtime"));
    report["kernel_time"] = seconds_of(solution.get("kernel_time"));
    report["load_time"] = std::round((read_time + result.load_time) * 1e6) / 1e6;
    report["total_flips"] = std::stol(solution.get("total_flips"));
    report["companion_flips"] = result.companion_flips;
    report["band"] = result.plan ? Report(result.plan->band()) : Report();
    report["device"] = text_of(solution, "gpu");
    report["search_cycles"] = numbers_in(solution.get("search_cycles"));
    report["tabu_cycles"] = whole_number_of(solution, "tabu_cycles");
    report["solution_proximity"] = whole_number_of(solution, "solution_proximity");
    report["version"] = solution.get("version");
    const Report log = log_of(solution, problem.convention);
    if (!log.empty()) report["log"] = log;
    return report;
}

Report summary_of(const Report& report) {
    Report summary = Report::object();
    summary["energy"] = report["energy"];
    if (report["format"] != Convention{}.format) summary["objective"] = report["objective"];
    summary["status"] = report["status"];
    summary["time_to_solution"] = with_unit(report["tts"]);
    summary["run_time"] = with_unit(report["runtime"]);
    summary["found_by"] = report["found_by"];
    if (!report["band"].is_null()) {
        summary["flips"] = report["total_flips"];
        summary["band"] = report["band"];
        summary["device"] = report["device"];
    }
    if (report["companion_flips"] != 0) summary["companion_flips"] = report["companion_flips"];
    return summary;
}

void expect_writable(const std::string& file) {
    namespace fs = std::filesystem;
    const fs::path path(file);
    std::error_code ignored;
    if (fs::is_directory(path, ignored)) throw InputError("Cannot write " + file + ": a directory");
    const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
    const char* checked = fs::exists(path, ignored) ? path.c_str() : folder.c_str();
    if (access(checked, W_OK) != 0)
        throw InputError("Cannot write " + file + ": " + std::strerror(errno));
}

bool write_result(const std::string& file, const std::string& digits, const Report& report) {
    std::ofstream opened;
    if (file != "-") opened.open(file);
    std::ostream& stream = file == "-" ? std::cout : opened;
    stream << digits << "\n";
    print_key_values(report, stream);
    stream.flush();
    return stream.good();
}

}  // namespace orvex::cli
