// A file that a command writes. Invariant: it appears under its name complete or not at all; until
// then what stood there stays. What was written meanwhile is removed, after Ctrl-C as well.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <zlib.h>

namespace orvex::toolkit {

/** A result could not be written; the text is shown as it is. */
class WriteError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class OutputFile {
  public:
    /**
     * Opens a temporary file beside the one that is named. What is no plain file, such as
     * /dev/stdout, is written directly.
     *
     * @param name compressed with gzip when it ends in ".gz"; "-" is standard output
     * @throws InputError when nothing can be written there
     */
    explicit OutputFile(const std::string& name);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    /** @throws WriteError */
    void write(std::string_view text);

    /** Gives the file its name; nothing can be written after it. @throws WriteError */
    void finish();

  private:
    [[noreturn]] void fail() const;
    int open_temporary();
    void remove_temporary();

    std::string name_;
    std::string target_;     // where the name leads, through links
    std::string temporary_;  // empty: what is written goes to its place directly
    gzFile stream_ = nullptr;
};

}  // namespace orvex::toolkit
