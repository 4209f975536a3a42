#include "app/result.hpp"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <unistd.h>

#include "app/exit_status.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::cli {
namespace {

/** A time in text; none while there is none. */
Report seconds_of(const std::string& text) {
    return text.empty() ? Report() : Report(std::stod(text));
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
Report log_of(const Sol& solution) {
    Report lines = Report::array();
    std::istringstream log(solution.impl().log.str());
    for (std::string line; std::getline(log, line);) {
        const std::size_t comma = line.find(',');
        lines.push_back({std::stod(line.substr(0, comma)), std::stol(line.substr(comma + 1))});
    }
    return lines;
}

}  // namespace

Report report_of(const Problem& problem, const Result& result, const std::optional<long>& target,
                 double read_time) {
    const Sol& solution = result.solution;
    Report report = Report::object();
    report["file"] = problem.file;
    report["size"] = problem.size;
    report["energy"] = result.energy;
    report["objective"] = number(problem.convention.objective_at(result.energy));
    add_convention(problem.convention, report);
    report["status"] = text_of(result.ending);
    if (target) {
        report["target"] = *target;
        report["target_reached"] = result.energy <= *target;
    }
    report["tts"] = seconds_of(solution.get("tts"));
    report["runtime"] = seconds_of(solution.get("runtime"));
    report["kernel_time"] = seconds_of(solution.get("kernel_time"));
    report["load_time"] = std::round((read_time + result.load_time) * 1e6) / 1e6;
    report["total_flips"] = std::stol(solution.get("total_flips"));
    report["band"] = result.plan.band();
    report["device"] = solution.get("gpu");
    report["search_cycles"] = numbers_in(solution.get("search_cycles"));
    report["tabu_cycles"] = std::stol(solution.get("tabu_cycles"));
    report["solution_proximity"] = std::stol(solution.get("solution_proximity"));
    report["version"] = solution.get("version");
    const Report log = log_of(solution);
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
    summary["flips"] = report["total_flips"];
    summary["band"] = report["band"];
    summary["device"] = report["device"];
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
    std::ofstream stream(file);
    stream << digits << "\n";
    print_key_values(report, stream);
    stream.close();
    return stream.good();
}

}  // namespace orvex::cli
