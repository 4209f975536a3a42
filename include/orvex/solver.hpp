// Solver is the object through which a program in the same process solves models. Invariant: it has
// no state of its own. All solvers stand for the one record of what this build can solve, which
// lives until the process ends.
#pragma once

#include <iosfwd>
#include <string>

#include "orvex/export.hpp"
#include "orvex/model.hpp"
#include "orvex/param.hpp"
#include "orvex/sol.hpp"

namespace orvex {

/**
 * Solves models. Solvers may be copied and destroyed freely.
 *
 * One run at a time in a process: solvers are built and used by a single thread, which a solve
 * blocks until the run has ended. The parallelism is inside a run.
 *
 * A solve leaves the model's weights in memory, so that the next one of the same model starts
 * without loading them. A model is known again by its address and by how often Model::set has
 * written a weight, not by its weights. So one that was built in the place of another by as many
 * writes, or whose weights were replaced by Model::operator=, which does not count, is taken for
 * what is there, and searched with the old weights. Call release() between the two.
 *
 * There are no error results: each failure ends the process with status 1 and a message on standard
 * error.
 */
class ORVEX_API Solver {
  public:
    struct Impl;

    /**
     * A solver for all models that this build can hold.
     *
     * A build without any engine ends the process with "Error: No ORVEX QUBO solver found."
     *
     * @param banner whether to write name, version and licence to standard error, as two lines
     */
    explicit Solver(bool banner = true);

    /** Does nothing: what solves keep for the next one stays until release. */
    ~Solver();

    Solver(const Solver&) = default;
    Solver& operator=(const Solver&) = default;

    /**
     * Loads a model, so that the first solve with the same parameters starts without that.
     * Optional, and may be repeated. Refuses models as operator() does.
     */
    void prepare(const Model& model, const Param& param);

    /**
     * Searches for the bit vector of lowest energy, until the parameters' time limit, target or
     * limit on instances ends the run, or a callback does.
     *
     * A model that no engine can hold ends the process with "Error: No ORVEX kernel can hold this
     * QUBO (needs size >= <n> and matrix bits >= <bits>). Installed kernels: max size <size>, max
     * bits <bits>. Build a bigger one with `make multi`."; an "arithmetic_bits" that none meets,
     * with a like message from the table of engines.
     *
     * @param model the problem; neither changed nor kept
     * @param param the settings; neither changed nor kept
     * @return the best solution found, with its results and the run's log
     */
    Sol operator()(const Model& model, const Param& param) const;

    /**
     * The same, with a solution to begin with.
     *
     * @param model the problem; neither changed nor kept
     * @param param the settings; neither changed nor kept
     * @param start a solution that counts as found, so that the result is not worse, if it has the
     *     length of the model; that is not checked
     */
    Sol operator()(const Model& model, const Param& param, const Sol& start) const;

    /**
     * What this build is: "version", "solver", "license", "max_size" and "max_bits" (of a model),
     * "sizes" (of the engines, ascending, joined by commas). Other keys give the empty string.
     */
    std::string get(const std::string& key);

    /**
     * Writes the information that get reads as key=value on one line, in no particular order.
     *
     * @param delimiter what is written between two entries; a blank when it is empty
     * @param out the stream, flushed at the end
     */
    void print(const std::string& delimiter, std::ostream& out) const;

    /** The same with the arguments the other way round. */
    void print(std::ostream& out, const std::string& delimiter) const;

    /**
     * Gives back the memory that engines keep between runs, in the whole process. Solvers work as
     * before; the next prepare or solve loads its model afresh.
     */
    void release();

    Impl& impl();              ///< what all solvers stand for
    const Impl& impl() const;  ///< what all solvers stand for

  private:
    Impl* impl_;  // the one instance; not owned
};

}  // namespace orvex
