// A model that is stated term by term, in any order, as penalties and costs are. Invariant: terms
// of one pair are added up, and sums of 0 are no entry.
#pragma once

#include <cstdint>
#include <vector>

#include "toolkit/generate/generated_model.hpp"

namespace orvex::toolkit::generate {

class Terms {
  public:
    explicit Terms(int size) : size_(size) {}

    /** Adds to the weight of a pair of variables, or of one variable with itself. */
    void add(int i, int j, std::int64_t weight);

    /** Adds times (constant + sum of weight x[variable])^2, but for its constant. */
    struct Part {
        int variable;
        std::int64_t weight;
    };
    void add_square(const std::vector<Part>& parts, std::int64_t constant, std::int64_t times);

    /** The model; to be called once. */
    GeneratedModel model();

  private:
    struct Term {
        int i, j;  // i <= j
        std::int64_t weight;
    };

    int size_;
    std::vector<Term> terms_;
};

}  // namespace orvex::toolkit::generate
