// How one random number generator (RNG) draws for all threads of a block. The flip rules are told
// with an RNG in each thread; what a search depends on is which bit comes out, and how often. A
// block on a CPU thread therefore has one RNG and draws from the distribution of that bit at once,
// instead of moving hundreds of RNGs to take one bit.
//
// "MaxMin". Each eligible bit draws a number, the largest wins its thread the step, and the thread
// takes one of its eligible bits evenly. A thread with e of n such bits holds the largest number
// with chance e / n, so each bit comes out with chance 1 / n. Here: some places are drawn, and the
// first that is eligible is taken; if none is, one of the n, which are counted then. Both are even
// among the eligible bits, so the whole is, whatever the number of tries (twice as many were no
// faster).
//
// "PositiveMin". A thread whose free bits weigh w draws u^(1/w) with an even u. The largest of
// these belongs to a thread with chance w / W, W being the sum over all threads, and it is the W-th
// root of an even number V whoever has it (P. Efraimidis, P. Spirakis, 2006): given that the thread
// wins, its u is V^(w/W). So: a bit is drawn by its weight, 1 for one below m and 1 / count for a
// tied one; its thread is the winner. A thread with one such bit takes it. Otherwise the rule lets
// the thread choose by the word that it won with, of which u is the low half. It is not even: a
// winner's u is near 1 where many threads have drawn, which shows in the choice where the weights
// add up to a multiple of a power of 2. So a V is drawn, which gives the low half, and an even high
// half beside it. Bits of the thread that are not free weigh in this choice as they do with an RNG
// in each thread.
//   Ranks have 21 bits. If all keys are below 2^-21, which has chance 2^(-21 W), all ranks are 0
// and the highest thread wins. W is 1 or more unless nothing is below m and some of the tied bits
// are barred, so this is looked at then and only then.
//   Left out is that u has 16 bits: two threads of equal weight may draw the same, and then the
// higher one wins. Of N threads the highest comes out more often than the lowest by N / 65536 of
// itself at most, 1.6 % in a full block; 10^6 draws do not show it.
//
// "RandomMin". Each free bit is in a random subset with chance p, and the lowest of the subset
// wins; the order among equals is: higher thread, then lower own bit. Here: the first of all free
// bits in that order is looked at and kept with chance p, else the next one, and so on; about 1.1
// looks.
//
// "CyclicMin" and "TwoNeighbor" draw nothing.
#pragma once

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdint>

namespace orvex::device {

/** An even number below `count` from 32 even bits, and 0 below 0; counts here are at most 65537. */
constexpr std::uint32_t scaled(std::uint32_t word, std::uint32_t count) {
    assert(count <= 65537);
    return static_cast<std::uint32_t>(std::uint64_t{word} * count >> 32);
}

/** Places that "MaxMin" draws at a time, from the halves of as many steps of the RNG as it takes.
 */
inline constexpr int TRIES = 8;

/**
 * How many times it does so before it counts. A try costs the same in any block and a count a pass
 * over it, so larger blocks try more often.
 */
constexpr int rounds_of_tries(int size) {
    return std::clamp(size / 1024, 1, 6);
}

/** An even number within (0, 1) of 32 bits. */
inline double open_unit(std::uint32_t word) {
    return (word + 0.5) / 4294967296.0;
}

/** "PositiveMin": chance that all threads draw the lowest rank if all bits weigh `total`. */
inline double lowest_rank_chance(double total) {
    return std::exp2(-21.0 * total);
}

/**
 * "PositiveMin": what the winner drew, 16 bits of u, from an even word: u = unit^share * below. The
 * share is the thread's of all weights and `below` is 1, unless all ranks are the lowest.
 */
inline std::uint32_t winning_draw(std::uint32_t word, double share, double below) {
    assert(share > 0 && share <= 1 && below > 0 && below <= 1);
    const double u = std::pow(open_unit(word), share) * below;
    return std::min(static_cast<std::uint32_t>(u * 65536.0), 65535u);
}

}  // namespace orvex::device
