// The toolkit as Python's ctypes sees it: functions with plain types. Invariant: no exception
// leaves a function. What fails becomes a null or a nonzero result; its kind and its text are kept
// for the thread that called.
#pragma once

#include <exception>
#include <new>
#include <string>

#include "toolkit/model/problem.hpp"
#include "toolkit/solve.hpp"

#define ORVEX_PYTHON_API extern "C" __attribute__((visibility("default")))

/** What a search is given; null is what the caller leaves open. */
struct ORVEX_PYTHON_OPTIONS {
    const double* time_limit;
    const std::int64_t* target;
    const std::int64_t* trials;
    const char* const* settings;  ///< keys and values in turn, then null
    int engine_cycles;
    int presolve;             ///< 0: off, 1: as chosen, 2: full
    const double* companion;  ///< share of the processors, from 0 to 1
    int groups;               ///< one-hot groups; below 0: those that are found
    const std::int32_t* group_sizes;
    const std::int32_t* group_members;  ///< of the first, then of the second, ...
    int starts, hints;                  ///< how many of each
    const std::uint64_t* words;         ///< the bits of the starts, then of the hints
    std::uint64_t seed;                 ///< of the companion
    const char* checkpoint;             ///< file that is kept up
    int solutions;                      ///< distinct ones that are wanted
};

namespace orvex::python {

/** What failed, as Python tells errors apart. */
enum class Failure { NONE, INPUT, MEMORY, LIBRARY };

void fail(Failure failure, const char* text);

/** A solution of these bits. */
Sol solution_of(int size, const std::uint64_t* words);

toolkit::SolveOptions options_of(const toolkit::Problem& problem,
                                 const ORVEX_PYTHON_OPTIONS& options);

/** Does what it is told; what it throws becomes `failed`, a kind and a text. */
template <class Action, class Result>
Result guarded(Result failed, const Action& action) {
    try {
        return action();
    } catch (const std::bad_alloc&) {
        fail(Failure::MEMORY, "out of memory");
    } catch (const toolkit::MemoryShortage& error) {
        fail(Failure::MEMORY, error.what());
    } catch (const toolkit::InputError& error) {
        fail(Failure::INPUT, error.what());
    } catch (const std::exception& error) {
        fail(Failure::LIBRARY, error.what());
    }
    return failed;
}

}  // namespace orvex::python
