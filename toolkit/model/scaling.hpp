// Real coefficients become the integers that the library takes: each is multiplied by one factor
// and rounded to the nearest. Invariant: the factor is a power of two, so that the product is exact
// and only the rounding loses anything; how far an energy can be off for it is known.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "toolkit/model/problem.hpp"

namespace orvex::toolkit {

/** How real coefficients became integers. */
struct Scaling {
    double factor = 1;  ///< an integer is its coefficient times this, rounded
    /** An energy of the integers, divided by the factor, is at most so far from the true one. */
    double largest_error = 0;
};

/** A coefficient of a pair of variables, or of one variable with itself. */
struct RealTerm {
    std::uint32_t i, j;
    double value;
};

/**
 * Chooses the factor that makes the largest integer of a problem have up to 30 bits. Where at least
 * 20 are left with energies that are proven to fit into 32 bits, in which a search is fastest, the
 * factor is the largest for which that is so.
 */
class ScalingChoice {
  public:
    explicit ScalingChoice(int size);

    /** Takes a coefficient into account; each pair of variables comes once. */
    void take(std::size_t i, std::size_t j, double value);

    /** The factor; 1 if all coefficients are 0. */
    double factor() const;

  private:
    struct Row {
        double linear = 0, positive = 0, negative = 0;
    };

    bool narrow(double factor) const;

    std::vector<Row> rows_;
    double largest_ = 0;
    long count_ = 0;
};

/**
 * A sum of doubles that keeps what each addition rounds off, so that it is the rounded sum of its
 * terms unless they cancel to less than about 2^-100 of their magnitudes (Ogita, Rump, Oishi:
 * "Accurate Sum and Dot Product", SIAM J. Sci. Comput. 26, 2005).
 */
class CompensatedSum {
  public:
    void add(double term);
    double value() const { return sum_ + rest_; }

  private:
    double sum_ = 0, rest_ = 0;
};

/**
 * The problem of a sum of real terms, of which several may have the same variables.
 *
 * @param pairs, values as problem_of_terms() takes them; the values are finite
 * @param scaling becomes how integers were made of them
 * @throws InputError, MemoryShortage as problem_of_terms(); or when a sum is not finite
 */
Problem problem_of_real_terms(int size, std::span<const std::uint32_t> pairs,
                              std::span<const double> values, Scaling& scaling);

/**
 * The problem of the upper triangle of a square matrix of finite numbers.
 *
 * @param elements size * size of them, row after row; those below the diagonal are not looked at
 * @param scaling becomes how integers were made of them
 * @throws InputError, MemoryShortage as problem_of_matrix()
 */
Problem problem_of_real_triangle(int size, const double* elements, Scaling& scaling);

/** The energy of a solution by its real terms, as of problem_of_real_terms(). */
double real_energy(std::span<const std::uint32_t> pairs, std::span<const double> values,
                   const Sol& solution);

/** The same by the elements of a square matrix, all of which count. */
double real_energy(int size, const double* elements, const Sol& solution);

}  // namespace orvex::toolkit
