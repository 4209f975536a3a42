// Problems put together from numbers in memory. The weights go into the rows of a model once, in
// the narrowest width that holds them, and what is known of them is formed on the way. Invariant:
// nothing is allocated that this machine has not free, and what cannot be a problem is refused.
#pragma once

#include <cstdint>
#include <span>

#include "toolkit/model/problem.hpp"

namespace orvex::toolkit {

/**
 * The problem of a square matrix Q, whose energies are x'Qx: the weight of a pair of variables is
 * the sum of the two elements that it has, so that symmetric, triangular and general matrices of
 * one function make one problem.
 *
 * @tparam T any integer type of 8, 16, 32 or 64 bits
 * @param size number of variables
 * @param elements size * size of them, row after row
 * @throws InputError when the size is none, or an element or a weight does not fit into 64 bits
 * with a sign
 * @throws MemoryShortage
 */
template <class T>
Problem problem_of_matrix(int size, const T* elements);

extern template Problem problem_of_matrix(int, const std::int8_t*);
extern template Problem problem_of_matrix(int, const std::int16_t*);
extern template Problem problem_of_matrix(int, const std::int32_t*);
extern template Problem problem_of_matrix(int, const std::int64_t*);
extern template Problem problem_of_matrix(int, const std::uint8_t*);
extern template Problem problem_of_matrix(int, const std::uint16_t*);
extern template Problem problem_of_matrix(int, const std::uint32_t*);
extern template Problem problem_of_matrix(int, const std::uint64_t*);

/**
 * The problem of a sum of terms, of which several may have the same variables.
 *
 * @param size number of variables
 * @param pairs the two variables of each term side by side, in either order; one twice for a
 *     linear term
 * @param values the coefficient of each
 * @throws InputError when the size is none, a variable is not below it, or a sum does not fit into
 *     64 bits
 * @throws MemoryShortage
 */
Problem problem_of_terms(int size, std::span<const std::uint32_t> pairs,
                         std::span<const std::int64_t> values);

/** @throws InputError when there are no variables, or more than any problem has */
void expect_problem_size(int size);

/** @throws InputError when no model of the library has that many variables */
void expect_model_size(int size);

/** @throws MemoryShortage when this machine has not the memory free for a model's matrix */
void expect_model_memory(int size, int width);

/** The same of a matrix of which only `needed` bytes will be touched. */
void expect_model_memory(int size, int width, std::uint64_t needed);

}  // namespace orvex::toolkit
