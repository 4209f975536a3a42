// The band's ways in, which the registry calls: one whole run, preparing, releasing.

/** Solves: returns when `sol` is filled. */
inline void qubo_solver(Sol::Impl& sol, const Model::Impl& model, const Param::Impl& param,
                        const Sol::Impl* start) {
    int devices = 0;
    if (cudaGetDeviceCount(&devices) != cudaSuccess || devices == 0) error_exit("No GPU found.");
    drop_stale_session(model);
    const auto run = std::make_unique<GLOBAL_VARS>(sol, model, param, start);
    run->available_gpus = devices;
    gv = run.get();
    const auto device_parameters = std::make_unique<GPU_PARAMS>();
    host_gp = device_parameters.get();
    set_param(*gv, *host_gp);
    if (gv->gpus == 0) gv->gpus = gv->available_gpus;

    main_program();

    store_session(model, gv->owns_wmat ? gv->wmat : nullptr);
    gv->owns_wmat = false;
}

inline void band_solve(Sol::Impl& sol, const Model::Impl& model, const Param::Impl& param,
                       const Sol::Impl* start) {
    qubo_solver(sol, model, param, start);
}

/** Loads the model, so that a later solve starts without the load. */
inline void qubo_preparer(const Model::Impl& model, const Param::Impl& param) {
    int devices = 0;
    cuda_check(cudaGetDeviceCount(&devices));
    if (const auto gpus = param.params.find("gpus"); gpus != param.params.end()) {
        const int wanted = std::stoi(gpus->second);
        if (wanted > 0) devices = std::min(devices, wanted);
    }
    drop_stale_session(model);
    WMAT* const in_session = session_matrix(model);
    WMAT* const host_wmat = in_session ? in_session : load_matrix(model);
    for (int i = 0; i < devices; ++i) {
        if (static_cast<std::size_t>(i) < session.device_wmat.size() &&
            session.device_wmat[static_cast<std::size_t>(i)])
            continue;
        cuda_check(cudaSetDevice(i));
        session.storeDeviceCopy(i, make_device_copy(host_wmat, nullptr));
    }
    store_session(model, in_session ? nullptr : host_wmat);
}

/** Gives back what the band keeps between calls. */
inline void qubo_releaser() {
    const std::lock_guard lock(session_mutex);
    session.clear();
}

#ifdef ORVEX_BAND_REGISTERS
namespace {
struct REGISTRATION {
    REGISTRATION() { qubo_multi::register_band(S, M, A, band_solve, qubo_preparer, qubo_releaser); }
};
const REGISTRATION registration;
}  // namespace
#endif
