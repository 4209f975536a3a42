// The formulas, with their rounding and their value of pi, are those of G. Reinelt, "TSPLIB 95",
// 1995. Where its text and the published optimal tours differ (the degrees of GEO are cut, not
// rounded), the tours decide.
#include "toolkit/io/formats/tsplib_distances.hpp"

#include <algorithm>
#include <cmath>

namespace orvex::toolkit {
namespace {

/** All functions here give whole numbers, as doubles: a distance may be beyond what a long holds.
 */
double nearest(double length) {
    return std::trunc(length + 0.5);
}

double straight(const Place& a, const Place& b) {
    return std::sqrt((a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y));
}

double euclidean(const Place& a, const Place& b) {
    return nearest(straight(a, b));
}

double euclidean_up(const Place& a, const Place& b) {
    return std::ceil(straight(a, b));
}

double manhattan(const Place& a, const Place& b) {
    return nearest(std::abs(a.x - b.x) + std::abs(a.y - b.y));
}

double maximum(const Place& a, const Place& b) {
    return std::max(nearest(std::abs(a.x - b.x)), nearest(std::abs(a.y - b.y)));
}

double pseudo_euclidean(const Place& a, const Place& b) {
    const double length = straight(a, b) / std::sqrt(10.0);
    const double rounded = nearest(length);
    return rounded < length ? rounded + 1 : rounded;
}

/** Degrees and minutes, written as a decimal number, in radians. */
double radians(double coordinate) {
    const double degrees = std::trunc(coordinate);
    return 3.141592 * (degrees + 5.0 * (coordinate - degrees) / 3.0) / 180.0;
}

double geographical(const Place& a, const Place& b) {
    const double q1 = std::cos(radians(a.y) - radians(b.y));
    const double q2 = std::cos(radians(a.x) - radians(b.x));
    const double q3 = std::cos(radians(a.x) + radians(b.x));
    // No rounding may take the cosine of opposite places out of the range of acos.
    const double cosine = std::clamp(0.5 * ((1.0 + q1) * q2 - (1.0 - q1) * q3), -1.0, 1.0);
    return std::trunc(6378.388 * std::acos(cosine) + 1.0);
}

/** Up to here a double holds every whole number. */
constexpr double LONGEST = 0x1p53;

struct Type {
    std::string_view name;
    double (*distance)(const Place& a, const Place& b);
};

constexpr Type TYPES[] = {{"EUC_2D", euclidean}, {"CEIL_2D", euclidean_up}, {"MAN_2D", manhattan},
                          {"MAX_2D", maximum},   {"ATT", pseudo_euclidean}, {"GEO", geographical}};

constexpr Shape SHAPES[] = {{"FULL_MATRIX", "FULL_MATRIX", true, false, false},
                            {"UPPER_ROW", "LOWER_COL", false, true, false},
                            {"LOWER_ROW", "UPPER_COL", false, false, false},
                            {"UPPER_DIAG_ROW", "LOWER_DIAG_COL", false, true, true},
                            {"LOWER_DIAG_ROW", "UPPER_DIAG_COL", false, false, true}};

const Type* type_named(std::string_view name) {
    const auto* const found = std::find_if(std::begin(TYPES), std::end(TYPES),
                                           [&](const Type& type) { return type.name == name; });
    return found == std::end(TYPES) ? nullptr : found;
}

}  // namespace

bool is_distance(std::string_view type) {
    return type_named(type) != nullptr;
}

Distances distances_by(std::string_view type, const std::vector<Place>& places) {
    const Type* const chosen = type_named(type);
    Distances distances;
    for (const Place& a : places)
        for (const Place& b : places) {
            const double length = &a == &b ? 0 : chosen->distance(a, b);
            if (!(length <= LONGEST)) return {};
            distances.push_back(static_cast<long>(length));
        }
    return distances;
}

const Shape* shape_named(std::string_view name) {
    const auto* const found = std::find_if(
        std::begin(SHAPES), std::end(SHAPES),
        [&](const Shape& shape) { return shape.name == name || shape.mirrored == name; });
    return found == std::end(SHAPES) ? nullptr : found;
}

}  // namespace orvex::toolkit
