#include "toolkit/companion/reheat.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <utility>
#include <vector>

#include "toolkit/companion/choices.hpp"
#include "toolkit/companion/narrowing.hpp"
#include "toolkit/companion/sweeps.hpp"

namespace orvex::toolkit {
namespace {

std::size_t at(std::int32_t i) {
    return static_cast<std::size_t>(i);
}

constexpr std::size_t REGIONS[] = {300, 1000, 3000, 6000};
constexpr double HEATS[] = {0.1, 0.15, 0.2, 0.27, 0.36, 0.5};
constexpr int LENGTHS[] = {30, 100, 300, 1000, 3000};

/** Attempts between two looks at whether to stop, some milliseconds' worth. */
constexpr std::size_t VARIABLES_AT_ONCE = 1 << 15;

template <class T>
class Reheater {
  public:
    Reheater(const SparseQubo& qubo, const Narrowing& narrowing, Exchange& exchange, int worker,
             std::uint64_t seed)
        : narrowing_(narrowing),
          exchange_(exchange),
          worker_(worker),
          random_(seed),
          randoms_(random_()),
          whole_(whole_of<T>(qubo, narrowing)),
          cutter_(whole_),
          merger_(qubo),
          best_{Bits(qubo.linear.size()), 0},
          regions_(regions_of(whole_.size())),
          choices_(regions_.size(), std::size(HEATS), std::size(LENGTHS)) {}

    void run() {
        begin();
        int elites = std::getenv("ELITES") ? std::atoi(std::getenv("ELITES")) : 1;
        while (!exchange_.stopping()) {
            for (const Bits& offer : exchange_.offered(worker_))
                if (merger_.merge(best_, offer).gain > 0) merged_ = true;
            step();
            exchange_.publish(best_, merged_);
        }
        static_cast<void>(elites);
    }

  private:
    static std::vector<std::size_t> regions_of(std::size_t size) {
        std::vector<std::size_t> regions;
        for (const std::size_t region : REGIONS)
            if (region < size) regions.push_back(region);
        regions.push_back(size);
        return regions;
    }

    bool anneal(const Part<T>& part, double hot, int sweeps_count) {
        for (int sweep = 0; sweep < sweeps_count; ++sweep) {
            const Heat heat(hot * (sweeps_count - 1 - sweep) / sweeps_count);
            for (std::size_t first = 0; first < part.size(); first += VARIABLES_AT_ONCE) {
                const std::size_t last = std::min(part.size(), first + VARIABLES_AT_ONCE);
                sweeps<T>().sweep(part, first, last, heat, narrowing_.by_table, replicas_,
                                  randoms_);
                if (exchange_.stopping()) return false;
            }
        }
        exchange_.count(static_cast<std::int64_t>(part.size() * LANES<T>) * sweeps_count);
        words_.resize(part.size());
        sweeps<T>().gather(replicas_, part.size(), words_.data());
        return true;
    }

    /** A first solution: an annealing of everything, from hot. */
    void begin() {
        set_all(whole_, best_.bits, replicas_);
        if (!anneal(whole_, 1.5 * narrowing_.scale, 50)) return;
        variables_.resize(whole_.size());
        for (std::size_t i = 0; i < whole_.size(); ++i)
            variables_[i] = static_cast<std::int32_t>(i);
        merge_lanes();
        exchange_.publish(best_, merged_);
    }

    Wide merge_lanes() {
        // Only variables that differ in any lane are looked at lane by lane.
        std::size_t open = 0;
        for (std::size_t p = 0; p < variables_.size(); ++p) {
            constexpr std::uint64_t ALL = ~std::uint64_t{0} >> (64 - LANES<T>);
            const std::uint64_t word = words_[p];
            const bool one = best_.bits[at(variables_[p])] != 0;
            if (word == (one ? ALL : 0)) continue;
            words_[open] = word;
            open_.resize(open + 1);
            open_[open++] = variables_[p];
        }
        open_.resize(open);
        Wide gain = 0;
        for (std::size_t lane = 0; lane < LANES<T>; ++lane) {
            differing_.clear();
            for (std::size_t p = 0; p < open; ++p)
                if (((words_[p] >> lane) & 1) != best_.bits[at(open_[p])])
                    differing_.push_back(open_[p]);
            gain += merger_.merge(best_, differing_).gain;
            if (exchange_.stopping()) break;
        }
        return gain;
    }

    void step() {
        const Choice choice = choices_.draw(random_);
        const std::size_t size = regions_[choice.region];
        const bool everything = size == whole_.size();
        if (everything) {
            variables_.resize(size);
            for (std::size_t i = 0; i < size; ++i)
                variables_[i] = static_cast<std::int32_t>(i);
            bits_ = best_.bits;
        } else {
            cutter_.choose(size, random_, variables_);
            cutter_.cut(variables_, best_.bits, part_);
            bits_.resize(size);
            for (std::size_t p = 0; p < size; ++p)
                bits_[p] = best_.bits[at(variables_[p])];
        }
        const Part<T>& part = everything ? whole_ : part_;
        set_all(part, bits_, replicas_);
        const int length = LENGTHS[choice.length];
        if (!anneal(part, HEATS[choice.heat] * narrowing_.scale, length)) return;
        const Wide gain = merge_lanes();
        const double work = static_cast<double>(size) * (length + 20);
        choices_.learn(choice, static_cast<double>(gain), work);
        if (std::getenv("TRACE"))
            std::printf("## %zu %g %d : %g %g\n", size, HEATS[choice.heat], length,
                        static_cast<double>(gain), work);
    }

    Narrowing narrowing_;
    Exchange& exchange_;
    int worker_;
    std::mt19937_64 random_;
    Randoms randoms_;
    Part<T> whole_;
    Cutter<T> cutter_;
    Merger merger_;
    Solution best_;
    bool merged_ = false;
    std::vector<std::size_t> regions_;
    Choices choices_;

    Part<T> part_;
    Replicas<T> replicas_;
    Bits bits_;
    std::vector<std::int32_t> variables_, open_, differing_;
    std::vector<std::uint64_t> words_;
};

}  // namespace

void reheat(const SparseQubo& qubo, Exchange& exchange, int worker, std::uint64_t seed) {
    const Narrowing narrowing = narrowing_of(qubo);
    const auto with = [&]<class T>(T) {
        Reheater<T>(qubo, narrowing, exchange, worker, seed + static_cast<std::uint64_t>(worker))
            .run();
    };
    switch (narrowing.bytes) {
        case 1:
            return with(std::int8_t{});
        case 2:
            return with(std::int16_t{});
        case 4:
            return with(std::int32_t{});
        default:
            return with(std::int64_t{});
    }
}

}  // namespace orvex::toolkit
