// An island's population: its best instances, ranked by energy through an index array, and kept
// diverse by the replacement rule of insert(). It is the memory of the search: results from the
// device enter it, and all new instances are generated from it. One host thread uses a pool; only
// the bits of its records are also read by a neighbour, without a lock.

struct SOLPOOL {
    explicit SOLPOOL(int capacity);

    /** Sets the staging records of the island: `out` is being built, `in` is the last result. */
    void init(INST_t& out_record, INST_t& in_record) {
        out = &out_record;
        in = &in_record;
    }

    void randomInit(int);
    void insert();
    void rotate(int from, int to);

    // Choices, all drawn from `state`.
    unsigned long draw() { return state = xor_shift(state); }
    int selIdx();
    signed char selAlgorithm();
    signed char selInst();

    // Generators: each builds the bits of `out` and stores its own index.
    void random(unsigned char kind);
    void best(unsigned char kind);
    void best(unsigned char kind, const INST_t& record);
    void mutation(unsigned char kind);
    void cross(unsigned char kind);
    void cross(unsigned char kind, const SOLPOOL& other);
    void zero(unsigned char kind);
    void one(unsigned char kind);
    void intervalZero(unsigned char kind);
    void hint(unsigned char kind);
    void allbest(unsigned char kind);

    unsigned long state = 0;  ///< the generator of this island, seeded by ALLISLAND
    std::random_device rd{"default"};
    std::mt19937_64 gen{rd()};
    int pool_size;
    std::unique_ptr<INST_t[]> pool;  ///< the instances in physical slots
    std::unique_ptr<int[]> order;    ///< order[r] is the slot of rank r; rank 0 is the best
    INST_t* out = nullptr;
    INST_t* in = nullptr;

    // Statistics of the mutation parameter of results that entered the pool. Kept up to date as the
    // place where a mutation rate chosen by success would go; no generator looks at them.
    signed char param_lo = -9;
    signed char param_hi = 0;
    int ring_len = 100;
    float rate = 0.1f;
    std::vector<signed char> ring;
    int ring_pos = 0;
    std::random_device rd2{"default"};
    std::mt19937_64 gen2{rd2()};
    std::uniform_int_distribution<int> dist{-9, 0};
    unsigned hits[10] = {};

  private:
    void mix(unsigned char kind, const INST_t& special);
    int distance(const INST_t& record) const;
};

inline SOLPOOL::SOLPOOL(int capacity)
    : pool_size(capacity),
      pool(new INST_t[static_cast<std::size_t>(capacity)]),
      order(new int[static_cast<std::size_t>(capacity)]),
      ring(static_cast<std::size_t>(ring_len)) {
    for (int i = 0; i < pool_size; ++i) {
        pool[i].makeFresh(NO_ENERGY);
        order[i] = i;
    }
    for (signed char& entry : ring)
        entry = static_cast<signed char>(dist(gen2));
}

/** Fills the pool with random solutions. The ranking may stay: all energies are equal then. */
inline void SOLPOOL::randomInit(int) {
    INST_t fresh;
    fresh.makeFresh(NO_ENERGY);
    for (int i = 0; i < pool_size; ++i)
        copy_relaxed(pool[i], fresh);
    for (int i = 0; i < pool_size; ++i) {
        INST_t& record = pool[i];
        for (std::uint64_t& word : record.bits) {
            std::uint64_t value = draw();
            for (int k = 0; k < gv->random_and_rounds; ++k)
                value &= draw();
            set_relaxed(word, value);
        }
        record.inst = RANDOM;
        record.algorithm = -1;
        record.flag = gv->kernel_flag;
    }
}

/** Hamming distance of the candidate `in` to the record, over all bits of the band. */
inline int SOLPOOL::distance(const INST_t& record) const {
    int sum = 0;
    for (int w = 0; w < WORDS; ++w)
        sum += __builtin_popcountll(in->bits[w] ^ record.bits[w]);
    return sum;
}

/**
 * Enters the candidate `in`, unless all records are better. It takes the rank in front of its
 * equals. The record that goes is the worst-ranked one near to it, so that near neighbours of a
 * better solution are driven out; if none is near, it is the record at that rank itself, and the
 * tail of the pool survives, which keeps the pool's spread of quality.
 */
inline void SOLPOOL::insert() {
    int rank = 0;
    while (rank < pool_size && pool[order[rank]].energy < in->energy)
        ++rank;
    if (rank == pool_size) return;

    int victim = pool_size - 1;
    while (victim > rank && distance(pool[order[victim]]) > gv->solution_proximity)
        --victim;

    rotate(rank, victim);
    copy_relaxed(pool[order[rank]], *in);

    if (in->inst != MUTATION) return;
    if (in->param < param_lo || in->param > param_hi)
        error_exit("Unexpected error in PARAM (" + std::to_string(in->param) + ")");
    ring[static_cast<std::size_t>(ring_pos)] = in->param;
    ring_pos = (ring_pos + 1) % ring_len;
    ++hits[in->param - param_lo];
}

/** Moves the entry at `to` in the ranking to `from`; those from `from` on go one down. */
inline void SOLPOOL::rotate(int from, int to) {
    std::rotate(order.get() + from, order.get() + to, order.get() + to + 1);
}
