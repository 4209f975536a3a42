#include "toolkit/presolve/way_back.hpp"

#include <algorithm>
#include <numeric>
#include <optional>
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

void WayBack::add_piece(std::span<const std::int32_t> nodes,
                        std::span<const std::int32_t> terminals,
                        std::span<const std::uint8_t> choices) {
    Piece piece{static_cast<std::uint32_t>(nodes_.size()),
                static_cast<std::uint32_t>(nodes.size()),
                {-1, -1, -1}};
    std::copy(terminals.begin(), terminals.end(), piece.terminals.begin());
    nodes_.insert(nodes_.end(), nodes.begin(), nodes.end());
    choices_.insert(choices_.end(), choices.begin(), choices.end());
    steps_.emplace_back(piece);
}

void WayBack::add_ball(std::span<const std::int32_t> nodes, std::span<const Coupling> couplings,
                       std::int32_t one, std::int32_t other, int sign) {
    steps_.emplace_back(Ball{
        static_cast<std::uint32_t>(nodes_.size()), static_cast<std::uint32_t>(nodes.size()),
        static_cast<std::uint32_t>(couplings_.size()), static_cast<std::uint32_t>(couplings.size()),
        one, other, static_cast<std::int8_t>(sign)});
    nodes_.insert(nodes_.end(), nodes.begin(), nodes.end());
    choices_.resize(nodes_.size());
    couplings_.insert(couplings_.end(), couplings.begin(), couplings.end());
}

void WayBack::restore_piece(const Piece& piece, Spins& spins) const {
    int last = 0;
    while (last < 2 && piece.terminals[at(last + 1)] != -1)
        ++last;
    const std::int8_t against = spins[at(piece.terminals[at(last)])];
    int assignment = 0;
    for (int i = 0; i < last; ++i)
        assignment |= (spins[at(piece.terminals[at(i)])] == against) << i;
    for (std::size_t k = piece.first; k < piece.first + piece.count; ++k)
        spins[at(nodes_[k])] =
            static_cast<std::int8_t>((choices_[k] >> assignment & 1) != 0 ? against : -against);
}

void WayBack::turn(const Ball& ball, Spins& spins) const {
    const std::span nodes(nodes_.data() + ball.first, ball.count);
    const std::span couplings(couplings_.data() + ball.first_coupling, ball.couplings);
    std::uint32_t best = 0;
    std::optional<Wide> least;
    const auto set = [&](std::uint32_t number) {
        for (std::size_t k = 0; k < nodes.size(); ++k)
            spins[at(nodes[k])] = (number >> k & 1) != 0 ? 1 : -1;
    };
    for (std::uint32_t number = 0; number < std::uint32_t{1} << nodes.size(); ++number) {
        set(number);
        if (spins[at(ball.one)] * spins[at(ball.other)] != ball.sign) continue;
        Wide energy = 0;
        for (const auto& [i, j, weight] : couplings)
            energy += spins[at(i)] * spins[at(j)] * weight;
        if (least && energy >= *least) continue;
        least = energy;
        best = number;
    }
    set(best);
}

Bits WayBack::restore(const Bits& reduced) const {
    Spins spins(at(size_) + 1, 1);
    for (std::size_t i = 0; i < left_.size(); ++i)
        spins[at(left_[i])] = reduced[i] != 0 ? 1 : -1;
    for (auto step = steps_.rbegin(); step != steps_.rend(); ++step) {
        if (const Tie* const tie = std::get_if<Tie>(&*step))
            spins[at(tie->gone)] = static_cast<std::int8_t>(tie->sign * spins[at(tie->kept)]);
        else if (const Piece* const piece = std::get_if<Piece>(&*step))
            restore_piece(*piece, spins);
    }

    Bits bits(at(size_));
    std::transform(spins.begin(), spins.end() - 1, bits.begin(),
                   [](std::int8_t spin) { return static_cast<std::uint8_t>(spin > 0); });
    return bits;
}

Bits WayBack::project(const Bits& original) const {
    Spins spins(at(size_) + 1, 1);
    for (std::size_t i = 0; i < original.size(); ++i)
        spins[i] = original[i] != 0 ? 1 : -1;
    for (const Step& step : steps_) {
        if (const Tie* const tie = std::get_if<Tie>(&step); tie != nullptr && tie->kept_yields)
            spins[at(tie->kept)] = static_cast<std::int8_t>(tie->sign * spins[at(tie->gone)]);
        else if (const Ball* const ball = std::get_if<Ball>(&step))
            if (spins[at(ball->one)] * spins[at(ball->other)] != ball->sign) turn(*ball, spins);
    }

    Bits bits(left_.size());
    for (std::size_t i = 0; i < left_.size(); ++i)
        bits[i] = spins[at(left_[i])] == spins[at(references_[i])];
    return bits;
}

std::vector<int> WayBack::origin() const {
    return {left_.begin(), left_.end()};
}

}  // namespace orvex::toolkit
