// A text file as lines of words: what the readers of all formats but the system's own see. Blank
// lines and comments are skipped; every message names the file and the line.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/io/number_reader.hpp"

namespace orvex::toolkit {

class Lines {
  public:
    explicit Lines(NumberReader& reader) : reader_(reader) {}

    /** Lines whose first character is one of these are comments. */
    void skip_comments(const char* marks) { marks_ = marks; }

    /** What is done with each comment. */
    void on_comment(std::function<void(std::string_view)> action) { action_ = std::move(action); }

    /** Goes to the next line that has words and is no comment. @return whether there is one */
    bool next();

    /** Goes to the next line. @throws InputError when there is none where `what` should stand */
    void expect_next(const std::string& what);

    /** @throws InputError when anything but comments follows; `what` tells what was complete */
    void expect_end(const std::string& what);

    /** @throws InputError when the line has not that many words; `what` tells what they are */
    void expect_words(std::size_t count, const std::string& what) const;

    const std::string& text() const { return text_; }
    std::size_t words() const { return words_.size(); }
    std::string_view word(std::size_t k) const { return words_[k]; }

    /** The next word, in this line or a later one: for formats whose lines mean nothing. */
    std::string_view take(const std::string& what);

    /** @throws InputError when a word of the line has not been taken; `what` was the last one */
    void expect_line_taken(const std::string& what) const;

    /**
     * A word as a whole number of 64 bits.
     *
     * @param times what the number is multiplied by
     */
    long whole(std::string_view word, const std::string& what, int times = 1) const;
    long whole(std::size_t k, const std::string& what, int times = 1) const {
        return whole(words_[k], what, times);
    }

    /** The number of variables of a model, or of what has `power` dimensions of them. */
    int size(std::string_view word, const std::string& what, long most) const;

    /** The number of entries that a header promises. */
    long count(std::string_view word, const std::string& what) const;

    /** An index from `base` on, counted from 0. */
    int index(std::size_t k, const std::string& what, int base, int size) const;

    [[noreturn]] void fail(const std::string& text) const;

    /** File and line, as messages show them. */
    std::string place() const { return file() + ", line " + std::to_string(line_); }

    /** The file, as messages name it. */
    const std::string& file() const { return reader_.file(); }

    /** A word, as messages show it. */
    static std::string quoted(std::string_view word);

  private:
    NumberReader& reader_;
    const char* marks_ = "";
    std::function<void(std::string_view)> action_;
    std::string text_;
    std::vector<std::string_view> words_;
    std::size_t taken_ = 0;  // words of the line that `take` has handed out
    long line_ = 0;
};

}  // namespace orvex::toolkit
