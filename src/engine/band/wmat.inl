// The matrix as the search reads it: dense at the band's size, in one record on host and device.
// The columns of a row are permuted into row order (see SHAPE) so that a block reads a row in one
// sweep; row numbers are not permuted.
#ifndef ORVEX_BAND_OPEN
#include "engine/band/instance.inl"
#endif

#pragma pack(push, 4)  // no padding after `n`, whatever the width of E
struct WMAT {
    E w[static_cast<std::size_t>(S) * S];  ///< row i starts at i * S
    E diag[S];                             ///< the diagonal, in row order
    int n;                                 ///< the model's number of variables, at most S

    /** Fills the record from the model; `n` has been set before. `zeros`: all else is zero. */
    void load(const Model::Impl& model, bool zeros = false) {
        load_rows(w, diag, n, BLOCK_SHAPE, model, zeros);
    }

    /** The energy of the instance, computed from the matrix alone and stored in it. */
    std::int64_t compEnergy(INST_t& instance) const {
        return instance.energy = energy_of_bits(w, n, BLOCK_SHAPE, instance.bits);
    }

    static void operator delete(void* record) { cuda_check(cudaFreeHost(record)); }
};
#pragma pack(pop)
static_assert(offsetof(WMAT, diag) == sizeof(WMAT::w));
static_assert(offsetof(WMAT, n) == sizeof(WMAT::w) + sizeof(WMAT::diag));
static_assert(sizeof(WMAT) == (static_cast<std::size_t>(S) * S + S) * sizeof(E) + 4);

#if __INCLUDE_LEVEL__ == 0
#include "engine/band/band_end.inl"
#endif
