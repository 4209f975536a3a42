#include "toolkit/companion/exchange.hpp"

#include <algorithm>
#include <cassert>
#include <stdexcept>
#include <utility>

namespace orvex::toolkit {
namespace {

/** Offers that wait for one worker. */
constexpr std::size_t MOST_OFFERS = 4;

constexpr Wide HIGHEST = static_cast<Wide>(~static_cast<unsigned __int128>(0) >> 1);

}  // namespace

Exchange::Exchange(const SparseQubo& qubo, int workers, std::size_t solutions)
    : qubo_(&qubo),
      begin_(std::chrono::steady_clock::now()),
      offers_(static_cast<std::size_t>(workers)),
      collection_(solutions, qubo.linear.size()) {}

void Exchange::begin(double time_limit) {
    const std::lock_guard lock(mutex_);
    begin_ = std::chrono::steady_clock::now();
    time_limit_ = time_limit;
}

double Exchange::seconds() const {
    const std::lock_guard lock(mutex_);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
}

double Exchange::seconds_left() const {
    const double passed = seconds();
    const std::lock_guard lock(mutex_);
    return std::max(time_limit_ - passed, 0.0);
}

void Exchange::stop() {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
    changed_.notify_all();
}

void Exchange::publish(const Solution& solution, bool merged) {
    if (solution.energy >= best_energy()) return;
    const Wide energy = energy_of(*qubo_, solution.bits);
    if (energy != solution.energy)
        throw std::logic_error("Internal error: a part of the companion takes the energy " +
                               to_string(energy) + " to be " + to_string(solution.energy));
    const std::lock_guard lock(mutex_);
    if (best_ && best_->energy <= energy) return;
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin_;
    best_ = {solution.bits, energy, merged, time.count()};
    changed_.notify_all();
}

Wide Exchange::best_energy() const {
    const std::lock_guard lock(mutex_);
    return best_ ? best_->energy : HIGHEST;
}

std::optional<CompanionBest> Exchange::better_than(Wide energy) const {
    const std::lock_guard lock(mutex_);
    if (!best_ || best_->energy >= energy) return {};
    return best_;
}

bool Exchange::wait_for_better(Wide energy, double seconds) const {
    std::unique_lock lock(mutex_);
    const auto is_better = [&] { return best_ && best_->energy < energy; };
    changed_.wait_for(lock, std::chrono::duration<double>(seconds),
                      [&] { return is_better() || stopping(); });
    return is_better();
}

void Exchange::offer(const Bits& bits) {
    const std::lock_guard lock(mutex_);
    for (std::vector<Bits>& offers : offers_) {
        if (offers.size() == MOST_OFFERS) offers.erase(offers.begin());
        offers.push_back(bits);
    }
}

std::vector<Bits> Exchange::offered(int worker) {
    const std::lock_guard lock(mutex_);
    return std::exchange(offers_[static_cast<std::size_t>(worker)], {});
}

void Exchange::fail(std::exception_ptr failure) {
    {
        const std::lock_guard lock(mutex_);
        if (!failure_) failure_ = std::move(failure);
    }
    stop();
}

void Exchange::rethrow() {
    std::exception_ptr failure;
    {
        const std::lock_guard lock(mutex_);
        failure = std::exchange(failure_, nullptr);
    }
    if (failure) std::rethrow_exception(failure);
}

}  // namespace orvex::toolkit
