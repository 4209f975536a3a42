// What a file states, as it is read: weights of pairs, summed where a pair comes several times, in
// whatever order they come. Coefficients that are no whole numbers are kept in fixed point, with as
// many decimals as the file has shown so far, until all are known. Invariant: the sums are exact,
// or known not to be; what does not fit into 64 bits is refused.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "toolkit/io/formats/decimal.hpp"
#include "toolkit/io/formats/lines.hpp"
#include "toolkit/io/model_file.hpp"
#include "toolkit/io/pair_set.hpp"
#include "toolkit/io/scale.hpp"
#include "toolkit/model/bounds.hpp"
#include "toolkit/model/convention.hpp"
#include "toolkit/model/sparse_qubo.hpp"

namespace orvex::toolkit {

class Statement {
  public:
    /**
     * @param lines where the statement comes from, for messages
     * @param scale how coefficients become integers
     */
    explicit Statement(const Lines& lines, Scale scale = {}) : lines_(lines), scale_(scale) {}

    /** Makes room for this many variables; never makes it less. */
    void resize(int size);

    /**
     * A word as a coefficient, in the numbers of the statement: it must be used before the next one
     * is read, which may change them.
     *
     * @param times what the number is multiplied by
     * @throws InputError when it is not a number, or none that the scale makes whole
     */
    Wide coefficient(std::string_view word, const std::string& what, int times = 1);
    Wide coefficient(std::size_t k, const std::string& what, int times = 1) {
        return coefficient(lines_.word(k), what, times);
    }

    /** Adds to the weight of a pair of variables, or of one variable with itself. */
    void add(int i, int j, Wide weight);

    /** Notes that an entry names this pair. @throws InputError when one has named it before */
    void expect_new(int i, int j, int index_base);

    int size() const { return static_cast<int>(linear_.size()); }

    long entries = 0;  ///< of the file
    /** Where a pair is added several times: whether its last weight counts, not their sum. */
    bool last_counts = false;
    Convention convention;
    std::vector<std::string> warnings;

    /** Sums up, once everything has been added. @throws InputError when a sum is beyond 64 bits */
    void settle();

    /** Pairs of different variables, once all is settled. */
    std::size_t couplings() const { return rounded_ ? fine_terms_.size() : terms_.size(); }

    /** The bits of a weight, once all is settled. */
    int width() const;

    /** The problem, once all is settled; to be called once. */
    Problem problem();

  private:
    /** A weight in fixed point, i < j. */
    struct FineTerm {
        int i, j;
        Wide weight;
    };

    Wide fine_coefficient(std::string_view word, const std::string& what, int times);
    void set_decimals(int decimals);
    template <class ACTION>
    void for_each_fine(const ACTION& action);
    void drop_common_zeros();
    bool fits_exactly() const;
    void settle_fine();
    void tell_factor();
    template <class TERM>
    void sum_pairs(std::vector<TERM>& terms);
    std::pair<long, long> range() const;
    Problem whole_problem();
    Problem rounded_problem();

    const Lines& lines_;
    Scale scale_;
    std::vector<Wide> linear_;
    std::vector<Coupling> terms_;  // i < j, as long as all are whole
    PairSet pairs_;
    long smallest_ = 0, largest_ = 0;

    bool fine_ = false;                 // whether a coefficient was not whole
    std::vector<FineTerm> fine_terms_;  // from then on
    int decimals_ = 0;                  // all numbers are multiplied by this power of ten
    Wide largest_whole_ = 0;            // magnitude of a coefficient before
    long magnitude_ = 0;                // power of ten above all coefficients
    bool cut_ = false;                  // whether there was no room for all decimals
    bool rounded_ = false;              // whether the problem will be rounded
};

}  // namespace orvex::toolkit
