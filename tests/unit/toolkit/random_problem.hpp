// Models and solutions to try things on.
#pragma once

#include <random>

#include "toolkit/model/problem.hpp"

namespace orvex::toolkit::test {

/** All weights within the range, which is symmetric. */
inline Model random_model(int size, long range, unsigned seed = 1) {
    std::mt19937_64 random(seed);
    std::uniform_int_distribution<long> weight(-range, range);
    Model model(size, -range, range);
    for (int i = 0; i < size; ++i)
        for (int j = i; j < size; ++j)
            model.set(i, j, weight(random));
    return model;
}

inline Sol random_solution(int size, unsigned seed) {
    std::mt19937_64 random(seed);
    Sol solution(size);
    for (int i = 0; i < size; ++i)
        solution.set(i, random() % 2 != 0);
    return solution;
}

inline Problem random_problem(int size, long range, unsigned seed = 1) {
    return problem_of(random_model(size, range, seed));
}

}  // namespace orvex::toolkit::test
