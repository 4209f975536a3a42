#include "toolkit/io/formats/input_file.hpp"

#include <filesystem>
#include <utility>
#include <vector>

#include "toolkit/model/errors.hpp"
#include "toolkit/model/memory.hpp"

namespace orvex::toolkit {
namespace {

/** Whether a file of the system's own format is expected to hold whole numbers only. */
bool whole_numbers(const NumberReader& reader, const Scale& scale) {
    return scale.rule == Scale::Rule::EXACT ||
           (scale.rule == Scale::Rule::AUTO &&
            reader.ahead().find_first_of(".eE") == std::string_view::npos);
}

/** How a caller names a format. */
std::string named(const Format& format) {
    const std::string name = format.name;
    return "--from " + name + " (in Python, format=\"" + name + "\")";
}

/** What is known to be something else entirely. */
void refuse_other_kinds(const std::string& file, std::string_view ahead) {
    using namespace std::string_view_literals;
    if (ahead.starts_with("PK\x03\x04"sv))
        throw InputError(file +
                         ": this is a zip archive; scipy's .npz files are read by the Python "
                         "package");
    if (ahead.starts_with("\xFD"
                          "7zXZ"sv))
        throw InputError(file + ": this file is compressed with xz; only gzip can be read");
}

const Format& recognised(const NumberReader& reader) {
    refuse_other_kinds(reader.file(), reader.ahead());
    const Beginning beginning(reader.ahead(), reader.ahead_is_all());
    if (beginning.lines.empty() && beginning.whole)
        throw InputError(reader.file() + ", line 1: the file is empty");
    std::vector<const Format*> candidates;
    for (const Format* format : formats())
        if (format->may_be(beginning)) candidates.push_back(format);
    if (candidates.size() == 1) return *candidates[0];
    if (candidates.empty())
        throw InputError(reader.file() +
                         ": its format is not recognised. If it is one of these, name it with "
                         "--from (in Python, format=): " +
                         format_names());
    std::string ways;
    for (std::size_t k = 0; k < candidates.size(); ++k) {
        ways += k == 0 ? "" : k + 1 < candidates.size() ? ", " : " or ";
        ways += named(*candidates[k]) + " for " + candidates[k]->title;
    }
    throw InputError(reader.file() + ": the file could be in more than one format. Add " + ways);
}

void expect_options_of(const Format& format, const ReadOptions& options) {
    const std::string name = format.name;
    if (options.instance && !format.has_instances)
        throw InputError("files of the format " + name + " have no instances to choose from");
    if (options.penalty && !format.has_penalty)
        throw InputError("files of the format " + name + " need no penalty");
    if (options.maximised && !format.leaves_sense_open)
        throw InputError("the format " + name + " determines what is minimised or maximised");
    if (options.scale.factor > 1 && format.has_penalty)
        throw InputError("files of the format " + name +
                         " hold whole numbers, which need no scale");
}

}  // namespace

/** All that reading takes; each part refers to the one before it. */
struct InputFile::Foreign {
    Foreign(NumberReader opened, const Format& format, const ReadOptions& options)
        : reader(std::move(opened)), lines(reader), statement(lines, options.scale) {
        warn_about_name(reader, statement.warnings);
        statement.convention.format = format.name;
        format.read(lines, options, statement);
        statement.settle();
    }

    NumberReader reader;
    Lines lines;
    Statement statement;
};

InputFile::InputFile(const std::string& file, const ReadOptions& options)
    : file_(file), options_(options) {
    NumberReader reader(file);
    const Format& format =
        options.format.empty() ? recognised(reader) : format_named(options.format);
    expect_options_of(format, options);
    if (&format == &OWN && whole_numbers(reader, options.scale))
        own_ = std::make_unique<ModelFile>(std::move(reader));
    else
        foreign_ = std::make_unique<Foreign>(std::move(reader), format, options);
}

InputFile::~InputFile() = default;

int InputFile::size() const {
    return own_ ? own_->size() : foreign_->statement.size();
}

bool InputFile::has_matrix() const {
    const auto couplings =
        own_ ? static_cast<std::size_t>(own_->entries()) : foreign_->statement.couplings();
    return !worth_lists(size(), couplings);
}

int InputFile::width() const {
    return own_ ? own_->width() : foreign_->statement.width();
}

void InputFile::expect_memory() const {
    if (!has_matrix()) return;
    const auto machine = static_cast<std::uint64_t>(machine_memory());
    const auto n = static_cast<std::uint64_t>(size());
    const std::uint64_t matrix = n * n * static_cast<std::uint64_t>(width() / 8);
    if (matrix <= machine) return;
    throw MemoryShortage(file_ + ": a model of " + std::to_string(n) + " variables and " +
                         std::to_string(width()) + "-bit weights takes " + bytes_text(matrix) +
                         "; this machine has " + bytes_text(machine));
}

void InputFile::expect_memory_of_run() const {
    if (!has_matrix()) return;
    const std::optional<Plan> plan = plan_run({.size = size(), .matrix_bits = width()});
    if (!plan) return expect_memory();  // refused for the size when the problem is there
    const auto n = static_cast<std::uint64_t>(size());
    const std::uint64_t needed =
        n * n * static_cast<std::uint64_t>(width() / 8) + plan->host_bytes();
    if (needed > static_cast<std::uint64_t>(machine_memory()))
        throw MemoryShortage(file_ + ": a run needs " + bytes_text(needed) +
                             " of memory; this machine has " +
                             bytes_text(static_cast<std::uint64_t>(machine_memory())));
}

Problem InputFile::read() {
    if (!own_) return foreign_->statement.problem();
    try {
        return own_->read();
    } catch (const NotWhole&) {
        // What cannot be read again, such as a pipe, must show its decimals early.
        if (options_.scale.rule != Scale::Rule::AUTO || !std::filesystem::is_regular_file(file_))
            throw;
    }
    return Foreign(NumberReader(file_), OWN, options_).statement.problem();
}

Problem read_problem(const std::string& file, const ReadOptions& options) {
    InputFile input(file, options);
    input.expect_memory();
    return input.read();
}

}  // namespace orvex::toolkit
