// The way from a reduced model back to the original and forward again. It is kept in spins: each
// bit is a spin against the spin of one more node, the field, to which the linear terms couple.
// Energies do not change when all spins turn, so only products of spins mean anything. Invariant:
// each step takes its nodes out for good, and refers to nodes that are still there after it.
#pragma once

#include <array>
#include <cstdint>
#include <iosfwd>
#include <span>
#include <variant>
#include <vector>

#include "toolkit/model/bounds.hpp"
#include "toolkit/model/sparse_qubo.hpp"

namespace orvex::toolkit {

/** Two spins are tied: that of `gone` is `sign` times that of `kept`. */
struct Tie {
    std::int32_t gone;
    std::int32_t kept;  ///< may be the field
    std::int8_t sign;
    /** Of a solution in which they are not tied so, which end turns to be no worse. */
    bool kept_yields = false;
};

/** Nodes that were solved for each assignment of at most three others, their terminals. */
struct Piece {
    std::uint32_t first, count;  ///< where its nodes and their choices stand in their lists
    std::array<std::int32_t, 3> terminals;  ///< -1 for none; the last one is what spins are against
};

/**
 * Before two nodes are tied: the nodes that turn for it, with all their couplings. A solution in
 * which the two are not so gets the best spins of these nodes in which they are.
 */
struct Ball {
    std::uint32_t first, count;               ///< where its nodes stand
    std::uint32_t first_coupling, couplings;  ///< and their couplings
    std::int32_t one, other;                  ///< the two, of which one is in the ball
    std::int8_t sign;
};

class WayBack {
  public:
    /** The way to a model that is the original itself. */
    explicit WayBack(int size);

    int original_size() const { return size_; }
    int reduced_size() const { return static_cast<int>(left_.size()); }

    /**
     * With `x` a solution of the reduced model, the energy of `restore(x)` in the original is at
     * most the energy of `x` plus this, divided by factor(); the same at an optimum.
     */
    Wide offset() const { return offset_; }

    /**
     * What the reduced model's couplings are multiplied by. Every rule keeps the sum of couplings
     * at a node even, which is all that integers ask for, so it is 1.
     */
    static constexpr int factor() { return 1; }

    /** A solution of the original, from one of the reduced model. Both sizes must be right. */
    Bits restore(const Bits& reduced) const;

    /** A solution of the reduced model; what it restores to is never worse than the original. */
    Bits project(const Bits& original) const;

    /** For each reduced variable the variable of the original that it represents. */
    std::vector<int> origin() const;

    /** The field's number, one after the last variable. */
    int field() const { return size_; }

    /** For the rules, in the order in which they take nodes out. */
    void add(const Tie& tie) { steps_.emplace_back(tie); }

    /**
     * @param nodes that are taken out
     * @param terminals one to three nodes, the field may be among them
     * @param choices of each node four bits: whether its spin is that of the last terminal, for
     * each assignment of the others, of which bit i says whether terminal i is like the last
     */
    void add_piece(std::span<const std::int32_t> nodes, std::span<const std::int32_t> terminals,
                   std::span<const std::uint8_t> choices);

    /** Prepares for a tie of `one` and `other`. @param couplings of the nodes, each once */
    void add_ball(std::span<const std::int32_t> nodes, std::span<const Coupling> couplings,
                  std::int32_t one, std::int32_t other, int sign);

    /**
     * Ends the list.
     *
     * @param left the nodes that are the reduced model's variables
     * @param references for each of them the node against whose spin its bit is to be understood
     */
    void finish(std::vector<std::int32_t> left, std::vector<std::int32_t> references, Wide offset);

    friend void write_way_back(const WayBack& way_back, std::ostream& out);
    friend class WayBackReader;

  private:
    using Spins = std::vector<std::int8_t>;
    using Step = std::variant<Tie, Piece, Ball>;

    void restore_piece(const Piece& piece, Spins& spins) const;
    void turn(const Ball& ball, Spins& spins) const;

    int size_;
    Wide offset_ = 0;
    std::vector<Step> steps_;
    std::vector<std::int32_t> nodes_;    // of pieces and balls
    std::vector<std::uint8_t> choices_;  // beside the nodes; unused for balls
    std::vector<Coupling> couplings_;    // of balls
    std::vector<std::int32_t> left_, references_;
};

/**
 * Writes a way back as text: one line for each step, in numbers, so that a reduced model can be
 * solved elsewhere and its solutions restored later. docs/presolve.md defines the lines.
 */
void write_way_back(const WayBack& way_back, std::ostream& out);

/**
 * Reads what write_way_back() wrote.
 *
 * @throws InputError when anything in it is not what it could have written: whatever is read, a
 *     solution of the right size is restored from any other without a step outside of its lists
 */
WayBack read_way_back(std::istream& in);

}  // namespace orvex::toolkit
