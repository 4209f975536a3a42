// The smallest program: state a problem, solve it, read the result.
//
// Choose numbers for each side of a scale so that the sides differ least: number partitioning. With
// the sum of the chosen numbers as s and the total as C, (C - 2s)^2 = C^2 + 4s(s - C) is to be
// minimised, so W[i][i] = a_i (a_i - C) and W[i][j] = 2 a_i a_j, without the factor 4.
#include <iostream>
#include <vector>

#include <orvex/orvex.hpp>

int main() {
    const std::vector<long> numbers = {31, 28, 7, 45, 62, 19, 83, 54, 40, 11, 26, 38};
    const int n = static_cast<int>(numbers.size());
    long total = 0;
    for (long number : numbers)
        total += number;

    orvex::Model model(n, 32);  // n variables, weights of 32 bits
    for (int i = 0; i < n; ++i) {
        model.set(i, i, numbers[i] * (numbers[i] - total));
        for (int j = i + 1; j < n; ++j)
            model.set(i, j, 2 * numbers[i] * numbers[j]);
    }

    orvex::Param param;
    param.set("time_limit", "5");                                      // seconds
    param.set("target_energy", std::to_string(-(total * total) / 4));  // a perfect balance

    const orvex::Solver solver(false);
    const orvex::Sol solution = solver(model, param);

    const long energy = std::stol(solution.get("energy"));
    std::cout << "difference of the sides: squared " << total * total + 4 * energy << "\n";
    for (int i = 0; i < n; ++i)
        if (solution.get(i)) std::cout << numbers[i] << " ";
    std::cout << "\n";
}
