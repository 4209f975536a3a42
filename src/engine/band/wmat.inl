// The matrix as the search reads it: dense at the band's size, in one record on host and device.
// The columns of a row are permuted into row order (see SHAPE) so that a block reads a row in one
// sweep; row numbers are not permuted.

#pragma pack(push, 4)  // no padding behind `n`, whatever the width of E
struct WMAT {
    E w[static_cast<std::size_t>(S) * S];  ///< row i starts at i * S
    E diag[S];                             ///< the diagonal, in row order
    int n;                                 ///< the model's number of variables, at most S

    /** Diagonal of the filler variables: a search never gains by setting one. */
    static constexpr E FILLER = 255;

    void load(const Model::Impl& model);
    std::int64_t compEnergy(INST_t& instance) const;

    static void operator delete(void* record) { cuda_check(cudaFreeHost(record)); }
};
#pragma pack(pop)
static_assert(offsetof(WMAT, diag) == sizeof(WMAT::w));
static_assert(offsetof(WMAT, n) == sizeof(WMAT::w) + sizeof(WMAT::diag));
static_assert(sizeof(WMAT) == (static_cast<std::size_t>(S) * S + S) * sizeof(E) + 4);

/** Refuses a model that is too large for the band. */
inline void check_model_fits(int n) {
    if (n > S)
        error_exit("QUBO probmem bit (" + std::to_string(n) + ") exceeds Program supporting bit (" +
                   std::to_string(S) + ")");
}

/** Writes the first `count` elements of a model's row into row order. */
template <class X>
void permute_row(E* row, const X* elements, int count) {
    constexpr int OWN = BLOCK_SHAPE.own;
    for (int c = 0; c < OWN; ++c)
        for (int t = 0; t * OWN + c < count; ++t)
            row[c * T + t] = static_cast<E>(elements[t * OWN + c]);
}

/** Fills the record from the model; `n` has been set before. */
inline void WMAT::load(const Model::Impl& model) {
    check_model_fits(n);
    const std::size_t columns = static_cast<std::size_t>(n);
    for (int i = 0; i < S; ++i) {
        E* row = w + static_cast<std::size_t>(i) * S;
        if (i >= n || n < S) std::fill_n(row, S, E{0});
        if (i < n) {
            // The model's rows are read as they lie in memory, in their own width.
            const unsigned char* elements =
                model.mat.data.get() + static_cast<std::size_t>(i) * columns * model.mat.bytes;
            switch (model.mat.bits) {
                case 8:
                    permute_row(row, reinterpret_cast<const std::int8_t*>(elements), n);
                    break;
                case 16:
                    permute_row(row, reinterpret_cast<const std::int16_t*>(elements), n);
                    break;
                case 32:
                    permute_row(row, reinterpret_cast<const std::int32_t*>(elements), n);
                    break;
                default:
                    permute_row(row, reinterpret_cast<const std::int64_t*>(elements), n);
            }
        } else {
            row[BLOCK_SHAPE.place(i)] = FILLER;
        }
        diag[BLOCK_SHAPE.place(i)] = row[BLOCK_SHAPE.place(i)];
    }
}

/**
 * The energy of the instance, computed from the matrix alone in 64 bits and stored in it: a check
 * on the energies that blocks keep up to date. Bits from n on are not looked at.
 */
inline std::int64_t WMAT::compEnergy(INST_t& instance) const {
    const auto one = [&](int i) { return (instance.bits[i >> 6] >> (i & 63) & 1) != 0; };
    const std::unique_ptr<std::int64_t[]> rows(new std::int64_t[static_cast<std::size_t>(n)]);
    for (int i = 0; i < n; ++i) {
        rows[i] = 0;
        if (!one(i)) continue;
        const E* row = w + static_cast<std::size_t>(i) * S;
        for (int j = i; j < n; ++j)
            if (one(j)) rows[i] = wrapping_add<std::int64_t>(rows[i], row[BLOCK_SHAPE.place(j)]);
    }
    std::int64_t energy = 0;
    for (int i = 0; i < n; ++i)
        energy = wrapping_add(energy, rows[i]);
    return instance.energy = energy;
}
