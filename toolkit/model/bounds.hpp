// How large energies and deltas of a model can get, and so which arithmetic width is proven to be
// enough for a search. The engines detect an overflow and end the process, so the program settles
// the question before a run. Invariant: the sums are exact, whatever the weights.
#pragma once

#include <string>
#include <vector>

namespace orvex::toolkit {

/** Wide enough for any sum over a model: 65536 squared weights of 64 bits. */
__extension__ typedef __int128 Wide;

std::string to_string(Wide number);

/** What no search on a model exceeds. */
struct Bound {
    Wide lowest_energy;   ///< no bit vector is below
    Wide highest_energy;  ///< nor above
    Wide largest_delta;   ///< no flip changes the energy by more
    /** Largest sum of magnitudes in a row, of the linear term and of all couplings. */
    Wide largest_row_sum{};

    /**
     * The arithmetic width that is enough: 32, 64, or 128 when not even 64 bits are proven to be.
     *
     * @param fillers variables that the band has beyond the model's: a search may set those too,
     *     and each adds 255 to the energy
     */
    int bits(int fillers) const;
};

/** The linear term of each variable and the sums of its positive and of its negative couplings. */
class RowSums {
  public:
    explicit RowSums(int size) : rows_(static_cast<std::size_t>(size)) {}

    /** A weight at (i, j), which was `before`, is `after` now. */
    void change(int i, int j, long before, long after);

    /** A variable's linear term, and all of its couplings at once. */
    void set(int i, Wide linear, Wide positive, Wide negative) {
        rows_[static_cast<std::size_t>(i)] = {linear, positive, negative};
    }

    Bound bound() const;

  private:
    struct Row {
        Wide linear = 0;
        Wide positive = 0;
        Wide negative = 0;
    };
    std::vector<Row> rows_;
};

}  // namespace orvex::toolkit
