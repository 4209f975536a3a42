// The band's ways in, which the registry calls: one whole run, preparing, releasing.
#ifndef ORVEX_BAND_OPEN
#include "engine/band/globals.inl"
#endif

/** Solves: returns when `sol` is filled. */
inline void qubo_solver(Sol::Impl& sol, const Model::Impl& model, const Param::Impl& param,
                        const Sol::Impl* start) {
    solve(own, sol, model, param, start);
}

inline void band_solve(Sol::Impl& sol, const Model::Impl& model, const Param::Impl& param,
                       const Sol::Impl* start) {
    qubo_solver(sol, model, param, start);
}

/** Loads the model, so that a later solve starts without the load. */
inline void qubo_preparer(const Model::Impl& model, const Param::Impl& param) {
    prepare(own, model, param);
}

/** Gives back what the band keeps between calls. */
inline void qubo_releaser() {
    release(own);
}

#ifdef ORVEX_BAND_REGISTERS
namespace {
struct REGISTRATION {
    REGISTRATION() { qubo_multi::register_band(S, M, A, band_solve, qubo_preparer, qubo_releaser); }
};
const REGISTRATION registration;
}  // namespace
#endif

#if __INCLUDE_LEVEL__ == 0
#include "engine/band/band_end.inl"
#endif
