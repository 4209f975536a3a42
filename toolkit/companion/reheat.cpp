// Reheat and merge, for sparse models. The elite, or a connected region of it, is heated to a
// moderate temperature and cooled, in as many replicas as the lanes hold; then each replica is
// merged into the elite, component by component. Where to heat, how hot and how long differs by
// family of models and by how far the search is: it is learned in the run. Invariant: the elite
// never gets worse, and its energy is exact.

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <numeric>
#include <vector>

#include "toolkit/companion/choices.hpp"
#include "toolkit/companion/narrowing.hpp"
#include "toolkit/companion/sweeps.hpp"
#include "toolkit/companion/worker.hpp"

namespace orvex::toolkit {
namespace {

std::size_t at(std::int32_t i) {
    return static_cast<std::size_t>(i);
}

/** Variables; all of them is a choice too. */
constexpr std::size_t REGIONS[] = {300, 1000, 3000, 6000};
/** Shares of the strength of the couplings of a typical variable. */
constexpr double HEATS[] = {0.1, 0.15, 0.2, 0.27, 0.36, 0.5};
constexpr double FIRST_HEAT = 1.5;
/** Sweeps. */
constexpr int LENGTHS[] = {30, 100, 300, 1000, 3000, 10000};

/** Attempts between two looks at whether to stop, some milliseconds' worth. */
constexpr std::size_t VARIABLES_AT_ONCE = 1 << 15;

/** A play's work beside its sweeps: to cut the part out and to merge, as so many sweeps. */
constexpr int SWEEPS_OF_MERGE = 20;

/** Attempts of a lane in one reheat, at most, so that no try holds the others up. */
constexpr double MOST_ATTEMPTS = 3e7;

/** The same of the first annealing: a large model is to have a first solution soon. */
constexpr double FIRST_ATTEMPTS = 1e7;

/** Variables to look at in a merge of all lanes, at most: of a large model few lanes are merged. */
constexpr double MOST_LOOKS = 2e7;

template <class T>
class Reheater : public Worker {
  public:
    Reheater(const SparseQubo& qubo, const Narrowing& narrowing, Exchange& exchange, int number,
             std::uint64_t seed)
        : Worker(qubo, exchange, number, seed),
          narrowing_(narrowing),
          randoms_(random_()),
          whole_(whole_of<T>(qubo, narrowing)),
          cutter_(whole_),
          regions_(regions_of(whole_.size())),
          choices_(regions_.size(), std::size(HEATS), std::size(LENGTHS)) {}

  private:
    static std::vector<std::size_t> regions_of(std::size_t size) {
        std::vector<std::size_t> regions;
        for (const std::size_t region : REGIONS)
            if (region < size) regions.push_back(region);
        regions.push_back(size);
        return regions;
    }

    /** Cools the replicas. @return false if a stop came first */
    bool anneal(const Part<T>& part, double hot, int length) {
        for (int sweep = 0; sweep < length; ++sweep) {
            const Heat heat(hot * (length - 1 - sweep) / length);
            for (std::size_t first = 0; first < part.size(); first += VARIABLES_AT_ONCE) {
                const std::size_t last = std::min(part.size(), first + VARIABLES_AT_ONCE);
                sweeps<T>().sweep(part, first, last, heat, narrowing_.by_table, replicas_,
                                  randoms_);
                if (stopping()) return false;
            }
        }
        count(static_cast<std::int64_t>(part.size() * LANES<T>) * length);
        words_.resize(part.size());
        sweeps<T>().gather(replicas_, part.size(), words_.data());
        return true;
    }

    /** A first solution: an annealing of everything, from hot. */
    Progress begin() override {
        take_everything();
        set_all(whole_, elite_.bits, replicas_);
        const double size = static_cast<double>(whole_.size());
        const int length = static_cast<int>(std::clamp(FIRST_ATTEMPTS / size, 8.0, 50.0));
        if (anneal(whole_, FIRST_HEAT * narrowing_.scale, length)) merge_lanes(MOST_LOOKS / 10);
        return {0, size * (length + SWEEPS_OF_MERGE)};
    }

    double patience() const override { return 200.0 * static_cast<double>(whole_.size()); }

    void take_everything() {
        variables_.resize(whole_.size());
        std::iota(variables_.begin(), variables_.end(), 0);
    }

    /** Merges what the lanes have become into the elite, one after the other, for so many looks. */
    Wide merge_lanes(double looks = MOST_LOOKS) {
        const double share = looks / static_cast<double>(variables_.size());
        const auto lanes =
            static_cast<std::size_t>(std::clamp(share, 2.0, static_cast<double>(LANES<T>)));
        // Only variables that differ in any lane are looked at lane by lane.
        std::size_t open = 0;
        for (std::size_t p = 0; p < variables_.size(); ++p) {
            constexpr std::uint64_t ALL = ~std::uint64_t{0} >> (64 - LANES<T>);
            const std::uint64_t word = words_[p];
            const bool one = elite_.bits[at(variables_[p])] != 0;
            if (word == (one ? ALL : 0)) continue;
            words_[open] = word;
            open_.resize(open + 1);
            open_[open++] = variables_[p];
        }
        open_.resize(open);
        Wide gain = 0;
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            differing_.clear();
            for (std::size_t p = 0; p < open; ++p)
                if (((words_[p] >> lane) & 1) != elite_.bits[at(open_[p])])
                    differing_.push_back(open_[p]);
            gain += merger_.merge(elite_, differing_).gain;
            if (stopping()) break;
        }
        return gain;
    }

    Progress step() override {
        const Choice choice = choices_.draw(random_);
        const std::size_t size = regions_[choice.region];
        const bool everything = size == whole_.size();
        if (everything) {
            take_everything();
        } else {
            cutter_.choose(size, random_, variables_);
            cutter_.cut(variables_, elite_.bits, part_);
        }
        bits_.resize(size);
        for (std::size_t p = 0; p < size; ++p)
            bits_[p] = elite_.bits[at(variables_[p])];
        const Part<T>& part = everything ? whole_ : part_;
        set_all(part, bits_, replicas_);
        const double most = std::max(MOST_ATTEMPTS / static_cast<double>(size), 30.0);
        const int length = static_cast<int>(std::min<double>(LENGTHS[choice.length], most));
        if (!anneal(part, HEATS[choice.heat] * narrowing_.scale, length)) return {};
        const Progress progress{static_cast<double>(merge_lanes()),
                                static_cast<double>(size) * (length + SWEEPS_OF_MERGE)};
        choices_.learn(choice, progress.gain, progress.work);
        return progress;
    }

    Narrowing narrowing_;
    Randoms randoms_;
    Part<T> whole_;
    Cutter<T> cutter_;
    std::vector<std::size_t> regions_;
    Choices choices_;

    Part<T> part_;
    Replicas<T> replicas_;
    Bits bits_;
    std::vector<std::int32_t> variables_, open_, differing_;
    std::vector<std::uint64_t> words_;
};

}  // namespace

void reheat(const SparseQubo& qubo, Exchange& exchange, int number, std::uint64_t seed) {
    const Narrowing narrowing = narrowing_of(qubo);
    const auto with = [&]<class T>(T) {
        Reheater<T>(qubo, narrowing, exchange, number, seed).run();
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
