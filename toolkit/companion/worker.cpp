#include "toolkit/companion/worker.hpp"

#include <algorithm>
#include <utility>

namespace orvex::toolkit {
namespace {

/** An elite is stuck once this share of the work on it has passed without a gain. */
constexpr double STUCK = 0.5;

/** A new elite gets this share of the work that the older one had, before it may count as stuck. */
constexpr double FAIR_SHARE = 0.3;

/** Whether flipping all variables never changes the energy: every field is minus its complement. */
bool is_symmetric(const SparseQubo& qubo) {
    for (std::int32_t i = 0; i < qubo.size(); ++i) {
        Wide sum = 2 * static_cast<Wide>(qubo.linear[static_cast<std::size_t>(i)]);
        for (const std::int64_t weight : qubo.weights_of(i))
            sum += weight;
        if (sum != 0) return false;
    }
    return true;
}

}  // namespace

Worker::Worker(const SparseQubo& qubo, Exchange& exchange, int number, std::uint64_t seed)
    : qubo_(&qubo),
      random_(seed + 0x9e3779b97f4a7c15u * static_cast<std::uint64_t>(number)),
      merger_(qubo, &exchange.stop_flag()),
      elite_{Bits(qubo.linear.size()), 0},
      exchange_(&exchange),
      number_(number),
      symmetric_(is_symmetric(qubo)) {}

void Worker::run() {
    take_offers();
    raise();
    while (!stopping()) {
        take_offers();
        const Progress progress = step();
        spent_ += progress.work;
        idle_ = progress.gain > 0 ? 0 : idle_ + progress.work;
        publish_when_due();
        if (idle_ < STUCK * spent_ + patience() || spent_ < FAIR_SHARE * share_) continue;
        if (raising_) {
            unite();
        } else {
            exchange_->publish(elite_, merged_);
            rival_ = elite_;
            share_ = spent_;
            raising_ = true;
            raise();
        }
    }
    exchange_->publish(elite_, merged_);
}

/** Adding up energies of large models takes long: it gets a small share of the time. */
void Worker::publish_when_due() {
    const auto begin = std::chrono::steady_clock::now();
    if (begin < due_) return;
    exchange_->publish(elite_, merged_);
    const auto end = std::chrono::steady_clock::now();
    due_ = end + 10 * (end - begin);
}

void Worker::take_offers() {
    for (const Bits& offer : exchange_->offered(number_)) {
        const Bits bits = accepted(offer);
        if (merger_.merge(elite_, bits).gain > 0) merged_ = true;
    }
}

void Worker::raise() {
    const Solution before = elite_;
    elite_ = {Bits(qubo_->linear.size()), 0};
    spent_ = begin().work;
    idle_ = 0;
    // At first there may be an offer that is better.
    if (!raising_) merger_.merge(elite_, before.bits);
    exchange_->publish(elite_, merged_);
}

void Worker::unite() {
    if (elite_.energy > rival_.energy) std::swap(elite_, rival_);
    if (symmetric_) {
        std::size_t equal = 0;
        for (std::size_t i = 0; i < elite_.bits.size(); ++i)
            equal += elite_.bits[i] == rival_.bits[i];
        if (2 * equal < elite_.bits.size())
            for (std::uint8_t& bit : rival_.bits)
                bit ^= 1;
    }
    merger_.merge(elite_, rival_.bits);
    exchange_->publish(elite_, merged_);
    raising_ = false;
    spent_ += share_;
    share_ = 0;
    idle_ = 0;
}

}  // namespace orvex::toolkit
