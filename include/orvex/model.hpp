// Model is the problem as the caller states it: n binary variables and a symmetric matrix of
// integer weights. Invariants: the matrix is symmetric as far as it was written through set, and a
// changed weight gives a new revision, by which an engine that kept the weights sees that they are
// stale.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <unordered_map>

#include "orvex/export.hpp"
#include "orvex/mat.hpp"

namespace orvex {

/**
 * A quadratic unconstrained binary optimisation problem.
 *
 * The energy of a bit vector x is the sum over all i <= j of W[i][j] * x[i] * x[j]: each pair of
 * variables counts once, and the diagonal holds the linear terms. A solver looks for the bit vector
 * of lowest energy.
 *
 * Storage is dense, n * n elements of 8, 16, 32 or 64 bits.
 *
 * A model is written by one thread. Concurrent reads are safe, also while a solver runs on the
 * model; writing it during a run is not allowed.
 */
class ORVEX_API Model {
  public:
    struct Impl;

    /**
     * A model of zeros, with its size and width as the attributes "size" and "bits".
     *
     * @param size number of variables, from 0
     * @param bits width of a weight. Anything but 8, 16, 32 and 64 ends the process with status 1
     *             and "Error: bits=<bits> must be 8, 16, 32, or 64." on standard error.
     * @throws std::bad_alloc if the matrix cannot be allocated
     */
    Model(int size, int bits);

    /**
     * A model of zeros that is just wide enough for weights from min to max.
     *
     * @param size number of variables, from 0
     * @param min the smallest weight that will be set
     * @param max the largest weight that will be set
     * @throws std::bad_alloc if the matrix cannot be allocated
     */
    Model(int size, long min, long max);

    /**
     * Reads a model file: decimal numbers separated by white space, first n, the number of entries,
     * the smallest and the largest weight, then each entry as i, j, weight. Indices count from 0,
     * in any order and in either triangle; of a repeated pair the last weight counts. A name that
     * ends in ".gz" is read through `gunzip`, started by a shell, and the name is not quoted for
     * it.
     *
     * The width comes from the bounds in the header alone: a weight beyond them may be cut to its
     * low bits. A file with fewer entries than its header promises is accepted as it is. Both
     * attributes "size" and "bits" are set to n.
     *
     * Ends the process with status 1 and, on standard error, "Error: Cannot open <file>" when the
     * file cannot be opened, or "Error: Wrong file (<file>)" when the header cannot be read, n is
     * no size, or an index is out of range.
     *
     * @param file name of the file
     * @throws std::bad_alloc if the matrix cannot be allocated
     */
    explicit Model(const std::string& file);

    /**
     * Copies the weights, and only them: the copy has no attributes and its revision is 0. See
     * operator= for the limit on the size.
     */
    Model(const Model& other);

    /**
     * Takes over the weights of a model of the same size and width; attributes and revision stay as
     * they are. An engine that keeps this model's weights does not notice the change.
     *
     * Weights that fill 4 GiB or more are copied in part only, as MAT::operator= tells. Ends the
     * process with status 1 and "Error: size does not match." or "Error: bits does not match."
     */
    Model& operator=(const Model& other);

    ~Model();

    /**
     * Sets the weight of a pair of variables, at (i, j) and at (j, i), and counts up the revision.
     *
     * @param i a variable, from 0 to n - 1, not checked
     * @param j the other one; the linear term of i is at j == i
     * @param value the weight; of one that is too wide the low bits are kept, without notice
     */
    void set(int i, int j, long value);

    /** The weight at (i, j), both from 0 to n - 1, not checked. */
    long get(int i, int j) const;

    /** Creates or overwrites an attribute: text that goes with the model and means nothing to it.
     */
    void set(const std::string& key, const std::string& value);

    /** The value of an attribute, or the empty string when there is none of that name. */
    std::string get(const std::string& key) const;

    /**
     * Writes the model.
     *
     * @param option empty: the weights in the format of model files, non-zero entries of the upper
     *     triangle in row order. "attrs": the attributes as key=value, on one line. A last
     * character that is not a letter is the delimiter between attributes, which is a blank
     * otherwise. Any other word ends the process with status 1 and `Error: Wrong model print option
     * "<option>".` on standard error.
     * @param out the stream, flushed after each line
     */
    void print(const std::string& option, std::ostream& out) const;

    /** The same with the arguments the other way round. */
    void print(std::ostream& out, const std::string& option) const;

    Impl& impl();              ///< what the handle refers to
    const Impl& impl() const;  ///< what the handle refers to

  private:
    std::unique_ptr<Impl> impl_;
};

/** What a Model refers to, as the engines read it. */
struct ORVEX_API Model::Impl {
    int size;                    ///< n, the same number as mat.size
    int bits;                    ///< width of a weight, the same number as mat.bits
    MAT mat;                     ///< the weights
    std::uint64_t revision = 0;  ///< how often a weight was set
    std::uint64_t reserved = 0;
    std::unordered_map<std::string, std::string> attrs;  ///< attributes

    Impl(int size, int bits);
    Impl(const Impl& other) = delete;
    Impl& operator=(const Impl& other);  ///< takes over the weights and nothing else
    ~Impl();
};

}  // namespace orvex
