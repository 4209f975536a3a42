#include "toolkit/generate/terms.hpp"

#include <algorithm>
#include <memory>
#include <tuple>
#include <utility>

namespace orvex::toolkit::generate {

void Terms::add(int i, int j, std::int64_t weight) {
    terms_.push_back({std::min(i, j), std::max(i, j), weight});
}

void Terms::add_square(const std::vector<Part>& parts, std::int64_t constant, std::int64_t times) {
    for (std::size_t k = 0; k < parts.size(); ++k) {
        const auto [i, weight] = parts[k];
        add(i, i, times * weight * (weight + 2 * constant));
        for (std::size_t l = k + 1; l < parts.size(); ++l)
            add(i, parts[l].variable, 2 * times * weight * parts[l].weight);
    }
}

GeneratedModel Terms::model() {
    std::sort(terms_.begin(), terms_.end(),
              [](const Term& a, const Term& b) { return std::tie(a.i, a.j) < std::tie(b.i, b.j); });
    std::size_t kept = 0;
    for (std::size_t k = 0; k < terms_.size();) {
        Term sum = terms_[k];
        for (++k; k < terms_.size() && terms_[k].i == sum.i && terms_[k].j == sum.j; ++k)
            sum.weight += terms_[k].weight;
        if (sum.weight != 0) terms_[kept++] = sum;
    }
    terms_.resize(kept);
    // Copies of a model share its terms.
    const auto terms = std::make_shared<const std::vector<Term>>(std::move(terms_));
    return {size_, [size = size_, terms](const TakeRow& take) {
                auto term = terms->begin();
                for (int i = 0; i < size; ++i) {
                    Row row;
                    for (; term != terms->end() && term->i == i; ++term)
                        row.push_back({term->j, term->weight});
                    take(i, row);
                }
            }};
}

}  // namespace orvex::toolkit::generate
