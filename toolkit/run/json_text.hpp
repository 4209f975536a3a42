// JSON as it is written, value by value. Invariant: between object() or array() and its end()
// everything that is added is in it, and texts come out as valid UTF-8 whatever goes in.
#pragma once

#include <string>
#include <string_view>

#include "toolkit/model/bounds.hpp"

namespace orvex::toolkit {

class JsonText {
  public:
    /** Opens what is added next; with a key inside an object, without one inside an array. */
    JsonText& object(std::string_view key = {}) { return open(key, '{', '}'); }
    JsonText& array(std::string_view key = {}) { return open(key, '[', ']'); }
    /** Closes what was opened last. */
    JsonText& end();

    JsonText& add(std::string_view key, std::string_view text);
    JsonText& add(std::string_view key, const char* text) {
        return add(key, std::string_view(text));
    }
    JsonText& add(std::string_view key, long number);
    JsonText& add(std::string_view key, int number) { return add(key, long{number}); }
    /** Seconds, with six decimals. */
    JsonText& add(std::string_view key, double seconds);
    JsonText& add(std::string_view key, bool truth);
    JsonText& add_null(std::string_view key);
    /** A number that has its digits already. */
    JsonText& add_digits(std::string_view key, std::string_view digits);

    /** All of it. */
    const std::string& text() const { return text_; }

  private:
    JsonText& open(std::string_view key, char opening, char closing);
    void begin_value(std::string_view key);

    std::string text_;
    std::string closing_;  // of what is open, the innermost last
    bool first_ = true;    // whether there is nothing yet in the innermost
};

}  // namespace orvex::toolkit
