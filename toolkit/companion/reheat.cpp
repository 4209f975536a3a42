#include "toolkit/companion/reheat.hpp"

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace orvex::toolkit {
namespace {

std::size_t at(std::int32_t i) {
    return static_cast<std::size_t>(i);
}

/** One walker over a whole model. */
class Walker {
  public:
    explicit Walker(const SparseQubo& qubo, std::uint64_t seed)
        : qubo_(&qubo), random_(seed), fields_(qubo.linear.size()) {}

    /** Anneals from these bits. @return false if a stop came first */
    bool anneal(Bits& bits, double hot, int sweeps, Exchange& exchange) {
        for (std::int32_t i = 0; i < qubo_->size(); ++i) {
            Wide field = qubo_->linear[at(i)];
            const auto neighbours = qubo_->neighbours_of(i);
            for (std::size_t k = 0; k < neighbours.size(); ++k)
                if (bits[at(neighbours[k])] != 0) field += qubo_->weights_of(i)[k];
            fields_[at(i)] = field;
        }
        for (int sweep = 0; sweep < sweeps; ++sweep) {
            sweep_once(bits, hot * (sweeps - 1 - sweep) / sweeps);
            exchange.count(qubo_->size());
            if (exchange.stopping()) return false;
        }
        return true;
    }

  private:
    void sweep_once(Bits& bits, double temperature) {
        std::uniform_real_distribution<double> uniform(0, 1);
        for (std::int32_t i = 0; i < qubo_->size(); ++i) {
            const Wide delta = bits[at(i)] != 0 ? -fields_[at(i)] : fields_[at(i)];
            if (delta > 0 &&
                static_cast<double>(delta) > -temperature * std::log(1 - uniform(random_)))
                continue;
            const Wide sign = bits[at(i)] != 0 ? -1 : 1;
            bits[at(i)] ^= 1;
            const auto neighbours = qubo_->neighbours_of(i);
            for (std::size_t k = 0; k < neighbours.size(); ++k)
                fields_[at(neighbours[k])] += sign * qubo_->weights_of(i)[k];
        }
    }

    const SparseQubo* qubo_;
    std::mt19937_64 random_;
    std::vector<Wide> fields_;
};

/** Root of the mean square sum of a variable's halved couplings. */
double scale_of(const SparseQubo& qubo) {
    double sum = 0;
    for (const std::int64_t weight : qubo.weights)
        sum += std::pow(static_cast<double>(weight) / 2, 2);
    return std::max(1.0, std::sqrt(sum / std::max(1, qubo.size())));
}

}  // namespace

void reheat(const SparseQubo& qubo, Exchange& exchange, int worker, std::uint64_t seed) {
    std::mt19937_64 random(seed + static_cast<std::uint64_t>(worker));
    Walker walker(qubo, random());
    Merger merger(qubo);
    const double scale = scale_of(qubo);
    Solution elite{Bits(qubo.linear.size()), 0};
    bool merged = false;
    for (double hot = 2 * scale; !exchange.stopping();
         hot = scale * std::uniform_real_distribution<double>(0.1, 0.6)(random)) {
        for (const Bits& offer : exchange.offered(worker))
            if (merger.merge(elite, offer).gain > 0) merged = true;
        Bits copy = elite.bits;
        const bool whole = walker.anneal(copy, hot, 100, exchange);
        merger.merge(elite, copy);
        if (whole || elite.energy < exchange.best_energy()) exchange.publish(elite, merged);
    }
}

}  // namespace orvex::toolkit
