// The commands "presolve" and "restore": a problem becomes what exact reductions leave of it, and
// a solution of that one of the problem.
#include "toolkit/presolve/presolve.hpp"

#include <fstream>
#include <iostream>
#include <sstream>

#include "app/commands.hpp"
#include "app/exit_status.hpp"
#include "app/report.hpp"
#include "app/result.hpp"
#include "app/standard_input.hpp"
#include "toolkit/io/output_file.hpp"
#include "toolkit/io/read.hpp"
#include "toolkit/io/solution.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::cli {
namespace {

constexpr const char* WAY_BACK_SUFFIX = ".back";

/** A file itself may go to standard output. */
void print(const Report& report, Form form, const std::string& output) {
    print(report, form, output == "-" ? std::cerr : std::cout);
}

}  // namespace

int presolve(const PresolveCommand& command) {
    if (command.output == "-" && command.way_back.empty())
        throw InputError(
            "where the problem goes to standard output, --back must name a file for the way back");
    const std::string way_back_file =
        command.way_back.empty() ? command.output + WAY_BACK_SUFFIX : command.way_back;
    const Problem problem = read_problem(readable(command.input), command.read);
    const Presolved presolved =
        toolkit::presolve(problem.weights.sparse(),
                          {.effort = command.full ? PresolveEffort::FULL : PresolveEffort::AUTO});

    std::ostringstream way_back;
    write_way_back(presolved, way_back);
    OutputFile back(way_back_file);
    back.write(way_back.str());
    // A model has a variable at least: where none is left, one that weighs nothing takes its place.
    const bool solved = presolved.optimal();
    const Problem reduced =
        problem_of(solved ? sparse_qubo({0}, {}) : SparseQubo(presolved.reduced()));
    OutputFile output(command.output);
    OWN.write(reduced, output);
    back.finish();
    output.finish();

    Report report = Report::object();
    report["file"] = command.output;
    report["way_back"] = way_back_file;
    report["size"] = problem.size;
    report["couplings"] = problem.couplings.count;
    report["presolved_size"] = presolved.reduced().size();
    report["presolved_couplings"] = presolved.reduced().couplings();
    report["factor"] = presolved.factor();
    report["offset"] = number(presolved.offset());
    report["bound"] = presolved.bound() ? number(*presolved.bound()) : Report();
    report["optimal"] = solved;
    if (problem.convention.scaled()) {
        report["scale"] = number(problem.convention.scale);
        report["largest_error"] = number(problem.convention.largest_error);
    }
    report["rules"] = rules_of(presolved.rules());
    print(report, command.form, command.output);
    return EXIT_NORMAL;
}

int restore(const RestoreCommand& command) {
    expect_one_standard_input({command.way_back, command.input});
    std::ifstream stream(readable(command.way_back));
    if (!stream) throw InputError("Cannot read " + command.way_back);
    const WayBack way_back = [&] {
        try {
            return read_way_back(stream);
        } catch (const InputError& error) {
            throw InputError(command.way_back + ": " + error.what());
        }
    }();
    const int digits = std::max(way_back.reduced_size(), 1);
    Bits bits = bits_of(read_solution(readable(command.input), digits));
    bits.resize(static_cast<std::size_t>(way_back.reduced_size()));
    const Sol solution = solution_of(way_back.restore(bits));
    OutputFile output(command.output);
    output.write(digits_of(solution, way_back.original_size()) + "\n");
    output.finish();

    Report report = Report::object();
    report["file"] = command.output;
    report["size"] = way_back.original_size();
    print(report, command.form, command.output);
    return EXIT_NORMAL;
}

}  // namespace orvex::cli
