// Calls that end the process, made in a child of it. Invariant: the caller's process is as before.
#pragma once

#include <csignal>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include "reference.hpp"

namespace orvex::model_test {

struct HowItEnded {
    int status = -1;   ///< the exit status; -1 where a signal ended it
    std::string text;  ///< what it left on standard error
};

/** Makes the call in a child; status 99 stands for a call that returned. */
template <class CALL>
HowItEnded in_child(const CALL& call) {
    int ends[2];
    require(pipe(ends) == 0, "a pipe can be made");
    const pid_t child = fork();
    require(child >= 0, "a child can be made");
    if (child == 0) {
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        alarm(60);
        call();
        _exit(99);
    }
    close(ends[1]);
    HowItEnded how;
    char piece[512];
    for (ssize_t count; (count = read(ends[0], piece, sizeof piece)) > 0;)
        how.text.append(piece, static_cast<std::size_t>(count));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status)) how.status = WEXITSTATUS(status);
    return how;
}

/** The call ends its process with this status and exactly this text. */
template <class CALL>
void require_end(int status, const std::string& text, const CALL& call) {
    const HowItEnded how = in_child(call);
    require(how.status == status && how.text == text,
            "expected the status " + std::to_string(status) + " and \"" + text + "\", got " +
                std::to_string(how.status) + " and \"" + how.text + "\"");
}

}  // namespace orvex::model_test
