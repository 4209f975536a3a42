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
    Wide offset = 0;                   ///< of the objective at energy 0
    std::string note;  ///< what else must be known, such as the penalty; may be empty

    /** The objective of the file at an energy of the model. */
    Wide objective_at(Wide energy) const { return maximised ? offset - energy : energy + offset; }

    /** Whether the objective is the energy itself. */
    bool plain() const { return !maximised && offset == 0; }

    /** Whether it is the system's own. */
    bool is_own() const { return format == "orvex"; }

    /** All of it in one line. */
    std::string text() const;

    /** Such as "maximised" and "cut = -energy". */
    std::string sense() const { return maximised ? "maximised" : "minimised"; }
    std::string equation() const;
};

}  // namespace orvex::toolkit
