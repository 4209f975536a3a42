// Energies as they are added up outside the library.
#include "toolkit/model/energy.hpp"

#include <limits>

#include <gtest/gtest.h>

#include "unit/toolkit/random_problem.hpp"

namespace orvex::toolkit::test {
namespace {

long plain_energy(const Model& model, const Sol& solution, int size) {
    long energy = 0;
    for (int i = 0; i < size; ++i)
        for (int j = i; j < size; ++j)
            energy += model.get(i, j) * solution.get(i) * solution.get(j);
    return energy;
}

TEST(ExactEnergy, CountsEachPairOnceInEachWidth) {
    for (const long range : {100L, 10'000L, 1'000'000L, 1L << 40})
        for (const int size : {1, 2, 65, 130}) {
            const Model model = random_model(size, range);
            const Sol solution = random_solution(size, 2);
            EXPECT_EQ(exact_energy(model, solution, size), plain_energy(model, solution, size));
        }
}

TEST(ExactEnergy, DoesNotOverflow) {
    const long largest = std::numeric_limits<long>::max();
    Model model(3, 64);
    Sol solution(3);
    for (int i = 0; i < 3; ++i) {
        model.set(i, i, largest);
        solution.set(i, true);
    }
    EXPECT_EQ(exact_energy(model, solution, 3), Wide{largest} * 3);
}

TEST(EnergyChange, IsTheDifferenceOfTheEnergies) {
    for (const long range : {100L, 10'000L, 1'000'000L, 1L << 40})
        for (const int size : {1, 2, 65, 130})
            for (unsigned seed = 1; seed < 5; ++seed) {
                const Model model = random_model(size, range);
                const Sol from = random_solution(size, seed), to = random_solution(size, seed + 7);
                EXPECT_EQ(energy_change(model, from, to, size),
                          plain_energy(model, to, size) - plain_energy(model, from, size));
                EXPECT_EQ(energy_change(model, from, from, size), 0);
            }
}

/** Long rows are summed in pieces, which may not lose anything. */
TEST(EnergyChange, IsExactOverLongRows) {
    const int size = 9000;
    Model model(size, 16);
    Sol from(size), to(size);
    for (int j = 0; j < size; ++j) {
        model.set(0, j, 32767);
        from.set(j, j != 0);
        to.set(j, true);
    }
    EXPECT_EQ(energy_change(model, from, to, size), Wide{32767} * size);
    EXPECT_EQ(exact_energy(model, to, size), Wide{32767} * size);
}

}  // namespace
}  // namespace orvex::toolkit::test
