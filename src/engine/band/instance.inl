// One candidate solution with its energy and the bookkeeping that travels with it between host and
// device. The record has one layout on both sides, is copied whole, and is also a slot of the
// rings.

struct INST_t : INST_BODY<WORDS>, INST_TAIL {
    /** Takes over the bits of the solution; bits that it does not have stay as they are. */
    void load(const Sol& sol) {
        for (int i = 0; i < std::min(sol.impl().bits, S); ++i) {
            const std::uint64_t bit = std::uint64_t{1} << (i & 63);
            bits[i >> 6] = sol.get(i) ? bits[i >> 6] | bit : bits[i >> 6] & ~bit;
        }
    }

    /** Writes the first `size` bits as digits and the energy. */
    void print(FILE* out, int size) const {
        for (int i = 0; i < size; ++i)
            std::fprintf(out, "%1d", static_cast<int>(bits[i >> 6] >> (i & 63) & 1));
        std::fprintf(out, "\n%ld\n", energy);
    }

    /** All zero, and marked as made by nobody and found at no time. */
    void makeFresh(std::int64_t with_energy) {
        *this = INST_t{};
        energy = with_energy;
        found_time = NEVER_FOUND;
        inst = NO_GENERATOR;
        algorithm = NO_ALGORITHM;
    }

    /** Takes over the words of a caller's solution; words that it does not have stay as they are.
     */
    void loadWords(const Sol::Impl& sol) {
        for (int w = 0; w < std::min(sol.words, WORDS); ++w)
            set_relaxed(bits[w], sol.data[static_cast<std::size_t>(w)]);
    }

    static constexpr std::int64_t NEVER_FOUND = -1000000000;
};
static_assert(sizeof(INST_t) == instance_bytes(S));
static_assert(std::is_trivially_copyable_v<INST_t>);
