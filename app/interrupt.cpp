#include "app/interrupt.hpp"

#include <atomic>
#include <csignal>
#include <initializer_list>
#include <unistd.h>

#include "app/exit_status.hpp"

namespace orvex::cli {
namespace {

std::atomic<bool> marked{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a handler may use nothing else");

void handle(int number) {
    if (marked.exchange(true)) _exit(EXIT_SIGNAL_BASE + number);
}

}  // namespace

void catch_interrupts() {
    for (const int number : {SIGINT, SIGTERM}) {
        struct sigaction action {};
        if (sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) continue;
        action = {};
        action.sa_handler = handle;
        action.sa_flags = SA_RESTART;
        sigemptyset(&action.sa_mask);
        sigaction(number, &action, nullptr);
    }
}

bool interrupted() {
    return marked.load();
}

}  // namespace orvex::cli
