// Opens the namespace of the band that the three macros ORVEX_BAND_SIZE, ORVEX_BAND_MATRIX_BITS and
// ORVEX_BAND_ARITH_BITS name, turns them into constants and types, and takes the macros away again:
// what is outside of the namespace cannot depend on a band by mistake, which would link
// silently with one copy for all. Everything of the band is between this and band_end.inl. No
// include guard: a source may instantiate several bands. While a band is open, ORVEX_BAND_OPEN is
// defined.
#define ORVEX_BAND_OPEN
#define ORVEX_BAND_JOIN(size, matrix, arith) qb##size##_##matrix##_##arith
#define ORVEX_BAND_EXPAND(size, matrix, arith) ORVEX_BAND_JOIN(size, matrix, arith)

namespace ORVEX_BAND_EXPAND(ORVEX_BAND_SIZE, ORVEX_BAND_MATRIX_BITS, ORVEX_BAND_ARITH_BITS) {

    using namespace orvex;
    using namespace orvex::engine;
    using namespace orvex::device;
    using namespace orvex::platform;

    inline constexpr int S = ORVEX_BAND_SIZE;         // bits of the band
    inline constexpr int M = ORVEX_BAND_MATRIX_BITS;  // width of a matrix element
    inline constexpr int A = ORVEX_BAND_ARITH_BITS;   // width of energies and deltas on the device
    inline constexpr SHAPE BLOCK_SHAPE{S};
    inline constexpr int T = BLOCK_SHAPE.threads;  // threads of a block
    inline constexpr int WORDS = S / 64;           // words of a solution

    template <int BITS>
    using SIGNED = std::conditional_t<BITS == 32, std::int32_t, std::int64_t>;
    using E = SIGNED<M>;
    using D = SIGNED<A>;

    // What every implementation of a block takes for granted of a band's numbers.
    static_assert(S > 0 && S % 64 == 0, "a solution is a row of whole words");
    static_assert(S <= 65536, "a place in a row is 16 bits wide");
    static_assert(T * BLOCK_SHAPE.own == S, "every thread owns equally many bits");
    static_assert(BLOCK_SHAPE.own <= 64, "the bits of a thread fit into one word");
    static_assert(T % 32 == 0 && T <= 1024, "a block is a row of whole warps");
    static_assert(S * sizeof(D) % 256 == 0,
                  "deltas are whole groups of four of the widest vectors");
    static_assert(M == 32 || M == 64, "there are two widths of matrix elements");
    static_assert(A == 32 || A == 64, "there are two widths of energies");
    static_assert(A >= M, "a delta holds any matrix element");

#undef ORVEX_BAND_JOIN
#undef ORVEX_BAND_EXPAND
#undef ORVEX_BAND_SIZE
#undef ORVEX_BAND_MATRIX_BITS
#undef ORVEX_BAND_ARITH_BITS
