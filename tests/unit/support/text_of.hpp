// What something writes, as a text.
#pragma once

#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace orvex::tests {

/** What print writes for an option. */
template <class PRINTABLE>
std::string text_of(const PRINTABLE& printable, const std::string& option) {
    std::ostringstream out;
    printable.print(option, out);
    return out.str();
}

/** What an action writes to standard error. */
template <class ACTION>
std::string stderr_of(const ACTION& action) {
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

/** Counts how often a stream is flushed. */
class FLUSH_COUNTER : public std::stringbuf {
  public:
    int flushes = 0;

  protected:
    int sync() override {
        ++flushes;
        return std::stringbuf::sync();
    }
};

}  // namespace orvex::tests
