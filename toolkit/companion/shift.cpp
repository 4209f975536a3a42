// Annealing by moves that keep one-hot groups (moves.hpp): a copy of the elite is heated, cooled,
// and merged into it; how hot and how long is learned as for reheats. A single flip would have to
// climb over the penalty of a group before every move; here only what the model is about makes a
// difference. All heats are hot enough to forget the elite: on assignments of random numbers, cold
// reheats (0.02 to 0.2) hardly ever left the elite's valley, whatever their length, and gains are
// too rare for a run to learn that. With heats of 0.05, 0.15, 0.3, 0.45 and 0.6 a quadratic
// assignment of 20 took twice as long to its best known solution, of 30 (random numbers) nearly
// twice; of 50 it was 0.1 % above after 4 s. Only linear assignments of 60 were better then, by
// 0.07 %. Cooling in a line, or slowly to half the heat and then fast, was no better on
// assignments and worse on colourings. Invariant: the elite never gets worse, and its energy is
// exact.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <optional>

#include "toolkit/companion/choices.hpp"
#include "toolkit/companion/moves.hpp"
#include "toolkit/companion/route.hpp"
#include "toolkit/companion/worker.hpp"

namespace orvex::toolkit {
namespace {

/** Shares of the mean change of a random move. */
constexpr double HEATS[] = {0.25, 0.35, 0.5};
/** Sweeps: as many attempts as there are variables. */
constexpr int LENGTHS[] = {30, 100, 300, 1000};
constexpr int FIRST_SWEEPS = 30;

/** An elite is stuck once this share of the work on it has passed without a gain, and some more. */
constexpr double STUCK = 0.5;
constexpr double PATIENCE = 1000;
/** A new elite gets this share of the work that the older one had, before it may count as stuck. */
constexpr double FAIR_SHARE = 0.3;

/** Attempts of one annealing, at most. */
constexpr double MOST_ATTEMPTS = 2e7;

/** Attempts between two looks at whether to stop. */
constexpr int ATTEMPTS_AT_ONCE = 4096;

/** Fields of at most this size let the four of a move be added up in 32 bits, and in 64. */
constexpr Wide MOST_IN_32 = Wide{1} << 27;
constexpr Wide MOST_IN_64 = Wide{1} << 59;

/**
 * What a rising energy may rise by, in temperatures: -log(u) for evenly spread u. Metropolis' rule
 * accepts where the rise is at most -log(u) for a random u between 0 and 1.
 */
class Rises {
  public:
    Rises() {
        for (std::size_t k = 0; k < rises_.size(); ++k)
            rises_[k] = -std::log((static_cast<double>(k) + 0.5) / static_cast<double>(COUNT));
    }
    /** @param random whose lowest bits choose */
    double operator[](std::uint64_t random) const { return rises_[random % COUNT]; }

  private:
    static constexpr std::size_t COUNT = 1 << 12;
    std::array<double, COUNT> rises_;
};

template <class T>
class Shifter : public Worker {
  public:
    Shifter(const SparseQubo& qubo, const Families& families, Exchange& exchange, int number,
            std::uint64_t seed)
        : Worker(qubo, exchange, number, seed),
          mover_(qubo, families),
          heat_(std::size(HEATS)),
          length_(std::size(LENGTHS)) {}

  private:
    Progress begin(double work) override {
        mover_.stand_at(Bits(elite_.bits.size()), random_);
        // At first every move is made, and what moves change is measured on the way.
        double sum = 0;
        int moves = 0;
        for (std::int32_t attempt = 0; attempt < mover_.size(); ++attempt) {
            const Move move = mover_.move_of(variable_of(random_()));
            if (move.count == 0) continue;
            sum += std::abs(static_cast<double>(mover_.delta_of(move)));
            ++moves;
            if (moves % 2 == 0) mover_.make(move);
            if (moves % 64 == 0 && stopping()) break;
        }
        scale_ = std::max(moves == 0 ? 1.0 : sum / moves, 1e-3);
        elite_ = {mover_.bits(), energy_of(*qubo_, mover_.bits())};
        anneal(0.5, static_cast<int>(std::clamp(work, 1.0, 1e9)));
        return {0, work};
    }

    Progress step() override {
        const std::size_t heat = heat_.draw(random_);
        const std::size_t number = length_.draw(random_);
        const double most = std::max(MOST_ATTEMPTS / mover_.size(), 3.0);
        const int length = static_cast<int>(std::min<double>(LENGTHS[number], most));
        mover_.stand_at(elite_.bits, random_);
        const Progress progress{anneal(HEATS[heat], length), static_cast<double>(length) + 1};
        heat_.learn(heat, progress.gain, progress.work);
        length_.learn(number, progress.gain, progress.work);
        return progress;
    }

    Bits accepted(const Bits& offer) override {
        mover_.stand_at(offer, random_);
        return mover_.bits();
    }

    double first_work() const override { return FIRST_SWEEPS; }
    double next_work() const override { return FIRST_SWEEPS; }
    bool enough() const override {
        if (alone()) return spent() >= FAIR_SHARE * spent_before() && is_stuck(spent());
        return is_stuck(spent_before() + spent());
    }
    bool is_stuck(double worth) const { return idle() >= STUCK * worth + PATIENCE; }

    /** @param random whose upper half chooses: even enough for numbers far below 2^32 */
    std::int32_t variable_of(std::uint64_t random) const {
        return static_cast<std::int32_t>(
            ((random >> 32) * static_cast<std::uint64_t>(mover_.size())) >> 32);
    }

    /** Anneals the walker and merges it. @return what the elite gained */
    double anneal(double heat, int sweeps) {
        const std::int64_t attempts = std::int64_t{sweeps} * mover_.size();
        for (std::int64_t done = 0; done < attempts; done += ATTEMPTS_AT_ONCE) {
            const double rest = 1 - static_cast<double>(done) / static_cast<double>(attempts);
            const double temperature = heat * scale_ * rest * rest;
            for (int k = 0; k < ATTEMPTS_AT_ONCE; ++k) {
                const std::uint64_t random = random_();
                const Move move = mover_.move_of(variable_of(random));
                if (move.count == 0) continue;
                const T delta = mover_.delta_of(move);
                if (delta > 0 && static_cast<double>(delta) > temperature * rises_[random])
                    continue;
                mover_.make(move);
            }
            count(ATTEMPTS_AT_ONCE);
            if (stopping()) break;
        }
        return static_cast<double>(merge(mover_.bits()));
    }

    Mover<T> mover_;
    Choices heat_, length_;
    const Rises rises_;
    double scale_ = 1;
};

/** Largest magnitude of a field in any state. */
Wide reach_of(const SparseQubo& qubo) {
    Wide reach = 0;
    for (std::int32_t i = 0; i < qubo.size(); ++i) {
        Wide sum = qubo.linear[static_cast<std::size_t>(i)];
        sum = sum < 0 ? -sum : sum;
        for (const std::int64_t weight : qubo.weights_of(i))
            sum += weight < 0 ? -static_cast<Wide>(weight) : static_cast<Wide>(weight);
        reach = std::max(reach, sum);
    }
    return reach;
}

}  // namespace

void shift(const SparseQubo& qubo, const Groups& groups, Exchange& exchange, int number,
           std::uint64_t seed) {
    const Wide reach = reach_of(qubo);
    if (reach > MOST_IN_64) return reheat(qubo, exchange, number, seed);
    const Families families(groups, qubo.size());
    if (const std::optional<Route> route = find_route(qubo, families))
        return travel(qubo, *route, exchange, number, seed);
    if (reach <= MOST_IN_32)
        Shifter<std::int32_t>(qubo, families, exchange, number, seed).run();
    else
        Shifter<std::int64_t>(qubo, families, exchange, number, seed).run();
}

}  // namespace orvex::toolkit
