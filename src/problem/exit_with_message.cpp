// The one place from which the library ends its process. See the header for what it promises.
#include "problem/exit_with_message.hpp"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace orvex {
namespace {

std::atomic<bool> ending{false};
thread_local bool ended_here = false;

// Standard error is not buffered, so one fwrite is one write to the system.
void write_error(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

}  // namespace

void end_process(int status, const std::string& text) {
    if (ended_here) {
        write_error(text);
        _exit(status);
    }
    if (ending.exchange(true)) {
        for (;;)
            pause();
    }
    ended_here = true;
    write_error(text);
    std::exit(status);
}

void exit_with_message(const std::string& text) {
    end_process(1, "Error: " + text + "\n");
}

}  // namespace orvex
