// What a prepared band keeps alive between calls, and nothing else: the matrix of the last model on
// the host and the copies on the devices. A session matches a model by its address and revision.

struct DeviceSession {
    const Model::Impl* model = nullptr;     ///< null when the session is empty
    std::uint64_t model_stamp = 0;          ///< the model's revision when it was loaded
    WMAT* host_wmat = nullptr;              ///< page-locked
    std::vector<DEVICE_WMAT*> device_wmat;  ///< per device; null where it holds no copy

    bool matches(const Model::Impl& other) const {
        return model == &other && model_stamp == other.revision;
    }

    /** Gives everything back. */
    void clear();

    /** The copy on a device, which the caller has from now on; null if there is none. */
    DEVICE_WMAT* takeDeviceCopy(int gpu) {
        const std::size_t index = static_cast<std::size_t>(gpu);
        return index < device_wmat.size() ? std::exchange(device_wmat[index], nullptr) : nullptr;
    }

    void storeDeviceCopy(int gpu, DEVICE_WMAT* copy) {
        const std::size_t index = static_cast<std::size_t>(gpu);
        if (index >= device_wmat.size()) device_wmat.resize(index + 1);
        device_wmat[index] = copy;
    }
};

/** Never destroyed: what it still holds at the end goes with the process. */
inline DeviceSession& session = *new DeviceSession;
inline std::mutex session_mutex;

inline void DeviceSession::clear() {
    for (std::size_t i = 0; i < device_wmat.size(); ++i) {
        if (!device_wmat[i]) continue;
        cuda_check(cudaSetDevice(static_cast<int>(i)));
        cuda_check(device_copy_destroy(device_wmat[i]));
    }
    if (host_wmat) delete host_wmat;
    *this = DeviceSession{};
}

/** Empties the session if it holds another model, or another revision of this one. */
inline void drop_stale_session(const Model::Impl& model) {
    const std::lock_guard lock(session_mutex);
    if (session.model && !session.matches(model)) session.clear();
}

/** The session's host matrix if it is this model's, else null. */
inline WMAT* session_matrix(const Model::Impl& model) {
    const std::lock_guard lock(session_mutex);
    return session.matches(model) ? session.host_wmat : nullptr;
}

/** Marks the session as this model's and hands it the host matrix, unless that is null. */
inline void store_session(const Model::Impl& model, WMAT* host_wmat) {
    const std::lock_guard lock(session_mutex);
    session.model = &model;
    session.model_stamp = model.revision;
    if (host_wmat) session.host_wmat = host_wmat;
}

/** A matrix record in page-locked memory, loaded from the model. */
inline WMAT* load_matrix(const Model::Impl& model) {
    check_model_fits(model.size);
    WMAT* wmat = nullptr;
    if (cudaMallocHost(&wmat, sizeof(WMAT)) != cudaSuccess) error_exit("Insufficient GPU memory.");
    wmat->n = model.size;
    wmat->load(model);
    return wmat;
}

/** The copy of a host matrix that a device reads. */
inline DEVICE_WMAT* make_device_copy(WMAT* host_wmat, cudaStream_t stream) {
    DEVICE_WMAT* copy = nullptr;
    const cudaError_t status = device_copy_create(&copy, host_wmat, sizeof(WMAT), stream);
    if (status == cudaErrorMemoryAllocation) error_exit("Insufficient Host memory.");
    cuda_check(status);
    return copy;
}

inline GLOBAL_VARS::GLOBAL_VARS(Sol::Impl& result, const Model::Impl& problem,
                                const Param::Impl& settings, const Sol::Impl* start_solution)
    : RUN_STATE{.sol = &result,
                .model = &problem,
                .param = &settings,
                .start = start_solution,
                .size = problem.size} {
    wmat = session_matrix(problem);
    if (wmat)
        owns_wmat = false;
    else
        wmat = load_matrix(problem);
}
