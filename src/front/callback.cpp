// The callback: requests become fields here, and the engine reads the fields after each event.
#include "orvex/callback.hpp"

#include <atomic>

#include "problem/exit_with_message.hpp"

namespace orvex {

Callback::Callback() : impl_(std::make_unique<Impl>()) {}

Callback::~Callback() = default;

const Sol& Callback::get() const {
    return impl_->solution;
}

long Callback::flips() const {
    return impl_->run_flips;
}

const std::vector<IslandState>& Callback::islands() const {
    return impl_->islands;
}

void Callback::want_solutions(long count) {
    impl_->solutions_wanted = count;
}

const std::vector<Sol>& Callback::solutions() const {
    return impl_->solutions;
}

void Callback::set(const Sol& sol) {
    impl_->hint = sol;
    impl_->hint_pending = 1;
}

void Callback::set(const std::string& operation) {
    if (operation == "abort") {
        impl_->abort_request = 1;
    } else if (operation == "kill") {
        impl_->kill_request = 1;
    } else if (operation == "new") {
        impl_->notify_new = 1;
    } else if (operation == "restart") {
        impl_->restart_request = 1;
    } else {
        exit_with_message("Wrong operation " + operation + ".");
    }
}

void Callback::set(const std::string& operation, const std::string& value) {
    if (operation == "alarm") {
        impl_->alarm_seconds = std::stod(value);
        impl_->alarm_armed = 1;
    } else if (operation == "new") {
        impl_->notify_new = value != "0";
    } else if (operation == "hint") {
        // The islands' threads look at this one without a lock.
        std::atomic_ref(impl_->hint_ready).store(value != "0", std::memory_order_relaxed);
    } else if (operation == "annealing_factor") {
        impl_->annealing_factor = std::stof(value);
    } else if (operation == "batch_factor") {
        impl_->batch_factor = std::stof(value);
    } else if (operation == "search_cycles") {
        impl_->search_cycles = value;
    } else {
        exit_with_message("Wrong callback set operation [" + operation + "].");
    }
}

Callback::Impl& Callback::impl() {
    return *impl_;
}

const Callback::Impl& Callback::impl() const {
    return *impl_;
}

}  // namespace orvex
