#include "toolkit/companion/worker.hpp"

#include <algorithm>
#include <utility>

namespace orvex::toolkit {
namespace {

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
    raise(first_work());
    while (!stopping()) {
        take_offers();
        const Progress progress = step();
        spent_ += progress.work;
        idle_ = progress.gain > 0 ? 0 : idle_ + progress.work;
        exchange_->collection().take(elite_);
        publish_when_due();
        if (!enough()) continue;
        if (alone_) {
            unite();
        } else if (const double work = next_work(); work > 0) {
            raise(work);
        }
    }
    exchange_->publish(elite_, merged_);
}

double Worker::work_left() const {
    return exchange_->seconds_left() * (spent_before_ + spent_) / exchange_->seconds();
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
        // An elite that is alone is to stay one of its own.
        Solution& into = alone_ ? rival_ : elite_;
        if (merger_.merge(into, accepted(offer)).gain == 0) continue;
        merged_ = true;
        if (alone_) exchange_->publish(rival_, true);
    }
}

void Worker::raise(double work) {
    alone_ = raised_with_ > 0;
    if (alone_) exchange_->publish(elite_, merged_);
    rival_ = elite_;
    elite_ = {Bits(qubo_->linear.size()), 0};
    spent_before_ += spent_;
    raised_with_ = spent_ = begin(work).work;
    idle_ = 0;
    exchange_->collection().take(elite_);
    // At first there may be an offer that is better.
    if (!alone_) merger_.merge(elite_, rival_.bits);
    exchange_->publish(elite_, merged_);
}

void Worker::collect_merged(Wide loss) {
    Collection& collection = exchange_->collection();
    // What a merge that was stopped has not judged is in no figure.
    if (stopping() || !collection.wants(elite_.energy + loss)) return;
    Solution merged{elite_.bits, elite_.energy + loss};
    for (const std::int32_t i : merger_.refused())
        merged.bits[static_cast<std::size_t>(i)] ^= 1;
    collection.take(merged);
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
    alone_ = false;
    idle_ = 0;
}

}  // namespace orvex::toolkit
