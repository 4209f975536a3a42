// What the numbers of a file mean: from which index it counts, what an entry weighs in the model,
// and what the energy of a bit vector says in the file's own terms. Every problem carries its
// file's convention along, so that results can be told in the words of whoever wrote the file.
#pragma once

#include <string>

#include "toolkit/model/bounds.hpp"

namespace orvex::toolkit {

struct Convention {
    std::string format = "orvex";  ///< name of the format, as --from takes it
    int index_base = 0;            ///< number of the first variable (node, vertex)
    int factor = 1;                ///< weight of a pair in the model, as a multiple of its entry
    bool maximised = false;        ///< whether the file wants the most of its objective
    std::string objective = "energy";  ///< what the file calls its objective
    Wide offset = 0;                   ///< of the objective at energy 0, in the model's numbers
    std::string note{};  ///< what else must be known, such as the penalty; may be empty

    double scale = 1;  ///< what coefficients were multiplied by, beyond `factor`, to be integers
    int decimals = 0;  ///< of a scale that is a power of ten: which one
    /** Where coefficients were rounded: an energy of the model, divided by the scale, is at most so
     * far from the true one. Else 0. */
    double largest_error = 0;
    double real_offset = 0;  ///< where they were rounded: the offset in the file's own numbers

    /** The objective of the file at an energy of the model, both in the model's numbers. */
    Wide objective_at(Wide energy) const { return maximised ? offset - energy : energy + offset; }

    /** The same at a true energy, both in the file's own numbers; where coefficients were rounded.
     */
    double real_objective_at(double energy) const {
        return maximised ? real_offset - energy : energy + real_offset;
    }

    /** A number of the model, such as an energy, divided by the scale: exactly, where it is a power
     * of ten and nothing was rounded. */
    std::string own_text(Wide number) const;

    /** The offset in the file's own numbers. */
    std::string offset_text() const;

    /** Whether the objective is the energy itself. */
    bool plain() const { return !maximised && offset == 0 && !scaled(); }

    /** Whether coefficients were multiplied or rounded to become integers. */
    bool scaled() const { return scale != 1 || largest_error > 0; }

    /** Whether it is the system's own. */
    bool is_own() const { return format == "orvex"; }

    /** All of it in one line. */
    std::string text() const;

    /** Such as "maximised" and "cut = -energy", with the energy in the file's own numbers. */
    std::string sense() const { return maximised ? "maximised" : "minimised"; }
    std::string equation() const;

    /** The equation for whoever has the integers of the model only. */
    std::string equation_of_model() const;
};

/** A real number in the fewest digits that give it back. */
std::string to_string(double number);

}  // namespace orvex::toolkit
