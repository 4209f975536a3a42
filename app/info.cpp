// The command "info": what this build is and where it runs.
#include <iostream>
#include <set>
#include <sstream>

#include <orvex/orvex.hpp>
#include <orvex/plan.hpp>
#include <orvex/registry.hpp>

#include "app/commands.hpp"
#include "app/exit_status.hpp"
#include "app/report.hpp"
#include "toolkit/model/memory.hpp"

namespace orvex::cli {
namespace {

/** Bits of a weight / bits of an energy, of all bands. */
Report widths_of_bands() {
    std::set<std::pair<int, int>> widths;
    for (int index = 0; index < qubo_multi::band_count(); ++index) {
        int size = 0, matrix = 0, arithmetic = 0;
        qubo_multi::band_at(index, size, matrix, arithmetic);
        widths.emplace(matrix, arithmetic);
    }
    Report names = Report::array();
    for (const auto& [matrix, arithmetic] : widths)
        names.push_back(std::to_string(matrix) + "/" + std::to_string(arithmetic));
    return names;
}

Report sizes_of_bands(Solver& solver) {
    Report sizes = Report::array();
    std::istringstream list(solver.get("sizes"));
    for (std::string size; std::getline(list, size, ',');)
        sizes.push_back(std::stoi(size));
    return sizes;
}

}  // namespace

int info(Form form) {
    Solver solver(false);
    const std::vector<Device> found = devices();
    const long memory = machine_memory();

    Report report = Report::object();
    report["solver"] = solver.get("solver");
    report["version"] = solver.get("version");
    report["license"] = solver.get("license");
    report["device"] = found.empty() ? Report() : Report(found.front().name);
    if (found.size() > 1) report["devices"] = found.size();
    report["memory"] = form == Form::TEXT ? Report(bytes_text(static_cast<std::uint64_t>(memory)))
                                          : Report(memory);
    const Report sizes = sizes_of_bands(solver);
    report["largest_model"] = sizes.back();
    report["widths"] = widths_of_bands();
    report["sizes"] = sizes;
    print(report, form, std::cout);
    return EXIT_NORMAL;
}

}  // namespace orvex::cli
