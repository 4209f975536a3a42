// The table of bands and the four entry points that choose one. A band is a complete engine,
// compiled for models up to a size, with its width of weights and its width of energies. Invariant:
// every band enters itself before main begins; from then on the table is only read.
#pragma once

#include <string>

#include "orvex/export.hpp"
#include "orvex/model.hpp"
#include "orvex/param.hpp"
#include "orvex/sol.hpp"

namespace qubo_multi {

/** Runs a search: result, model, parameters, start solution or null. */
using SolveFunction = void (*)(orvex::Sol::Impl&, const orvex::Model::Impl&,
                               const orvex::Param::Impl&, const orvex::Sol::Impl*);
/** Loads a model ahead of the first search. */
using PrepareFunction = void (*)(const orvex::Model::Impl&, const orvex::Param::Impl&);
/** Gives back what is kept between searches. */
using ReleaseFunction = void (*)();

/** One engine: what it holds, and how it is called. */
struct Band {
    int size;         ///< largest number of variables
    int matrix_bits;  ///< width of a weight: 32 or 64
    int arith_bits;   ///< width of energies: 32 or 64
    SolveFunction solve;
    PrepareFunction prepare;
    ReleaseFunction release;
};

/** Enters a band, unchecked; called once by each band while statics are initialised. */
ORVEX_API void register_band(int size, int matrix_bits, int arith_bits, SolveFunction solve,
                             PrepareFunction prepare, ReleaseFunction release);

/** The number of bands in this build. */
ORVEX_API int band_count();

/**
 * What a band holds.
 *
 * @param index from 0 to band_count() - 1, not checked; bands stand in link order
 * @param size receives the largest number of variables
 * @param matrix_bits receives the width of a weight
 * @param arith_bits receives the width of energies
 */
ORVEX_API void band_at(int index, int& size, int& matrix_bits, int& arith_bits);

/** Whether some band computes energies with exactly this width. */
ORVEX_API bool has_arith_bits(int bits);

/** The widths that bands compute energies with, ascending, joined by ", ". */
ORVEX_API std::string arith_bits_list();

}  // namespace qubo_multi

// Each entry point takes the smallest band that holds the model: least size, then narrowest
// weights, then narrowest energies. The parameter "arithmetic_bits" asks for a width of energies,
// 64 by default for models of 64-bit weights and 32 for others; wider ones will do. When no band
// holds the model, the process ends with status 1 and, on standard error, "Error: no ORVEX kernel
// can hold this QUBO (needs size >= ...)" with what was needed and what there is.
//
// Two calls at a time are not allowed.
extern "C" {

/** Loads a model ahead of the first search. Optional, and may be repeated. */
ORVEX_API void qubo_prepare(const orvex::Model::Impl& model, const orvex::Param::Impl& param);

/** Searches, and fills result with the best solution found. */
ORVEX_API void qubo_solve(orvex::Sol::Impl& result, const orvex::Model::Impl& model,
                          const orvex::Param::Impl& param);

/** Searches from a start solution, which may be null. */
ORVEX_API void qubo_solve_start(orvex::Sol::Impl& result, const orvex::Model::Impl& model,
                                const orvex::Param::Impl& param, const orvex::Sol::Impl* start);

/** Gives back what any of the bands keeps between searches. */
ORVEX_API void qubo_release();
}
