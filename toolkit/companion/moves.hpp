// Moves that keep one-hot groups: a walker whose solution has at most one 1 in each group, and
// which stays so. A move sets one variable and takes back what then would be too much: the 1 of its
// group shifts, and where two families of groups cross, as in a permutation, two groups of each
// family swap their 1s (four bits). Invariant: fields and energy are those of the bits, and a move
// costs time only where it is accepted, in proportion to the couplings of what it flips.
#pragma once

#include <array>
#include <cstdint>
#include <random>
#include <unordered_map>
#include <vector>

#include "toolkit/companion/groups.hpp"
#include "toolkit/companion/merge.hpp"
#include "toolkit/model/sparse_qubo.hpp"

namespace orvex::toolkit {

/** Which variables are flipped together. */
struct Move {
    std::array<std::int32_t, 4> variables{};
    int count = 0;  ///< of variables; 0: nothing to do

    void add(std::int32_t i) { variables[static_cast<std::size_t>(count++)] = i; }
};

/** Groups as the moves need them: two families at most, of which no two groups overlap. */
class Families {
  public:
    static constexpr std::int32_t NONE = -1;

    /** @param groups those that neither family can take are left out */
    Families(const Groups& groups, int size);

    std::size_t groups() const { return exactly_one_.size(); }
    /** The group of a variable in a family, or NONE. */
    std::int32_t group_of(std::int32_t variable, std::size_t family) const {
        return homes_[static_cast<std::size_t>(variable)][family];
    }
    bool exactly_one(std::int32_t group) const {
        return exactly_one_[static_cast<std::size_t>(group)];
    }
    /** The variable that is in both groups, or NONE. @param first of the first family */
    std::int32_t crossing(std::int32_t first, std::int32_t second) const;
    const std::vector<std::int32_t>& members(std::int32_t group) const {
        return members_[static_cast<std::size_t>(group)];
    }

  private:
    std::vector<std::vector<std::int32_t>> members_;
    std::vector<bool> exactly_one_;
    std::vector<std::array<std::int32_t, 2>> homes_;
    std::vector<std::int32_t> table_;  ///< of crossings, where there are few groups
    std::unordered_map<std::uint64_t, std::int32_t> crossings_;  ///< else
};

/** A walker; the fields and weights have the type T, which must hold any field of the model. */
template <class T>
class Mover {
  public:
    /** @param qubo, families outlive it */
    Mover(const SparseQubo& qubo, const Families& families);

    /** Takes these bits, without what is too much in a group, and fills groups that lack a 1. */
    void stand_at(const Bits& bits, std::mt19937_64& random);

    /** The move that makes this variable the other value. */
    Move move_of(std::int32_t variable) const;
    /** What it adds to the energy. */
    T delta_of(const Move& move) const;
    void make(const Move& move);

    const Bits& bits() const { return bits_; }
    int size() const { return qubo_->size(); }

  private:
    T weight(std::int32_t i, std::int32_t j) const;
    T delta_of_swap(const Move& swap) const;
    void flip(std::int32_t variable);
    void hold(std::int32_t variable, bool on);
    void make_swap(const Move& swap);

    const SparseQubo* qubo_;
    const Families* families_;
    std::vector<T> rows_;     ///< the matrix, where it is dense enough to be worth it
    std::vector<T> weights_;  ///< else the couplings' weights
    Bits bits_;
    std::vector<T> fields_;              ///< what turning a variable from 0 to 1 would add
    std::vector<std::int32_t> holders_;  ///< the variable that is 1 in each group, or NONE
};

}  // namespace orvex::toolkit
