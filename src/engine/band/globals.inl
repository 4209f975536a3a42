// The state of one run of this band, which everything in the band reads through `gv`.

struct ISLAND;
struct ALLISLAND;
struct DEV_THREADS;
struct HOST_THREADS;

struct GLOBAL_VARS : RUN_STATE {
    GLOBAL_VARS(Sol::Impl& result, const Model::Impl& problem, const Param::Impl& settings,
                const Sol::Impl* start_solution);
    ~GLOBAL_VARS();
    GLOBAL_VARS(const GLOBAL_VARS&) = delete;
    GLOBAL_VARS& operator=(const GLOBAL_VARS&) = delete;

    /** Fills a solution with the best of the run and what is known about it. */
    void get_sol(Sol::Impl& to, bool final);

    /** Delivers "init", "new" or "alarm", if wanted, and carries out the requests it leaves. */
    void callback_func(const std::string& event, ISLAND& island);

    WMAT* wmat = nullptr;        ///< page-locked host matrix
    bool owns_wmat = true;       ///< freed with this object unless passed on to the session
    std::vector<INST_t*> rings;  ///< per device: memory of all island rings
    std::unique_ptr<ALLISLAND> allisland;
    std::unique_ptr<TRANS_COUNT> trans_count;
    std::unique_ptr<RESTART_CLOCK> restart_clock;
    DEV_THREADS* dev_threads = nullptr;    ///< on main_program's stack
    HOST_THREADS* host_threads = nullptr;  ///< on main_program's stack

    static inline std::mutex callback_mutex;  ///< one user callback at a time

  private:
    void takeRequests(ISLAND& island);
};

inline GLOBAL_VARS* gv = nullptr;      ///< the run in progress
inline GPU_PARAMS* host_gp = nullptr;  ///< the device parameters of the run
inline std::mutex restart_mtx;         ///< guards the period fields of the restart clock

/** Turns the parameter text into the run's typed fields. */
inline void set_param(GLOBAL_VARS& run, GPU_PARAMS& gpu_params) {
    read_params(run, gpu_params, S);
}

template <class... ARGS>
void write_stderr1(const char* format, ARGS... args) {
    write_stderr(*gv, 1, format, args...);
}

template <class... ARGS>
void write_stderr2(const char* format, ARGS... args) {
    write_stderr(*gv, 2, format, args...);
}
