// How the coefficients of a file become the integers of a model, as a caller asks for it.
#pragma once

#include <optional>
#include <string>

#include "toolkit/model/convention.hpp"

namespace orvex::toolkit {

struct Scale {
    enum class Rule {
        AUTO,   ///< times the least power of ten that makes integers of all; else rounded
        EXACT,  ///< as they are; what is no whole number is refused
        FACTOR  ///< times `factor`; what is no whole number then is refused
    };

    static constexpr long MOST_FACTOR = 1L << 53;

    Rule rule = Rule::AUTO;
    long factor = 1;  ///< from 1 to MOST_FACTOR; of the rule FACTOR

    /** "auto", "exact" or a factor. @throws InputError when it is none of them */
    static Scale of(const std::string& text);
};

/** An energy to be reached, which callers give in the numbers of their file. */
struct Target {
    double value;   ///< as it was given
    long searched;  ///< the greatest energy of the model that is sure to be at or below it
};

/** @throws InputError when the text is not a number */
Target target_of(const std::string& text, const Convention& convention);

}  // namespace orvex::toolkit
