#include "toolkit/companion/companion.hpp"

#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

#include "toolkit/companion/worker.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {
namespace {

CompanionOptions checked(const SparseQubo& qubo, CompanionOptions options) {
    if (options.threads < 1)
        throw InputError("a companion needs a thread, not " + std::to_string(options.threads));
    if (qubo.size() == 0) throw InputError("the problem has no variables");
    if (qubo.neighbours.size() > std::numeric_limits<std::uint32_t>::max())
        throw InputError("a companion holds less than 2^31 couplings, not " +
                         std::to_string(qubo.couplings()));
    expect_groups(options.groups, qubo.size());
    return options;
}

}  // namespace

Companion::Companion(const SparseQubo& qubo, CompanionOptions options)
    : qubo_(&qubo),
      options_(checked(qubo, std::move(options))),
      exchange_(qubo, options_.threads, static_cast<std::size_t>(options_.solutions)) {}

Companion::~Companion() {
    join();
}

void Companion::start() {
    if (!threads_.empty()) throw std::logic_error("the companion has been started");
    exchange_.begin(options_.time_limit);
    for (int worker = 0; worker < options_.threads; ++worker)
        threads_.emplace_back([this, worker] { work(worker); });
}

void Companion::work(int worker) {
    try {
        if (options_.groups.empty())
            reheat(*qubo_, exchange_, worker, options_.seed);
        else
            shift(*qubo_, options_.groups, exchange_, worker, options_.seed);
    } catch (...) {
        exchange_.fail(std::current_exception());
    }
}

void Companion::offer(const Bits& solution) {
    if (solution.size() != qubo_->linear.size())
        throw InputError("a solution of " + std::to_string(solution.size()) +
                         " bits is offered; the problem has " + std::to_string(qubo_->size()) +
                         " variables");
    Bits bits = solution;
    for (std::uint8_t& bit : bits)
        bit = bit != 0;
    exchange_.offer(bits);
}

std::optional<Companion::Best> Companion::better_than(Wide energy) const {
    return exchange_.better_than(energy);
}

bool Companion::wait_for_better(Wide energy, double seconds) const {
    return exchange_.wait_for_better(energy, seconds);
}

void Companion::join() {
    exchange_.stop();
    for (std::thread& thread : threads_)
        if (thread.joinable()) thread.join();
}

void Companion::stop() {
    join();
    exchange_.rethrow();
}

long Companion::attempted_flips() const {
    return exchange_.attempts();
}

}  // namespace orvex::toolkit
