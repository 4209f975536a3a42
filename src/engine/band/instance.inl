// One candidate solution with its energy and the bookkeeping that travels with it between host and
// device. The record has one layout on both sides, is copied whole, and is also a slot of the
// rings. The engine works on it through INSTANCE, which finds the same fields at run time.
#ifndef ORVEX_BAND_OPEN
#include "engine/band/alone.inl"
#endif

struct INST_t : INST_BODY<WORDS>, INST_TAIL {
    /** Takes over the bits of the solution; bits that it does not have stay as they are. */
    void load(const Sol& sol) { INSTANCE(*this).load(sol); }

    /** Writes the first `size` bits as digits and the energy. */
    void print(FILE* out, int size) { INSTANCE(*this).print(out, size); }
};
static_assert(sizeof(INST_t) == instance_bytes(S));
static_assert(offsetof(INST_BODY<WORDS>, bits) == 8 && sizeof(INST_BODY<WORDS>) == 8 + S / 8);
static_assert(std::is_trivially_copyable_v<INST_t>);

#if __INCLUDE_LEVEL__ == 0
#include "engine/band/band_end.inl"
#endif
