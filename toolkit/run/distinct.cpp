#include "toolkit/run/distinct.hpp"

#include <algorithm>
#include <span>
#include <utility>

namespace orvex::toolkit {
namespace {

std::span<const std::uint64_t> words_of(const Ranked& ranked) {
    const Sol::Impl& from = ranked.solution.impl();
    return {from.data.get(), static_cast<std::size_t>(from.words)};
}

}  // namespace

std::vector<Ranked> best_distinct(const Record& record, const std::vector<Sol>& searched,
                                  int count) {
    std::vector<Ranked> ranked;
    for (const Found& found : record.history())
        ranked.push_back({found.energy, found.solution});
    if (!searched.empty()) {
        const View& view = record.view();
        const Weights& weights = view.problem().weights;
        // From one on that most of their bits agree with.
        const Ranked best = ranked.back();
        for (const Sol& solution : searched) {
            Sol original = view.original_of(solution);
            const Wide change = weights.energy_change(best.solution, original);
            ranked.push_back({static_cast<long>(best.energy + change), std::move(original)});
        }
    }
    std::sort(ranked.begin(), ranked.end(), [](const Ranked& a, const Ranked& b) {
        if (a.energy != b.energy) return a.energy < b.energy;
        return std::ranges::lexicographical_compare(words_of(a), words_of(b));
    });
    const auto same = [](const Ranked& a, const Ranked& b) {
        return std::ranges::equal(words_of(a), words_of(b));
    };
    ranked.erase(std::unique(ranked.begin(), ranked.end(), same), ranked.end());
    if (std::cmp_less(count, ranked.size())) ranked.resize(static_cast<std::size_t>(count));
    return ranked;
}

}  // namespace orvex::toolkit
