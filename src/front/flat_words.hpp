// Solutions as the flat interface shows them: arrays of words that belong to the caller. Invariant:
// of the n bits nothing but these is read, and what is written has zeros above them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "orvex/sol.hpp"

namespace orvex::flat {

/** The number of words that hold n bits. */
inline std::size_t words_of(int n) {
    return n > 0 ? (static_cast<std::size_t>(n) + 63) / 64 : 0;
}

/** Clears what is at and above bit n in its word. */
inline void cut_above(std::uint64_t* words, int n) {
    if (n > 0 && n % 64 != 0) words[n / 64] &= (std::uint64_t{1} << (n % 64)) - 1;
}

/** Writes the first n bits of a solution; those that it has not are 0. */
inline void write_words(const Sol& sol, int n, std::uint64_t* words) {
    const std::size_t count = words_of(n);
    const std::size_t given = std::min(count, static_cast<std::size_t>(sol.impl().words));
    std::copy_n(sol.impl().data.get(), given, words);
    std::fill(words + given, words + count, 0);
    cut_above(words, n);
}

/** The solution of n bits that is in an array. */
inline Sol sol_of(const std::uint64_t* words, int n) {
    Sol sol(n);
    std::copy_n(words, words_of(n), sol.impl().data.get());
    cut_above(sol.impl().data.get(), n);
    return sol;
}

}  // namespace orvex::flat
