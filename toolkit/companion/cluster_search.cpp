#include "toolkit/companion/cluster_search.hpp"

#include <algorithm>

#include "toolkit/companion/merge.hpp"
#include "toolkit/companion/sweeps.hpp"

namespace orvex::toolkit {
namespace {

constexpr double LEAST_SWEEPS = 20;
constexpr double MOST_SWEEPS = 2000;

/** Attempts between two looks at whether to stop, some milliseconds' worth. */
constexpr std::size_t CLUSTERS_AT_ONCE = 1 << 15;

/** The best of all combinations of the lanes' components. @param words a bit for each lane */
Bits combined(const SparseQubo& model, const std::vector<std::uint64_t>& words, std::size_t lanes,
              const std::atomic<bool>& stop) {
    Merger merger(model, &stop);
    Solution best{Bits(words.size()), 0};
    std::vector<std::int32_t> differing;
    for (std::size_t lane = 0; lane < lanes; ++lane) {
        differing.clear();
        for (std::size_t c = 0; c < words.size(); ++c)
            if (((words[c] >> lane) & 1) != best.bits[c])
                differing.push_back(static_cast<std::int32_t>(c));
        merger.merge(best, differing);
    }
    return best.bits;
}

}  // namespace

ClusterSearch::ClusterSearch(const SparseQubo& qubo, const std::atomic<bool>& stop)
    : stop_(&stop), clusters_(qubo) {}

template <class T>
Bits ClusterSearch::cooled(const SparseQubo& model, const Narrowing& narrowing, double hot,
                           int length, Randoms& randoms) const {
    const Part<T> part = whole_of<T>(model, narrowing);
    Replicas<T> replicas;
    set_all(part, Bits(part.size()), replicas);
    for (int sweep = 0; sweep < length; ++sweep) {
        const Heat heat(hot * (length - 1 - sweep) / length);
        for (std::size_t first = 0; first < part.size(); first += CLUSTERS_AT_ONCE) {
            if (stopping()) return Bits(part.size());
            const std::size_t last = std::min(part.size(), first + CLUSTERS_AT_ONCE);
            sweeps<T>().sweep(part, first, last, heat, narrowing.by_table, replicas, randoms);
        }
    }
    std::vector<std::uint64_t> words(part.size());
    sweeps<T>().gather(replicas, part.size(), words.data());
    return combined(model, words, LANES<T>, *stop_);
}

double ClusterSearch::search(const Bits& bits, std::span<const std::int32_t> variables,
                             std::span<const std::uint64_t> flips, double hot, double attempts,
                             Randoms& randoms, std::vector<std::int32_t>& differing) {
    differing.clear();
    const SparseQubo model = clusters_.form(bits, variables, flips);
    if (model.size() < 2) return 0;
    const int length =
        static_cast<int>(std::clamp(attempts / model.size(), LEAST_SWEEPS, MOST_SWEEPS));
    const Narrowing narrowing = narrowing_of(model);
    const double narrowed = hot / static_cast<double>(narrowing.unit);
    const auto with = [&]<class T>(T) {
        return cooled<T>(model, narrowing, narrowed, length, randoms);
    };
    const Bits flipped = narrowing.bytes == 1   ? with(std::int8_t{})
                         : narrowing.bytes == 2 ? with(std::int16_t{})
                         : narrowing.bytes == 4 ? with(std::int32_t{})
                                                : with(std::int64_t{});
    clusters_.expand(flipped, differing);
    return static_cast<double>(model.size()) * length;
}

}  // namespace orvex::toolkit
