// The reader is on the path of every start, so it scans characters itself: a file of two million
// entries takes little longer than its decompression.
#include "toolkit/io/number_reader.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {
namespace {

constexpr unsigned BUFFER_SIZE = 1u << 18;

/** Far beyond any line of numbers; a compressed file can hold a thousand times its size. */
constexpr std::size_t LONGEST_LINE = std::size_t{1} << 26;

bool is_space(char c) {
    return c == ' ' || ('\t' <= c && c <= '\r');
}

bool is_digit(char c) {
    return '0' <= c && c <= '9';
}

char printable(char c) {
    return ' ' < c && c <= '~' ? c : '?';
}

}  // namespace

NumberReader::NumberReader(const std::string& file) : file_(file), buffer_(BUFFER_SIZE) {
    next_ = end_ = buffer_.data();
    errno = 0;
    stream_.reset(gzopen(file.c_str(), "rb"));
    if (!stream_)
        throw InputError("Cannot open " + file + ": " +
                         (errno != 0 ? std::strerror(errno) : "not enough memory"));
    gzbuffer(stream_.get(), BUFFER_SIZE);
    refill();
    compressed_ = gzdirect(stream_.get()) == 0;
}

bool NumberReader::refill() {
    errno = 0;
    const int count = gzread(stream_.get(), buffer_.data(), BUFFER_SIZE);
    next_ = buffer_.data();
    end_ = next_ + (count > 0 ? count : 0);
    int error = Z_OK;
    const char* text = gzerror(stream_.get(), &error);
    // A compressed file that was cut short gives what there is and reports Z_BUF_ERROR with it.
    if (count > 0) return true;
    if (error == Z_ERRNO) fail(std::string("cannot be read: ") + std::strerror(errno));
    if (error == Z_BUF_ERROR) fail("the compressed file is cut short");
    if (error != Z_OK && error != Z_STREAM_END)
        fail(std::string("the compressed file is damaged (") + text + ")");
    return false;
}

std::string NumberReader::place() const {
    return file_ + ", line " + std::to_string(token_line_);
}

void NumberReader::fail(const std::string& text) const {
    throw InputError(place() + ": " + text);
}

void NumberReader::fail_at_token(const char* what, std::string seen) {
    constexpr std::size_t SHOWN = 24;
    while (seen.size() < SHOWN && !at_end() && !is_space(*next_))
        seen += printable(*next_++);
    const bool real = seen.find_first_of(".eE") != std::string::npos &&
                      seen.find_first_not_of("+-.0123456789eE") == std::string::npos;
    const std::string text =
        std::string(what) + " must be a whole number of 64 bits, not \"" + seen + "\"";
    if (real) throw NotWhole(place() + ": " + text);
    fail(text);
}

bool NumberReader::more() {
    while (!at_end()) {
        if (!is_space(*next_)) {
            token_line_ = line_;
            return true;
        }
        line_ += *next_++ == '\n';
    }
    token_line_ = line_;
    return false;
}

long NumberReader::number(const char* what) {
    if (!more()) fail(std::string("the file ends before ") + what);

    std::string seen;  // only for messages: the part of the token that is gone from the buffer
    bool negative = false;
    if (*next_ == '-' || *next_ == '+') {
        negative = *next_ == '-';
        seen += *next_++;
    }
    constexpr unsigned long MOST = std::numeric_limits<long>::max();
    unsigned long value = 0;
    bool digits = false, overflow = false;
    while (!at_end() && is_digit(*next_)) {
        const auto digit = static_cast<unsigned long>(*next_++ - '0');
        overflow |= value > (MOST + 1 - digit) / 10;
        value = value * 10 + digit;
        digits = true;
    }
    const bool ends = at_end() || is_space(*next_);
    if (!digits || !ends || overflow || value > MOST + negative) {
        if (digits) seen += overflow ? "..." : std::to_string(value);
        fail_at_token(what, seen);
    }
    return static_cast<long>(negative ? 0 - value : value);
}

bool NumberReader::line(std::string& text) {
    text.clear();
    token_line_ = line_;
    if (at_end()) return false;
    do {
        const char* const stop = std::find(next_, end_, '\n');
        text.append(next_, stop);
        next_ = stop;
        if (text.size() > LONGEST_LINE) fail("the line is longer than 64 MiB");
    } while (next_ == end_ && refill());
    if (next_ != end_) {
        ++next_;
        ++line_;
    }
    return true;
}

}  // namespace orvex::toolkit
