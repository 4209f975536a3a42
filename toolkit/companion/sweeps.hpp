// Metropolis sweeps of replicas side by side. Each variable in turn is flipped in every lane whose
// random threshold is not below the flip's delta. Invariant: lanes know nothing of each other, and
// all instruction sets make the same flips from the same random numbers.
//
// A flip of delta > 0 is accepted with probability exp(-delta / T). Two ways to it, both without an
// exponential or a branch for a flip:
//   - For 8-bit lanes whose deltas are proven to be at most 15: the probability in shares of 65536
//     is looked up by the delta, in a table that fits into one register, and compared with 16
//     random bits. Random byte b of a variable's first and second draw belong to lane b.
//   - Else: delta <= -T ln(u), with u = (31 random bits, the last set) / 2^31. The logarithm to
//   base
//     2 is the float's exponent with t + t (1 - t) (a + b t + c t^2) for its fraction t, less than
//     1.2e-4 off, so that a probability is off by a relative 1e-4. With lanes of 8 or 16 bits, word
//     w of draw k belongs to lane k of the w-th four or two; lanes of 64 bits take the upper half
//     of their word.
//
// The layout is that of the "multi-spin" codes with one lane a replica: Isakov, Zintchenko, Ronnow,
// Troyer, "Optimised simulated annealing for Ising spin glasses", Comput. Phys. Commun. 192, 2015.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "toolkit/companion/lanes.hpp"

namespace orvex::toolkit {

/** The loops over the lanes of one type, for one instruction set. */
template <class T>
struct Sweeps {
    std::string instructions;  ///< name of the set
    /**
     * One attempt for each variable from `first` to before `last`, in each lane.
     *
     * @param by_table whether to go by the table; only for lanes of 8 bits with deltas up to 15
     */
    void (*sweep)(const Part<T>& part, std::size_t first, std::size_t last, const Heat& heat,
                  bool by_table, Replicas<T>& replicas, Randoms& randoms);
    /** Bit k of word i tells whether variable i is 1 in lane k. */
    void (*gather)(const Replicas<T>& replicas, std::size_t size, std::uint64_t* words);
};

/** The best that this processor can run. T is std::int8_t, int16_t, int32_t or int64_t. */
template <class T>
const Sweeps<T>& sweeps();

/** All that this processor can run. */
template <class T>
std::vector<Sweeps<T>> all_sweeps();

/** Sets every lane to these bits. @param bits of the part's variables */
template <class T>
void set_all(const Part<T>& part, const std::vector<std::uint8_t>& bits, Replicas<T>& replicas);

}  // namespace orvex::toolkit
