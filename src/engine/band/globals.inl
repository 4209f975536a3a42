// What the band alone keeps: the run in progress, its device parameters, the session, the locks.
#ifndef ORVEX_BAND_OPEN
#include "engine/band/kernel.inl"
#endif

/** Never destroyed: what its session still holds at the end goes with the process. */
inline BAND& own = *new BAND{.size = S,
                             .matrix_bits = M,
                             .arith_bits = A,
                             .matrix_bytes = sizeof(WMAT),
                             .kernel = kernel,
                             .device_gp = &device_gp,
                             .load = [](void* record, const Model::Impl& model) {
                                 WMAT& wmat = *static_cast<WMAT*>(record);
                                 wmat.n = model.size;
                                 if constexpr (COPIES_FILL_RECORD)
                                     write_diagonal(wmat.diag, BLOCK_SHAPE, model);
                                 else
                                     wmat.load(model);
                             }};

inline GLOBAL_VARS*& gv = own.gv;           ///< the run in progress
inline GPU_PARAMS*& host_gp = own.host_gp;  ///< the device parameters of the run
inline DeviceSession& session = own.session;
inline std::mutex& restart_mtx = own.restart_mtx;

/** printf to the standard error stream, if the run in progress has that verbosity. */
template <class... ARGS>
void write_stderr1(const char* format, ARGS... args) {
    write_stderr(*gv, 1, format, args...);
}

template <class... ARGS>
void write_stderr2(const char* format, ARGS... args) {
    write_stderr(*gv, 2, format, args...);
}

#if __INCLUDE_LEVEL__ == 0
#include "engine/band/band_end.inl"
#endif
