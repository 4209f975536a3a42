// How TSPLIB states distances: by coordinates, with the rounding that the library defines for each
// of its types, or as one of several shapes of matrices.
#pragma once

#include <string_view>
#include <vector>

namespace orvex::toolkit {

struct Place {
    double x = 0, y = 0;
};

/** Row after row. */
using Distances = std::vector<long>;

/** Whether there is a type of distances of this name. */
bool is_distance(std::string_view type);

/**
 * The distances between all places, by a type that there is; none if one of them is beyond 2^53, up
 * to which they can be told exactly.
 */
Distances distances_by(std::string_view type, const std::vector<Place>& places);

/** Which part of a matrix a file lists, row after row; a column-wise one is the other's mirror
 * image. */
struct Shape {
    std::string_view name, mirrored;  ///< of a symmetric matrix's rows and columns
    bool full, upper, diagonal;

    std::size_t first(std::size_t row) const { return full || !upper ? 0 : row + !diagonal; }
    std::size_t last(std::size_t row, std::size_t n) const {
        return full || upper ? n : row + diagonal;
    }
};

/** The shape of this name; null if there is none. */
const Shape* shape_named(std::string_view name);

}  // namespace orvex::toolkit
