// The host threads: one per island and phase of a run. main_func is the search loop of an island:
// one result in, one instance out, until a stop condition holds.

struct HOST_THREAD {
    int id;
    ISLAND* island;
    std::thread thread{};

    void init_func() { island->pool.randomInit(0); }
    void set_func();
    void main_func();

  private:
    bool feed();
    bool takeResult();
    bool targetReached() const;
    void lookAtRestartClock();
    void stopAndDrain();
};

struct HOST_THREADS {
    int count;
    std::vector<HOST_THREAD> threads;

    explicit HOST_THREADS(int islands) : count(islands) {
        for (int i = 0; i < islands; ++i)
            threads.push_back(HOST_THREAD{
                .id = i, .island = gv->allisland->islands[static_cast<std::size_t>(i)].get()});
    }

    void init() { start(&HOST_THREAD::init_func); }
    void set() { start(&HOST_THREAD::set_func); }
    void main() { start(&HOST_THREAD::main_func); }

    void join() {
        for (HOST_THREAD& member : threads)
            member.thread.join();
    }

  private:
    void start(void (HOST_THREAD::*phase)()) {
        for (HOST_THREAD& member : threads)
            member.thread = start_thread([&member, phase] { (member.*phase)(); });
    }
};

/** Every block has two instances waiting before the kernel exists. */
inline void HOST_THREAD::set_func() {
    INST_t* rings = gv->rings[static_cast<std::size_t>(island->gpu)];
    island->send_ring = rings + std::ptrdiff_t{2} * island->local * gv->ring_size;
    island->recv_ring = island->send_ring + gv->ring_size;
    island->sendRandom(2 * gv->blocks_per_island);
}

inline void HOST_THREAD::main_func() {
    while (relaxed(gv->stop_code) == 0 && gv->trans_count->request(gv->trial_limit))
        if (!feed()) break;
    if (!relaxed(gv->killed)) stopAndDrain();
}

/** Takes one result and sends one instance. False if the run is killed or the target reached. */
inline bool HOST_THREAD::feed() {
    if (relaxed(gv->killed) || !takeResult()) return false;
    if (island->recv_buf->generation == island->generation) island->pool.insert();
    island->regBest(island->recv_buf->generation != island->generation);
    if (relaxed(gv->killed) || targetReached()) return false;

    lookAtRestartClock();
    if (relaxed(island->restart)) island->restartSearch();

    island->generate(island->pool.selInst());
    island->send_buf->algorithm = island->pool.selAlgorithm();
    island->stampInstance();
    island->host2device(ISLAND::INSTANCE_MODE);
    return true;
}

/** Waits for the next result. False if the run is killed. */
inline bool HOST_THREAD::takeResult() {
    island->device2host();
    return !relaxed(gv->killed);
}

/** A target of exactly 0 is no target. */
inline bool HOST_THREAD::targetReached() const {
    return gv->target_energy != 0 && gv->target_energy >= relaxed(gv->allisland->allbest->energy);
}

/** Whichever thread comes first behind the end of a period begins the next one for all islands. */
inline void HOST_THREAD::lookAtRestartClock() {
    const std::lock_guard lock(restart_mtx);
    RESTART_CLOCK& clock = *gv->restart_clock;
    if (!(gv->restart_t0 > 0) || now() < clock.next_restart) return;
    clock.nextPeriod();
    for (const auto& member : gv->allisland->islands)
        set_relaxed(member->restart, 1);
}

/**
 * One stop mark for each block of the island, then the results still owed. Results of every
 * generation enter the pool here; nothing is made from it any more.
 */
inline void HOST_THREAD::stopAndDrain() {
    island->sendStopMarks();
    while (island->sent > island->received) {
        if (relaxed(gv->killed) || !takeResult()) return;
        island->pool.insert();
        if (relaxed(gv->killed)) return;
        island->regBest(0);
    }
}
