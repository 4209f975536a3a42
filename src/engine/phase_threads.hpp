// How the engine's threads run a phase: one thread for each member of a set, and a join that closes
// the phase. Invariant: a thread that cannot be started ends the process as other failures do; an
// exception would meet threads that still run on its way out.
#pragma once

#include <cassert>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "engine/error_exit.hpp"

namespace orvex::engine {

/** A thread that does this. */
template <class... WORK>
std::thread started_thread(WORK&&... work) {
    try {
        return std::thread(std::forward<WORK>(work)...);
    } catch (const std::system_error&) {
        error_exit("Cannot start a thread.");
    }
}

/** A member has a `thread` of the present phase, which is joined before the next one starts. */
template <class MEMBER>
void start_phase(std::vector<MEMBER>& members, void (MEMBER::*phase)()) {
    for (MEMBER& member : members) {
        assert(!member.thread.joinable());
        member.thread = started_thread(phase, &member);
    }
}

template <class MEMBER>
void join_phase(std::vector<MEMBER>& members) {
    for (MEMBER& member : members)
        member.thread.join();
}

}  // namespace orvex::engine
