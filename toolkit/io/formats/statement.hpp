// What a file states, as it is read: weights of pairs, summed where a pair comes several times, in
// whatever order they come. Invariant: the sums are exact; what does not fit into 64 bits is
// refused.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "toolkit/io/formats/lines.hpp"
#include "toolkit/io/model_file.hpp"
#include "toolkit/io/pair_set.hpp"
#include "toolkit/model/bounds.hpp"
#include "toolkit/model/convention.hpp"
#include "toolkit/model/sparse_qubo.hpp"

namespace orvex::toolkit {

class Statement {
  public:
    /** @param lines where the statement comes from, for messages */
    explicit Statement(const Lines& lines) : lines_(lines) {}

    /** Makes room for this many variables; never makes it less. */
    void resize(int size);

    /** Adds to the weight of a pair of variables, or of one variable with itself. */
    void add(int i, int j, Wide weight);

    /** Notes that an entry names this pair. @throws InputError when one has named it before */
    void expect_new(int i, int j, int index_base);

    int size() const { return static_cast<int>(linear_.size()); }

    long entries = 0;  ///< of the file
    Convention convention;
    std::vector<std::string> warnings;

    /** Sums up, once everything has been added. @throws InputError when a sum is beyond 64 bits */
    void settle();

    /** Pairs of different variables, once all is settled. */
    std::size_t couplings() const { return terms_.size(); }

    /** The bits of a weight, once all is settled. */
    int width() const;

    /** The problem, once all is settled; to be called once. */
    Problem problem();

  private:
    void sum_pairs();
    std::pair<long, long> range() const;

    const Lines& lines_;
    std::vector<Wide> linear_;
    std::vector<Coupling> terms_;  // i < j
    PairSet pairs_;
    long smallest_ = 0, largest_ = 0;
};

}  // namespace orvex::toolkit
