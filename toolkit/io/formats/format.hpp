// The table of all file formats: the help, the recognition of files, the readers and writers and
// the documentation's test go by it. A format is a name, a test whether a file may be in it, a
// reader and, where the format can say what a model says, a writer.
#pragma once

#include <span>
#include <string>

#include "toolkit/io/formats/beginning.hpp"
#include "toolkit/io/formats/lines.hpp"
#include "toolkit/io/formats/statement.hpp"
#include "toolkit/io/output_file.hpp"
#include "toolkit/io/read.hpp"

namespace orvex::toolkit {

struct Format {
    const char* name;   ///< as --from and --to take it
    const char* title;  ///< what it is commonly called
    bool (*may_be)(const Beginning& beginning);
    void (*read)(Lines& lines, const ReadOptions& options, Statement& statement);
    void (*write)(const Problem& problem, OutputFile& file);  ///< null: it cannot be written
    bool has_instances = false;
    bool has_penalty = false;
    bool leaves_sense_open = false;
};

/** The system's own format. ModelFile reads its files of whole numbers, most of all. */
extern const Format OWN;

/** All formats, the system's own first. */
std::span<const Format* const> formats();

/** @throws InputError when there is none of that name */
const Format& format_named(const std::string& name);

/** The names of all formats, or of those that have something, with commas between them. */
std::string format_names();
std::string format_names(bool Format::*property);
/** The names of those that can be written. */
std::string written_format_names();

/** A line for each format: its name, what it is, and whether it is only read. */
std::string format_list();

}  // namespace orvex::toolkit
