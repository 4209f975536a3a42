#include "toolkit/io/formats/lines.hpp"

#include <cstring>

#include "toolkit/io/formats/decimal.hpp"
#include "toolkit/io/formats/words.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {

bool Lines::next() {
    taken_ = 0;
    while (reader_.line(text_)) {
        line_ = reader_.line();
        split_words(text_, words_);
        if (words_.empty()) continue;
        if (std::strchr(marks_, words_.front().front()) == nullptr) return true;
        if (action_) action_(text_);
    }
    line_ = reader_.line();
    words_.clear();
    return false;
}

void Lines::expect_next(const std::string& what) {
    if (!next()) fail("the file ends before " + what);
}

void Lines::expect_end(const std::string& what) {
    if (taken_ > 0) expect_line_taken(what);
    if (next()) fail("unexpected text after " + what);
}

void Lines::expect_words(std::size_t count, const std::string& what) const {
    if (words_.size() != count)
        fail("expected " + what + ", found " + std::to_string(words_.size()) +
             (words_.size() == 1 ? " word" : " words"));
}

std::string_view Lines::take(const std::string& what) {
    if (taken_ == words_.size()) expect_next(what);
    return words_[taken_++];
}

void Lines::expect_line_taken(const std::string& what) const {
    if (taken_ < words_.size()) fail("unexpected text after " + what);
}

long Lines::whole(std::string_view word, const std::string& what, int times) const {
    long value = 0;
    const std::string shown = what + " is " + quoted(word);
    switch (read_decimal(word, times, value)) {
        case Decimal::WHOLE:
            return value;
        case Decimal::FRACTION:
            fail(shown + ", but only whole numbers are read" +
                 (times % 2 == 0 ? " (here halves as well)" : ""));
        case Decimal::TOO_LARGE:
            fail(shown + ", which does not fit into 64 bits" +
                 (times != 1 ? " when multiplied by " + std::to_string(times) : ""));
        case Decimal::NO_NUMBER:
            fail(shown + ", which is not a number");
    }
    return value;
}

int Lines::size(std::string_view word, const std::string& what, long most) const {
    const long size = whole(word, what);
    if (size < 1 || size > most)
        fail(what + " is " + std::to_string(size) + ", not from 1 to " + std::to_string(most));
    return static_cast<int>(size);
}

long Lines::count(std::string_view word, const std::string& what) const {
    const long count = whole(word, what);
    if (count < 0) fail(what + " is " + std::to_string(count));
    return count;
}

int Lines::index(std::size_t k, const std::string& what, int base, int size) const {
    const long index = whole(k, what);
    if (index < base || index >= long{size} + base)
        fail(what + " is " + std::to_string(index) + ", not from " + std::to_string(base) + " to " +
             std::to_string(size - 1 + base));
    return static_cast<int>(index - base);
}

void Lines::fail(const std::string& text) const {
    throw InputError(place() + ": " + text);
}

std::string Lines::quoted(std::string_view word) {
    constexpr std::size_t SHOWN = 24;
    std::string shown;
    for (const char c : word.substr(0, SHOWN))
        shown += ' ' < c && c <= '~' ? c : '?';
    return "\"" + shown + (word.size() > SHOWN ? "..." : "") + "\"";
}

}  // namespace orvex::toolkit
