// The command "convert": a problem's file in one format becomes one in another.
#include <iostream>

#include "app/commands.hpp"
#include "app/exit_status.hpp"
#include "app/report.hpp"
#include "toolkit/errors.hpp"
#include "toolkit/io/formats/input_file.hpp"
#include "toolkit/io/output_file.hpp"

namespace orvex::cli {

int convert(const ConvertOptions& options) {
    const Format& to = format_named(options.to);
    if (to.write == nullptr)
        throw InputError(std::string("the format ") + to.name + " can only be read; " +
                         written_format_names() + " can be written");
    InputFile file(options.input, options.read);
    file.expect_memory();
    const Problem problem = file.read();
    OutputFile output(options.output);
    to.write(problem, output);
    output.finish();

    Report report;
    report["file"] = options.output;
    report["written_as"] = to.name;
    report["read_from"] = options.input;
    add_convention(problem.convention, report);
    report["size"] = problem.size;
    report["entries"] = problem.entries;
    report["nonzero"] = problem.nonzero;
    // The file itself may have gone to standard output.
    std::ostream& out = options.output == "-" ? std::cerr : std::cout;
    if (options.json)
        print_json(report, out);
    else
        print_text(report, out);
    for (const std::string& warning : problem.warnings)
        std::cerr << "Warning: " << warning << "\n";
    return EXIT_NORMAL;
}

}  // namespace orvex::cli
