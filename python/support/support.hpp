// What the Python package needs beside the flat interface: problems put together from arrays and
// files, exact energies, and the command-line caller's own answers to what a run takes (width of
// energies, band, memory, search cycles). Plain types only: Python calls it through ctypes.
//
// Invariant: nothing here ends the process. What fails throws inside, and becomes a null or a
// nonzero result and a text in orvex_python_error.
#pragma once

#include <cstdint>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "orvex/tarvik_orvex.h"

#include "rows.hpp"
#include "toolkit/io/model_file.hpp"
#include "toolkit/model/bounds.hpp"

#define ORVEX_PYTHON_API extern "C" __attribute__((visibility("default")))

namespace orvex::python {

/** A problem: linear terms and couplings. */
struct PROBLEM {
    int size = 0;
    std::vector<std::int64_t> linear;
    ROWS rows;
    toolkit::Problem facts;  ///< all but its model

    std::int64_t energy(const std::uint64_t* words) const;
    std::int64_t energy_change(const std::uint64_t* from, const std::uint64_t* to) const;
    /** Settles the facts, once the terms stand. @throws std::range_error beyond 64 bits */
    void settle();
};

/** The text of the last failure of this thread. */
std::string& last_error();

/** Does what it is told; what it throws becomes `failed` and a text. */
template <class ACTION, class RESULT>
RESULT guarded(RESULT failed, const ACTION& action) {
    try {
        last_error().clear();
        return action();
    } catch (const std::bad_alloc&) {
        last_error() = "out of memory";
    } catch (const std::exception& error) {
        last_error() = error.what();
    }
    return failed;
}

}  // namespace orvex::python
