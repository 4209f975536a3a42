// The command "check": validates a model file and tells what a run on it takes.
#include <algorithm>
#include <cstdio>
#include <iostream>

#include "app/commands.hpp"
#include "app/exit_status.hpp"
#include "app/messages.hpp"
#include "app/report.hpp"
#include "app/standard_input.hpp"
#include "toolkit/io/read.hpp"
#include "toolkit/model/memory.hpp"
#include "toolkit/run/prepare.hpp"

namespace orvex::cli {
namespace {

std::string percent(double share) {
    char text[32];
    std::snprintf(text, sizeof(text), "%.4g %%", 100 * share);
    return text;
}

std::string range(Wide from, Wide to) {
    return to_string(from) + " to " + to_string(to);
}

Report facts_of(const Problem& problem, int arithmetic_bits, const std::optional<Plan>& plan) {
    Report facts = Report::object();
    facts["file"] = problem.file;
    add_convention(problem.convention, facts);
    facts["size"] = problem.size;
    facts["entries"] = problem.entries;
    facts["nonzero"] = problem.nonzero;
    facts["density"] = problem.density();
    facts["smallest_weight"] = problem.smallest_weight;
    facts["largest_weight"] = problem.largest_weight;
    facts["header_smallest"] = problem.smallest;
    facts["header_largest"] = problem.largest;
    facts["weight_bits"] = problem.width;
    facts["arithmetic_bits"] = arithmetic_bits;
    facts["lowest_energy_bound"] = number(problem.bound.lowest_energy);
    facts["highest_energy_bound"] = number(problem.bound.highest_energy);
    facts["largest_delta_bound"] = number(problem.bound.largest_delta);
    facts["band"] = plan ? Report(plan->band()) : Report();
    if (plan) {
        facts["memory"] = problem.model_bytes() + plan->host_bytes();
        facts["memory_model"] = problem.model_bytes();
        facts["memory_record"] = plan->matrix_bytes;
        facts["rows"] = plan->rows;
        facts["memory_rows"] = plan->rows_bytes;
        if (plan->device_bytes > 0) facts["memory_device"] = plan->device_bytes;
    }
    const Prepared prepared = prepare(problem, {});
    facts["presolved_size"] = prepared.told.size;
    facts["presolved_couplings"] = prepared.told.couplings;
    facts["groups"] = prepared.told.groups;
    facts["memory_machine"] = machine_memory();
    facts["warnings"] = problem.warnings;
    return facts;
}

Report summary_of(const Problem& problem, const Report& facts) {
    const Bound& bound = problem.bound;
    Report summary = Report::object();
    for (const char* key : {"file", "format", "index_base", "factor", "sense", "offset", "equation",
                            "scale", "largest_error", "note", "size", "entries", "nonzero"})
        if (facts.contains(key)) summary[key] = facts[key];
    summary["density"] = percent(problem.density());
    summary["weights"] = range(problem.smallest_weight, problem.largest_weight);
    summary["header_range"] = range(problem.smallest, problem.largest);
    summary["weight_bits"] = problem.width;
    summary["arithmetic_bits"] = facts["arithmetic_bits"];
    summary["energies_within"] = range(bound.lowest_energy, bound.highest_energy);
    summary["deltas_within"] = range(-bound.largest_delta, bound.largest_delta);
    summary["band"] = facts["band"];
    if (facts.contains("memory"))
        summary["memory_of_a_run"] = "at most " + bytes_text(facts["memory"]) + ": model " +
                                     bytes_text(facts["memory_model"]) + ", band's matrix " +
                                     bytes_text(facts["memory_record"]) + ", the rest";
    if (facts.contains("memory_device"))
        summary["memory_of_device"] = bytes_text(facts["memory_device"]);
    if (facts.contains("rows")) {
        const std::uint64_t more = facts["memory_rows"];
        summary["rows"] = facts["rows"].get<std::string>() +
                          (more > 0 ? ", in " + bytes_text(more) + " of it" : "");
    }
    summary["after_presolve"] = facts["presolved_size"].dump() + " variables, " +
                                facts["presolved_couplings"].dump() + " couplings";
    summary["one_hot_groups"] = facts["groups"];
    summary["memory_of_machine"] = bytes_text(facts["memory_machine"]);
    return summary;
}

}  // namespace

int check(const std::string& file, const ReadOptions& read, Form form) {
    Problem problem = read_problem(readable(file), read);
    const int bits = problem.proven_bits();
    const std::optional<Plan> plan = problem.plan(std::min(bits, 64));
    if (!plan) problem.warnings.push_back("no band of this build holds the model");
    if (bits > 64) problem.warnings.push_back("not even 64-bit arithmetic is proven to be enough");
    if (plan &&
        problem.model_bytes() + plan->host_bytes() > static_cast<std::uint64_t>(machine_memory()))
        problem.warnings.push_back("a run needs more memory than this machine has");

    const Report facts = facts_of(problem, bits, plan);
    print(facts, summary_of(problem, facts), form, std::cout);
    for (const std::string& warning : problem.warnings)
        warn(warning);
    return EXIT_NORMAL;
}

}  // namespace orvex::cli
