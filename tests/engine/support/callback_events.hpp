// A run that a test drives by hand, with a callback: the test raises one event at a time on the
// second of two islands.
#pragma once

#include "engine/support/run_by_hand.hpp"

namespace engine_tests {

class CallbackEvents : public RunByHand {
  protected:
    CallbackEvents() {
        param.set(callback);
        prepare(2, 2);
    }

    /** The event takes place on an island, and the callback acts as told. */
    void event(
        const std::string& name, std::function<void(ON_EVENT&)> act = [](ON_EVENT&) {}) {
        action = std::move(act);
        run->callback_func(name, island(1));
    }

    void expectEvents(const std::vector<std::string>& names) { EXPECT_EQ(callback.events, names); }

    std::function<void(ON_EVENT&)> action;
    ON_EVENT callback{[this](ON_EVENT& self, const std::string&) { action(self); }};
};

}  // namespace engine_tests
