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
#include "toolkit/errors.hpp"
#include "toolkit/io/solution.hpp"
#include "toolkit/model/machine.hpp"

namespace orvex::cli {
namespace {

/** A time in text; none while there is none. */
Report seconds_of(const std::string& text) {
    return text.empty() ? Report() : Report(std::stod(text));
}

std::string with_unit(const Report& seconds) {
    return seconds.is_null() ? "none" : seconds.dump() + " s";
}

Report log_of(const Sol& result) {
    Report lines = Report::array();
    std::istringstream log(result.impl().log.str());
    for (std::string line; std::getline(log, line);)
        lines.push_back(line);
    return lines;
}

}  // namespace

long verified_energy(const Model& model, const Sol& result, int size) {
    const Wide exact = exact_energy(model, result, size);
    const long reported = std::stol(result.get("energy"));
    // A run that was ended before its first result reports the start solution and no energy.
    const bool nothing_found =
        result.get("tts").empty() && reported == std::numeric_limits<long>::max();
    if (exact != reported && !nothing_found)
        throw EnergyMismatch("Internal error: the run reports the energy " +
                             std::to_string(reported) + ", but its solution has the energy " +
                             to_string(exact));
    return static_cast<long>(exact);
}

Report report_of(const Problem& problem, const RunSettings& settings, const Sol& result,
                 long energy, const std::string& status, double load_time) {
    const Band band = {std::stoi(result.get("solver_size")), std::stoi(result.get("solver_bits")),
                       std::stoi(result.get("arithmetic_bits"))};
    Report report;
    report["file"] = problem.file;
    report["size"] = problem.size;
    report["energy"] = energy;
    report["objective"] = number(problem.convention.objective_at(energy));
    add_convention(problem.convention, report);
    report["status"] = status;
    if (settings.target) {
        report["target"] = *settings.target;
        report["target_reached"] = energy <= *settings.target;
    }
    report["tts"] = seconds_of(result.get("tts"));
    report["runtime"] = seconds_of(result.get("runtime"));
    report["kernel_time"] = seconds_of(result.get("kernel_time"));
    report["load_time"] = std::round(load_time * 1e6) / 1e6;
    report["total_flips"] = std::stol(result.get("total_flips"));
    report["band"] = band.name();
    report["device"] = result.get("gpu");
    report["search_cycles"] = result.get("search_cycles");
    report["tabu_cycles"] = std::stol(result.get("tabu_cycles"));
    report["solution_proximity"] = std::stol(result.get("solution_proximity"));
    report["version"] = result.get("version");
    const Report log = log_of(result);
    if (!log.empty()) report["log"] = log;
    return report;
}

Report summary_of(const Report& report) {
    Report summary;
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
