// The command "info": what this build is and where it runs.
#include <algorithm>
#include <iostream>

#include <orvex/orvex.hpp>

#include "app/commands.hpp"
#include "app/exit_status.hpp"
#include "app/report.hpp"
#include "toolkit/model/machine.hpp"

namespace orvex::cli {
namespace {

/** Only a run tells its device, so the smallest one is made. */
std::string device_name(const Solver& solver) {
    Model model(1, 8);
    model.set(0, 0, -1);
    Param param;
    param.set("trial_limit", "1");
    return solver(model, param).get("gpu");
}

}  // namespace

int info(bool json) {
    Solver solver(false);
    const std::vector<int> sizes = band_sizes(solver);
    const int max_bits = std::stoi(solver.get("max_bits"));
    Report widths = Report::array();
    for (const auto& [matrix, arithmetic] : BAND_WIDTHS)
        if (matrix <= max_bits)
            widths.push_back(std::to_string(matrix) + "/" + std::to_string(arithmetic));

    Report report;
    report["solver"] = solver.get("solver");
    report["version"] = solver.get("version");
    report["license"] = solver.get("license");
    report["device"] = device_name(solver);
    report["memory"] = json ? Report(machine_memory()) : Report(bytes_text(machine_memory()));
    report["largest_model"] = sizes.back();
    report["widths"] = widths;  // bits of a weight / bits of an energy
    report["sizes"] = sizes;
    if (json)
        print_json(report, std::cout);
    else
        print_text(report, std::cout);
    return EXIT_NORMAL;
}

}  // namespace orvex::cli
