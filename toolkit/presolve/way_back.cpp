#include "toolkit/presolve/way_back.hpp"

#include <algorithm>
#include <numeric>
#include <utility>

namespace orvex::toolkit {
namespace {

std::size_t at(int i) {
    return static_cast<std::size_t>(i);
}

}  // namespace

WayBack::WayBack(int size) : size_(size), left_(at(size)), references_(at(size), size) {
    std::iota(left_.begin(), left_.end(), 0);
}

void WayBack::finish(std::vector<std::int32_t> left, std::vector<std::int32_t> references,
                     Wide offset) {
    left_ = std::move(left);
    references_ = std::move(references);
    offset_ = offset;
}

Bits WayBack::restore(const Bits& reduced) const {
    Spins spins(at(size_) + 1, 1);
    for (std::size_t i = 0; i < left_.size(); ++i)
        spins[at(left_[i])] = reduced[i] != 0 ? 1 : -1;
    for (auto tie = ties_.rbegin(); tie != ties_.rend(); ++tie)
        spins[at(tie->gone)] = static_cast<std::int8_t>(tie->sign * spins[at(tie->kept)]);

    Bits bits(at(size_));
    std::transform(spins.begin(), spins.end() - 1, bits.begin(),
                   [](std::int8_t spin) { return static_cast<std::uint8_t>(spin > 0); });
    return bits;
}

Bits WayBack::project(const Bits& original) const {
    Spins spins(at(size_) + 1, 1);
    for (std::size_t i = 0; i < original.size(); ++i)
        spins[i] = original[i] != 0 ? 1 : -1;
    for (const Tie& tie : ties_)
        if (tie.kept_yields)
            spins[at(tie.kept)] = static_cast<std::int8_t>(tie.sign * spins[at(tie.gone)]);

    Bits bits(left_.size());
    for (std::size_t i = 0; i < left_.size(); ++i)
        bits[i] = spins[at(left_[i])] == spins[at(references_[i])];
    return bits;
}

std::vector<int> WayBack::origin() const {
    return {left_.begin(), left_.end()};
}

}  // namespace orvex::toolkit
