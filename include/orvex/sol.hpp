// Sol is a bit vector with named results: what a run returns, and what a caller gives in as a start
// or a hint. Invariant: the bits are packed in words of 64, least significant first, and those
// above n are 0, which is the layout of an engine's own instances.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <sstream>
#include <string>
#include <unordered_map>

#include "orvex/export.hpp"

namespace orvex {

/**
 * A solution: n bits, what is known about them (energy, times), what is known about the run they
 * come from (solver, versions, counts), and the run's log.
 *
 * All results are text; numbers stand in decimal. A solver's result has "solver", "size", "energy",
 * "tts", "runtime" and "kernel_time" for the solution, and "solver", "gpu", "version",
 * "solver_size", "solver_bits", "arithmetic_bits", "search_cycles", "total_flips", "tabu_cycles"
 * and "solution_proximity" for the run. Times are in seconds. In a start solution the attribute
 * "bound" states a lower bound of the energy.
 *
 * A solution belongs to one thread at a time. After a move from it a solution may only be destroyed
 * or assigned to.
 */
class ORVEX_API Sol {
  public:
    struct Impl;

    /** A solution without bits. */
    Sol();

    /**
     * A solution of n zeros whose attribute "energy" is "0".
     *
     * @param n number of bits
     * @throws std::bad_alloc if the words cannot be allocated
     */
    explicit Sol(int n);

    /** Copies bits, attributes and log. The source's log is read, which moves its read position. */
    Sol(const Sol& other);

    /** Takes over what the source holds; the source is left without. */
    Sol(Sol&& other) noexcept;

    /**
     * Copies bits and attributes. The source's log is appended to the one that is here: a log grows
     * with each assignment, also with one from itself.
     */
    Sol& operator=(const Sol& other);

    /** Exchanges the two solutions; a solution moved to itself stays as it is. */
    Sol& operator=(Sol&& other) noexcept;

    ~Sol();

    /** Sets bit i, from 0 to n - 1, not checked. */
    void set(int i, bool value);

    /** Bit i, from 0 to n - 1, not checked. */
    bool get(int i) const;

    /** Creates or overwrites an attribute of this solution. Those of the run stay as they are. */
    void set(const std::string& key, const std::string& value);

    /**
     * The value of an attribute of this solution, or else of the run, or else the empty string.
     */
    std::string get(const std::string& key) const;

    /**
     * Writes the solution, or a section of it.
     *
     * @param option the section: "sol" for the bits as a line of digits, "attrs" for the attributes
     *     of the solution as key=value on one line, "env" for those of the run, "log" for the log
     * as it is; empty for all four. A last character that is not a letter is the delimiter
     *     between attributes and between digits. Otherwise it is a blank, and between digits a
     * blank is left out. Any other word ends the process with status 1 and `Error: wrong sol print
     * option "<option>".` on standard error.
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

/** What a Sol refers to, as the engines read and fill it. */
struct ORVEX_API Sol::Impl {
    int bits;                                            ///< number of variables n
    int words;                                           ///< (n + 63) / 64
    std::unique_ptr<std::uint64_t[]> data;               ///< bit i is bit i % 64 of word i / 64
    std::unordered_map<std::string, std::string> attrs;  ///< what is known about the solution
    std::unordered_map<std::string, std::string> env;    ///< what is known about the run
    std::stringstream log;                               ///< what the run logged

    /** n zeros and nothing known about them. */
    explicit Impl(int n);
    Impl(const Impl& other);

    /**
     * Like Sol::operator=, but the bits are allocated anew only when the number of words differs:
     * between lengths of equally many words the number of bits here stays.
     */
    Impl& operator=(const Impl& other);
    ~Impl();
};

}  // namespace orvex
