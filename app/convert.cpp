// The command "convert": a problem's file in one format becomes one in another.
#include <iostream>

#include "app/commands.hpp"
#include "app/exit_status.hpp"
#include "app/messages.hpp"
#include "app/report.hpp"
#include "app/standard_input.hpp"
#include "toolkit/io/output_file.hpp"
#include "toolkit/io/read.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::cli {

int convert(const ConvertCommand& command) {
    const Format& to = format_named(command.to);
    if (to.write == nullptr)
        throw InputError(std::string("the format ") + to.name + " can only be read; " +
                         written_format_names() + " can be written");
    const Problem problem = read_problem(readable(command.input), command.read);
    OutputFile output(command.output);
    to.write(problem, output);
    output.finish();

    Report report = Report::object();
    report["file"] = command.output;
    report["written_as"] = to.name;
    report["read_from"] = command.input;
    add_convention(problem.convention, report);
    report["equation"] = problem.convention.equation_of_model();
    report["size"] = problem.size;
    report["entries"] = problem.entries;
    report["nonzero"] = problem.nonzero;
    // The file itself may have gone to standard output.
    std::ostream& out = command.output == "-" ? std::cerr : std::cout;
    print(report, command.form, out);
    for (const std::string& warning : problem.warnings)
        warn(warning);
    return EXIT_NORMAL;
}

}  // namespace orvex::cli
