// Whole runs of a band. Every result is scored again from the model.
#pragma once

#include <functional>
#include <initializer_list>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "orvex/orvex.hpp"
#include "orvex/registry.hpp"

#include "engine/support/models.hpp"
#include "platform/platform.hpp"
#include "support/rescored.hpp"

namespace engine_tests {

using SETTINGS = std::initializer_list<std::pair<std::string, std::string>>;

inline orvex::Param settings(SETTINGS pairs) {
    orvex::Param param;
    for (const auto& [key, value] : pairs)
        param.set(key, value);
    return param;
}

/** What "energy" says when no result has come. */
inline const std::string NO_ENERGY_TEXT = std::to_string(std::numeric_limits<long>::max());

/** The solution's energy is what its bits amount to. */
inline void expect_true_energy(const orvex::Model& model, const orvex::Sol& sol) {
    if (sol.get("energy") == NO_ENERGY_TEXT) return;
    const std::string true_energy = std::to_string(energy_of(model, sol));
    orvex::test::count_rescored(sol.get("energy") == true_energy);
    EXPECT_EQ(sol.get("energy"), true_energy);
}

/** One run of the band. */
inline orvex::Sol solve(qubo_multi::SolveFunction band_solve, const orvex::Model& model,
                        const orvex::Param& param, const orvex::Sol* start = nullptr) {
    orvex::Sol sol(model.impl().size);
    band_solve(sol.impl(), model.impl(), param.impl(), start ? &start->impl() : nullptr);
    expect_true_energy(model, sol);
    return sol;
}

/** A callback that notes its events and acts as the test says. */
class ON_EVENT : public orvex::Callback {
  public:
    using ACTION = std::function<void(ON_EVENT&, const std::string& event)>;

    explicit ON_EVENT(ACTION action) : action_(std::move(action)) {}

    void callback(const std::string& event) override {
        events.push_back(event);
        action_(*this, event);
    }

    int count(const std::string& event) const {
        return static_cast<int>(std::count(events.begin(), events.end(), event));
    }

    std::vector<std::string> events;

  private:
    ACTION action_;
};

/**
 * The machine seems to have this many devices for as long as the object lives; before they vanish,
 * the bands give back what they keep on them.
 */
class PRESENTED_DEVICES {
  public:
    explicit PRESENTED_DEVICES(int count) { orvex::platform::present_devices(count); }
    ~PRESENTED_DEVICES() {
        qubo_release();
        orvex::platform::present_devices(1);
    }
    PRESENTED_DEVICES(const PRESENTED_DEVICES&) = delete;
    PRESENTED_DEVICES& operator=(const PRESENTED_DEVICES&) = delete;
};

/** What is written to the standard error stream while `action` runs. */
inline std::string stderr_of(const std::function<void()>& action) {
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

}  // namespace engine_tests
