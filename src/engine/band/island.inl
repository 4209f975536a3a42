// An island is one host-side population, the device blocks that serve it, and the pair of rings by
// which it talks to them while the kernel runs. A ring is a row of slots in device memory; a slot
// is filled when its ticket word has its final value, which is written last, after the body has
// landed. One host thread uses an island; what others look at without a lock is read and written
// relaxed.

struct ISLAND {
    explicit ISLAND(int number);
    ~ISLAND();
    ISLAND(const ISLAND&) = delete;
    ISLAND& operator=(const ISLAND&) = delete;

    enum MODE { INSTANCE_MODE = 0, STOP_MARK_MODE = 1 };
    /** Transfers `send_buf` to the next slot of the send ring, as an instance or as a stop mark. */
    void host2device(int mode);
    /** Waits for the next result and takes it into `recv_buf`; returns early if the run is killed.
     */
    void device2host();
    /** Sends up to n random instances, the start solution first if there is one. */
    void sendRandom(int n);
    /** Stamps what the run prescribes on `send_buf`. */
    void stampInstance();
    /** Registers `recv_buf`: stop by time, island's and run's best, events, progress line. */
    void regBest(int);
    void generate(signed char kind);
    void restartSearch();
    void sendStopMarks();
    /** Whether one more instance may be in flight without a slot being overwritten unread. */
    bool hasRoomForHint() const;
    void print(int number, bool winner, long best_energy) const;
    int deliveringBlocks() const;

    int gpu = 0;
    int id;         ///< from 0; -1 for the summary island of ALLISLAND
    int local = 0;  ///< index on its device
    cudaStream_t stream = nullptr;
    INST_t* send_ring = nullptr;  ///< host to device, in device memory
    INST_t* recv_ring = nullptr;  ///< device to host, in device memory
    int send_pos = 0;
    int recv_pos = 0;
    SOLPOOL pool;
    int sent = 0;  ///< instances, stop marks not counted
    int received = 0;
    int cross_pause = 0;  ///< results still to come before "XCross" may use the neighbour
    int generation = 0;   ///< the island's restarts; the low 16 bits are stamped on what it sends
    int last_generation = -1;  ///< of the last registered result
    INST_t current;            ///< best of the present generation
    INST_t best;               ///< best of the whole run, of negative energies only
    std::int64_t flips = 0;    ///< reported in results
    std::array<std::int64_t, ALGORITHMS> algorithm_count{};
    std::array<std::int64_t, GENERATORS> instance_count{};
    unsigned char restart = 0;  ///< set when a new period begins; cleared by the island's thread
    bool stopping = false;      ///< stop marks are out: nothing may follow them
    int block_total = 0;
    std::int64_t block_hits = 0;           ///< results that named a valid block
    std::unique_ptr<int[]> block_results;  ///< results per block
    INST_t* send_buf = nullptr;            ///< page-locked: the instance being built
    INST_t* recv_buf = nullptr;            ///< page-locked: the last result

    static inline std::mutex allbest_mtx;  ///< all-time best and the progress line

  private:
    void account();
};

/** All islands of a run, with the all-time best. */
struct ALLISLAND {
    explicit ALLISLAND(int number);

    void print();
    void printOccupancy(const DEV_THREAD& device) const;

    /** The previous island in the ring of those that restart. */
    ISLAND& neighbourOf(int id) {
        const int ring = gv->restart_islands;
        return *islands[static_cast<std::size_t>((id + ring - 1) % ring)];
    }

    int count;
    std::vector<std::unique_ptr<ISLAND>> islands;
    ISLAND summary{-1};
    INST_t* allbest = &summary.best;  ///< all-time best; energy and bits are read without a lock
    INST_t hint;                      ///< the caller's hint; bits are read without a lock
};

inline constexpr std::int64_t RECORD_TICKET = 0x7fffffff;  // in the bests of real islands

inline ISLAND::ISLAND(int number)
    : id(number),
      pool(gv->pool_size),
      block_total(gv->blocks_per_gpu),
      block_results(new int[static_cast<std::size_t>(std::max(block_total, 0))]()) {
    current.makeFresh(0);
    best.makeFresh(0);
    if (id < 0) return;
    current.ticket = best.ticket = RECORD_TICKET;
    gpu = id / gv->islands_per_gpu;
    local = id % gv->islands_per_gpu;
    cuda_check(cudaSetDevice(gpu));
    cuda_check(cudaStreamCreateWithFlags(&stream, cudaStreamNonBlocking));
    if (cudaHostAlloc(&send_buf, sizeof(INST_t), 0) != cudaSuccess ||
        cudaHostAlloc(&recv_buf, sizeof(INST_t), 0) != cudaSuccess)
        error_exit("Insufficient GPU memory.");
    *send_buf = INST_t{};
    *recv_buf = INST_t{};
    pool.init(*send_buf, *recv_buf);
}

inline ISLAND::~ISLAND() {
    if (send_buf) cuda_check(cudaFreeHost(send_buf));
    if (recv_buf) cuda_check(cudaFreeHost(recv_buf));
}

inline ALLISLAND::ALLISLAND(int number) : count(number) {
    hint.makeFresh(NO_ENERGY);
    islands.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        islands.push_back(std::make_unique<ISLAND>(i));
    allbest->energy = NO_ENERGY;

    constexpr unsigned long NONZERO = 88172645463325252;
    std::mt19937_64 twister(time4random());
    for (const auto& island : islands) {
        const unsigned long seed = time4random() + twister();
        island->pool.state = seed == 0 ? NONZERO : seed;
    }
}

// The body is copied with its ticket at 0, and the ticket alone behind it: the kernel takes the
// slot as filled only when the ticket has its final value. With 2 * blocks_per_island instances out
// and one send for each receipt, a ring of 4 * blocks_per_island has room without a test.
inline void ISLAND::host2device(int mode) {
    const std::int64_t ticket = mode == STOP_MARK_MODE ? STOP_TICKET : std::int64_t{sent} + 1;
    INST_t* slot = send_ring + send_pos;
    send_buf->ticket = 0;
    cuda_check(cudaMemcpyAsync(slot, send_buf, sizeof(INST_t), cudaMemcpyHostToDevice, stream));
    cuda_check(cudaStreamSynchronize(stream));
    send_buf->ticket = ticket;
    cuda_check(cudaMemcpyAsync(&slot->ticket, &send_buf->ticket, sizeof(ticket),
                               cudaMemcpyHostToDevice, stream));
    cuda_check(cudaStreamSynchronize(stream));
    if (mode == INSTANCE_MODE) ++sent;
    send_pos = (send_pos + 1) % gv->ring_size;
}

inline void ISLAND::device2host() {
    constexpr int FIRST_DELAY = 100;  // microseconds
    constexpr int LONG_DELAY = 100000;
    INST_t* slot = recv_ring + recv_pos;
    for (int delay = FIRST_DELAY;;) {
        std::int64_t ticket = 0;
        cuda_check(cudaMemcpyAsync(&ticket, &slot->ticket, sizeof(ticket), cudaMemcpyDeviceToHost,
                                   stream));
        cuda_check(cudaStreamSynchronize(stream));
        if (static_cast<std::uint64_t>(ticket) > static_cast<std::uint64_t>(received)) break;
        wait_for_ticket(&slot->ticket, ticket, delay);
        if (relaxed(gv->killed)) return;
        if (delay < LONG_DELAY) delay *= 2;
    }
    cuda_check(cudaMemcpyAsync(recv_buf, slot, sizeof(INST_t), cudaMemcpyDeviceToHost, stream));
    cuda_check(cudaStreamSynchronize(stream));
    account();
}

inline void ISLAND::account() {
    INST_t& result = *recv_buf;
    ++received;
    if (result.block >= 0 && result.block < block_total) {
        ++block_results[result.block];
        ++block_hits;
    }
    recv_pos = received % gv->ring_size;
    set_relaxed(flips, flips + result.cycles);
    if (cross_pause > 0) --cross_pause;
    result.ticket = gv->trans_count->received(1);  // from now on the run-wide number
    ++algorithm_count[static_cast<std::size_t>(result.algorithm)];
    ++instance_count[static_cast<std::size_t>(result.inst)];
    if (result.overflow != 0) set_relaxed(gv->stop_code, -1);
}

inline void ISLAND::sendRandom(int n) {
    for (int i = 0; i < n && gv->trans_count->request(gv->trial_limit); ++i) {
        if (i == 0 && id == 0 && gv->start) {
            send_buf->loadWords(*gv->start);
            send_buf->inst = ALL_BEST;
            send_buf->algorithm = MAX_MIN;
        } else {
            pool.random(RANDOM);
            send_buf->algorithm = pool.selAlgorithm();
        }
        stampInstance();
        host2device(INSTANCE_MODE);
    }
}

inline void ISLAND::stampInstance() {
    send_buf->cycles = static_cast<std::uint32_t>(relaxed(gv->batch_cycles));
    send_buf->annealing = static_cast<std::uint32_t>(relaxed(gv->annealing_cycles));
    send_buf->flag = gv->kernel_flag;
    send_buf->generation = static_cast<std::uint16_t>(generation);
}

/** A new generation: the island forgets its present best and, unless it is kept, its pool. */
inline void ISLAND::restartSearch() {
    ++generation;
    set_relaxed(current.energy, NO_ENERGY);
    std::fill_n(current.bits, WORDS, std::uint64_t{0});
    cross_pause = 4 * gv->ring_size;
    if (id < gv->restart_islands) pool.randomInit(0);
    set_relaxed(restart, 0);
}

inline void ISLAND::sendStopMarks() {
    stopping = true;
    for (int i = 0; i < gv->blocks_per_island; ++i)
        host2device(STOP_MARK_MODE);
}

// The hint is followed by the instance that answers the result at hand, and at the end of the run
// by a stop mark for each block; all of these must find slots whose contents have been taken.
inline bool ISLAND::hasRoomForHint() const {
    const bool answers_result = received > 0;
    return !stopping &&
           sent - received + 1 + answers_result + gv->blocks_per_island <= gv->ring_size;
}

inline int ISLAND::deliveringBlocks() const {
    int blocks = 0;
    for (int i = 0; i < block_total; ++i)
        blocks += block_results[i] != 0;
    return blocks;
}
