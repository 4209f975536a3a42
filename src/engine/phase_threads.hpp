// How the engine's threads run a phase: one thread for each member of a set, and a join that closes
// the phase.
#pragma once

#include <cassert>
#include <thread>
#include <vector>

namespace orvex::engine {

/** A member has a `thread` of the present phase, which is joined before the next one starts. */
template <class MEMBER>
void start_phase(std::vector<MEMBER>& members, void (MEMBER::*phase)()) {
    for (MEMBER& member : members) {
        assert(!member.thread.joinable());
        member.thread = std::thread(phase, &member);
    }
}

template <class MEMBER>
void join_phase(std::vector<MEMBER>& members) {
    for (MEMBER& member : members)
        member.thread.join();
}

}  // namespace orvex::engine
