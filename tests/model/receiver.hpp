// A receiver of events that asks for whatever the sequence says, at whatever event, and looks at
// what it is shown. Invariant: it throws nothing; what is wrong is kept until the run is over.
#pragma once

#include <algorithm>
#include <atomic>
#include <string>

#include "rescore.hpp"
#include "world.hpp"

namespace orvex::model_test {

class Receiver : public Callback {
  public:
    explicit Receiver(const std::uint32_t* requests) { std::copy_n(requests, 3, plan.requests); }

    /** Before a run of that model. */
    void begin(const Weights& weights) {
        weights_ = &weights;
        best_ = INT64_MAX;
        inits_ = 0;
        wrong.clear();
    }

    void callback(const std::string& event) override {
        if (inside_.exchange(true)) wrong = "two events at a time";
        try {
            look(event);
        } catch (const Violation& violation) {
            wrong = violation.what();
        }
        ask(plan.requests[event == "init" ? 0 : event == "new" ? 1 : 2]);
        inside_ = false;
    }

    bool saw_init() const { return inits_ == 1; }

    EventPlan plan;
    std::string wrong;   ///< what was found, if anything
    bool ended = false;  ///< the run was asked to end

  private:
    void look(const std::string& event) {
        require(get().impl().bits == weights_->size, "the shown solution has the model's size");
        if (event == "init") {
            ++inits_;
            require(inits_ == 1, "there is one beginning");
            return;
        }
        require(inits_ == 1, "the beginning comes first");
        require(event == "new" || event == "alarm", "there are three events");
        require_true_energy(*weights_, get());
        require(flips() >= 0, "flips are counted");
        const Wide energy = weights_->energy(bits_of(get()));
        if (get().get("energy") == std::to_string(INT64_MAX)) return;
        if (event == "new")
            require(energy < best_, "a new best is better");
        else
            require(energy <= best_, "an alarm shows the best");
        best_ = energy;
    }

    void ask(std::uint32_t requests) {
        if (requests & 1) set("new");
        if (requests & 2) set("new", "0");
        if (requests & 4) set("alarm", "0.0005");
        if (requests & 8) {
            Sol hint(weights_->size);
            const auto bits = random_bits(weights_->size, requests);
            for (std::size_t i = 0; i < bits.size(); ++i)
                hint.set(static_cast<int>(i), bits[i]);
            set(hint);
        }
        if (requests & 16) set("restart");
        if (requests & 32) set("hint", requests & 64 ? "1" : "0");
        if (requests & 128) set("annealing_factor", "0.5");
        if (requests & 256) set("batch_factor", "0.25");
        if (requests & 512) set("search_cycles", "0.5 0.1");
        if ((requests >> 10) % 8 == 0) set("abort"), ended = true;
        if ((requests >> 13) % 8 == 0) set("kill"), ended = true;
    }

    const Weights* weights_ = nullptr;
    Wide best_ = 0;
    int inits_ = 0;
    std::atomic<bool> inside_{false};
};

}  // namespace orvex::model_test
