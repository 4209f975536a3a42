// Reheat and merge, for sparse models. The elite, or a connected region of it, is heated to a
// moderate temperature and cooled, in as many replicas as the lanes hold; then each replica is
// merged into the elite, component by component. What the replicas have become is then searched
// once more over clusters of variables that are alike in some of them (cluster_search.hpp), as long
// as that gains more for its work than another reheat would. Where to heat, how hot and how long
// differs by family of models and by how far the search is: it is learned in the run. Invariant:
// the elite never gets worse, and its energy is exact.
//
// Tried and left: reheats of short lengths only, and restarts where nothing is gained any more
// (after the same time 0.1 to 0.4 % above in the energy of planar graphs and lattices of some
// thousand nodes). For a million variables, regions alone instead of everything at once (after the
// same time 8 % above in the energy of a torus: regions of some thousand are too many to go round).
// Merging the best of the other threads into an elite that is united with the older one (with two
// threads 0.06 % above in the energy of a planar graph of 5000 nodes: threads that share what they
// have soon have the same).
//
// Also left: replica exchange, 8 or 16 temperatures with four lanes each, with isoenergetic cluster
// moves between lanes of one temperature, in place of reheats: after 4 s on a core 0.11 to 0.17 %
// above in the energy of a three-dimensional lattice of 8000 spins, 0.04 to 0.05 % on a random
// graph of 7000 nodes, 0.03 to 0.07 % on a planar one of 2000, and on a planar one of 5000 no
// difference beyond that of seeds; without the cluster moves 0.2, 0.03, 0.03 and -0.09 %. As one
// more play that is learned, after 3 s 0.07 % above to 0.02 % below on planar graphs and 0.03 %
// above on a lattice. Four elites in place of one, each raised with a quarter of the work and all
// pairs merged: 0.09 and 0.01 % above on two planar graphs of 5000 nodes, 0.02 % on the lattice,
// 0.01 % below on the random graph, where results of single runs are 0.05 % apart.

#include <algorithm>
#include <bit>
#include <cstdint>
#include <iterator>
#include <numeric>
#include <vector>

#include "toolkit/companion/choices.hpp"
#include "toolkit/companion/cluster_search.hpp"
#include "toolkit/companion/narrowing.hpp"
#include "toolkit/companion/sweeps.hpp"
#include "toolkit/companion/worker.hpp"

namespace orvex::toolkit {
namespace {

std::size_t at(std::int32_t i) {
    return static_cast<std::size_t>(i);
}

/** Shares of the variables. */
constexpr double REGIONS[] = {0.1, 0.4, 1};
/** Shares of the strength of the couplings of a typical variable. */
constexpr double HEATS[] = {0.1, 0.14, 0.19, 0.26, 0.35, 0.47};
constexpr double FIRST_HEAT = 0.6;
// Rounds grow, since slow cooling alone finds the large structure of a solution, and reheats of it
// the small: whatever the time that is given, about a third of it goes into the first.
/** Work to raise an elite, in multiples of that of the one before. */
constexpr double GROWTH = 4;
/** Reheats that follow on it alone, and united with the older one, in shares of that. */
constexpr double ALONE = 1;
constexpr double UNITED = 1;
/** Of the time that is left, raising an elite takes this share at most. */
constexpr double SHARE_OF_REST = 0.4;
/** Raising one with less work than this multiple of the last is not worth it. */
constexpr double LEAST_GROWTH = 1.5;

/** Work of a reheat in shares of that of raising the elite. */
constexpr double LENGTHS[] = {0.02, 0.06, 0.2};
constexpr double LEAST_SWEEPS = 30;
constexpr double FIRST_SWEEPS = 50;
constexpr double LEAST_SWEEPS_OF_ALL = 8;

/** Attempts between two looks at whether to stop, some milliseconds' worth. */
constexpr std::size_t VARIABLES_AT_ONCE = 1 << 15;

/** A play's work beside its sweeps: to cut the part out and to merge, counted in sweeps. */
constexpr int SWEEPS_OF_MERGE = 20;

/** Attempts of a lane in one reheat, at most, so that no try holds the others up. */
constexpr double MOST_ATTEMPTS = 3e8;

/** The same of the first annealing: a large model is to have a first solution soon. */
constexpr double FIRST_ATTEMPTS = 1e7;

// What the lanes have become is searched once more, over the clusters of variables that are alike
// in some of them. Few lanes give large clusters, many give small ones.
/** Lanes that a search over clusters looks at. */
constexpr std::size_t GROUPED_LANES[] = {2, 4, 8, 16};
/** Clusters are coupled more strongly than variables: heat them this many times as much. */
constexpr double HEAT_OF_CLUSTERS = 2;
/** Attempts over clusters, in shares of those that the lanes were annealed with. */
constexpr double SHARE_OF_CLUSTERS = 0.1;
/** Searches over clusters of the same lanes, at most, and without a gain when an elite is new. */
constexpr int MOST_GROUPINGS = 10;
constexpr int MOST_IDLE_GROUPINGS = 2;
/** Work of an attempt over clusters, whose lanes are wider, and of a variable to form them of. */
constexpr double WORK_OF_CLUSTER = 2;
constexpr double WORK_OF_FORMING = 2;
/** Variables to form clusters of, at most, so that no stop waits for long. */
constexpr std::size_t MOST_GROUPED = 1 << 18;

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
          region_(regions_.size()),
          heat_(std::size(HEATS)),
          length_(std::size(LENGTHS)),
          clusters_(qubo, exchange.stop_flag()) {}

  private:
    static std::vector<std::size_t> regions_of(std::size_t size) {
        std::vector<std::size_t> regions;
        for (const double share : REGIONS)
            regions.push_back(std::max<std::size_t>(
                1, static_cast<std::size_t>(share * static_cast<double>(size))));
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

    /** Anneals everything from hot. */
    Progress begin(double work) override {
        take_everything();
        set_all(whole_, elite_.bits, replicas_);
        const double size = static_cast<double>(whole_.size());
        const int length = static_cast<int>(std::clamp(work / size, LEAST_SWEEPS_OF_ALL, 1e9));
        if (anneal(whole_, FIRST_HEAT * narrowing_.scale, length)) {
            merge_lanes(raised_with() == 0 ? MOST_LOOKS / 10 : MOST_LOOKS);
            int idle = 0;
            for (int k = 0; k < MOST_GROUPINGS && idle < MOST_IDLE_GROUPINGS && can_group(); ++k)
                idle = group(FIRST_HEAT, size * length).gain > 0 ? 0 : idle + 1;
        }
        return {0, size * (length + SWEEPS_OF_MERGE)};
    }

    double first_work() const override {
        return std::min(FIRST_SWEEPS * static_cast<double>(whole_.size()), FIRST_ATTEMPTS);
    }
    bool enough() const override {
        return spent() >= (1 + ALONE + (alone() ? 0 : UNITED)) * raised_with();
    }
    double next_work() const override {
        const double most = SHARE_OF_REST * work_left();
        if (most < LEAST_GROWTH * raised_with()) return 0;
        return std::min(GROWTH * raised_with(), most);
    }

    void take_everything() {
        variables_.resize(whole_.size());
        std::iota(variables_.begin(), variables_.end(), 0);
    }

    /** Merges what the lanes have become into the elite, one after the other, in `looks` looks. */
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
            gain += merge(differing_);
            if (stopping()) break;
        }
        return gain;
    }

    /** Whether the lanes' words can be searched over clusters. */
    bool can_group() const {
        return clusters_.possible() && !open_.empty() && open_.size() <= MOST_GROUPED &&
               !stopping();
    }

    /**
     * Anneals over clusters of some of the lanes that were merged last.
     *
     * @param heat that these were heated to, and attempts of each
     */
    Progress group(double heat, double attempts) {
        std::uniform_int_distribution<std::size_t> lane(0, LANES<T> - 1);
        std::uniform_int_distribution<std::size_t> number(0, std::size(GROUPED_LANES) - 1);
        const std::size_t lanes = std::min(GROUPED_LANES[number(random_)], LANES<T>);
        std::uint64_t taken = 0;
        while (static_cast<std::size_t>(std::popcount(taken)) < lanes)
            taken |= std::uint64_t{1} << lane(random_);
        flips_.resize(open_.size());
        for (std::size_t p = 0; p < open_.size(); ++p) {
            const bool one = elite_.bits[at(open_[p])] != 0;
            flips_[p] = (one ? ~words_[p] : words_[p]) & taken;
        }
        const double unit = static_cast<double>(narrowing_.unit);
        const double made = clusters_.search(elite_.bits, open_, flips_,
                                             HEAT_OF_CLUSTERS * heat * narrowing_.scale * unit,
                                             SHARE_OF_CLUSTERS * attempts, randoms_, differing_);
        const double work =
            WORK_OF_FORMING * static_cast<double>(open_.size()) + WORK_OF_CLUSTER * made;
        return {static_cast<double>(merge(differing_)), work};
    }

    Progress step() override {
        const std::size_t region = region_.draw(random_);
        const std::size_t heat = heat_.draw(random_);
        const std::size_t share = length_.draw(random_);
        const std::size_t size = regions_[region];
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
        const double attempts = std::min(LENGTHS[share] * raised_with(), MOST_ATTEMPTS);
        const int length =
            static_cast<int>(std::max(attempts / static_cast<double>(size), LEAST_SWEEPS));
        if (!anneal(part, HEATS[heat] * narrowing_.scale, length)) return {};
        Progress progress{static_cast<double>(merge_lanes()),
                          static_cast<double>(size) * (length + SWEEPS_OF_MERGE)};
        play_.learn(REHEAT, progress.gain, progress.work);
        for (int k = 0; k < MOST_GROUPINGS && can_group() && play_.draw(random_) == GROUP; ++k) {
            const Progress more = group(HEATS[heat], static_cast<double>(size) * length);
            play_.learn(GROUP, more.gain, more.work);
            progress.gain += more.gain;
            progress.work += more.work;
        }
        region_.learn(region, progress.gain, progress.work);
        heat_.learn(heat, progress.gain, progress.work);
        length_.learn(share, progress.gain, progress.work);
        return progress;
    }

    Narrowing narrowing_;
    Randoms randoms_;
    Part<T> whole_;
    Cutter<T> cutter_;
    std::vector<std::size_t> regions_;
    Choices region_, heat_, length_;
    enum Play : std::size_t { REHEAT, GROUP, PLAYS };
    Choices play_{PLAYS, false};
    ClusterSearch clusters_;

    Part<T> part_;
    Replicas<T> replicas_;
    Bits bits_;
    std::vector<std::int32_t> variables_, open_, differing_;
    std::vector<std::uint64_t> words_, flips_;
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
