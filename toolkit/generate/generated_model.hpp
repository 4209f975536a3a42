// A generated model, row after row. Invariant: a model hands out the same rows each time it is
// asked, so that a file's header, which counts the entries, can be written before them without
// keeping them.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace orvex::toolkit::generate {

/** One weight of a row. */
struct Entry {
    int column;  ///< the row's number or above
    std::int64_t weight;
};

/** The weights of a row that are not 0, by ascending column. */
using Row = std::vector<Entry>;

using TakeRow = std::function<void(int number, const Row& row)>;

/** The upper triangle of a model's matrix: `each_row` calls what it is given with every row. */
struct GeneratedModel {
    int size;
    std::function<void(const TakeRow& take)> each_row;
};

}  // namespace orvex::toolkit::generate
