// Reads a text file, plain or compressed, as whole numbers or as lines, and knows at each moment in
// which line it is. Decompression happens in the process: no name of a file ever reaches a
// shell.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>
#include <zlib.h>

#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {

/** Where a whole number should stand there is another one. */
class NotWhole : public InputError {
  public:
    using InputError::InputError;
};

class NumberReader {
  public:
    /** @throws InputError when the file cannot be opened or read */
    explicit NumberReader(const std::string& file);

    /** Skips white space. @return whether anything follows */
    bool more();

    /**
     * The next whole number.
     *
     * @param what the name of the number, for messages
     * @throws InputError when what follows is no whole number of 64 bits, or nothing follows
     */
    long number(const char* what);

    /** The next line, without its end. @return whether there is one @throws InputError above 64 MiB
     */
    bool line(std::string& text);

    /** What follows, as far as it has been decompressed: all of a small file, 256 KiB of others. */
    std::string_view ahead() const { return {next_, static_cast<std::size_t>(end_ - next_)}; }

    /** Whether that is all that follows; before anything has been read. */
    bool ahead_is_all() const {
        return static_cast<std::size_t>(end_ - buffer_.data()) < buffer_.size();
    }

    /** The line of what was read last, from 1. */
    long line() const { return token_line_; }

    const std::string& file() const { return file_; }

    /** Whether the contents, whatever the file's name, are compressed. */
    bool compressed() const { return compressed_; }

    /** Ends the reading with a message that names file and line. */
    [[noreturn]] void fail(const std::string& text) const;

    /** File and line, as messages show them. */
    std::string place() const;

  private:
    struct Closer {
        void operator()(gzFile stream) const { gzclose(stream); }
    };

    bool refill();
    bool at_end() { return next_ == end_ && !refill(); }
    [[noreturn]] void fail_at_token(const char* what, std::string seen);

    std::string file_;
    std::unique_ptr<gzFile_s, Closer> stream_;
    std::vector<char> buffer_;
    const char* next_;  // what of the buffer has not been read yet
    const char* end_;
    long line_ = 1;        // of *next_
    long token_line_ = 1;  // of the last number
    bool compressed_ = false;
};

}  // namespace orvex::toolkit
