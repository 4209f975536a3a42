#include "engine/device/cpu_block.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "engine/device/cycle.hpp"
#include "engine/device/formulas.hpp"

namespace orvex::device {

namespace {

constexpr std::size_t LINE = 64;

std::size_t lines(std::size_t bytes) {
    return (bytes + LINE - 1) / LINE * LINE;
}

/** Deals out the block's memory, each array from the beginning of a cache line. */
class ARENA {
  public:
    explicit ARENA(unsigned char* memory) : next_(memory) {}
    template <class X>
    X* take(std::size_t count) {
        X* array = reinterpret_cast<X*>(next_);
        next_ += lines(count * sizeof(X));
        return array;
    }

  private:
    unsigned char* next_;
};

template <class D>
std::size_t arena_bytes(const SHAPE& shape) {
    const std::size_t size = static_cast<std::size_t>(shape.size);
    const std::size_t threads = static_cast<std::size_t>(shape.threads);
    return lines(size * sizeof(D)) + 5 * lines(size) + lines(threads * sizeof(unsigned long)) +
           3 * lines(threads * sizeof(float)) + lines((threads + 1) * sizeof(std::uint16_t)) +
           lines((size + 1) * sizeof(std::uint16_t)) + lines(size / GROUP * sizeof(D)) +
           lines(size / SPAN * sizeof(D) + LINE);
}

unsigned char* allocate_block(std::size_t bytes) {
    void* memory = std::aligned_alloc(LINE, bytes);
    if (!memory) throw std::bad_alloc();
    std::memset(memory, 0, bytes);
    return static_cast<unsigned char*>(memory);
}

/** See ROW_SUM. */
template <class D>
bool is_wide(D delta) {
    return delta >= WIDE<D> || delta <= -WIDE<D>;
}

}  // namespace

std::uint64_t global_timer() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

// ---- its making, its life ------------------------------------------------------------------

template <class E, class D>
CPU_BLOCK<E, D>::CPU_BLOCK(int block_index, const CPU_LAUNCH<E>& launch)
    : launch_(launch),
      ops_(block_ops<E, D>()),
      memory_(allocate_block(arena_bytes<D>(SHAPE(launch.size))), &std::free),
      arrays_{.shape = SHAPE(launch.size)} {
    const std::size_t size = static_cast<std::size_t>(launch.size);
    const std::size_t threads = static_cast<std::size_t>(arrays_.shape.threads);
    ARENA arena(memory_.get());
    arrays_.delta = arena.take<D>(size);
    arrays_.ones = arena.take<std::int8_t>(size);
    arrays_.differs = arena.take<std::int8_t>(size);
    arrays_.tabu = arena.take<std::uint8_t>(size);
    target_ = arena.take<std::int8_t>(size);
    best_ = arena.take<std::int8_t>(size);
    arrays_.generators = arena.take<unsigned long>(threads);
    arrays_.weights = arena.take<float>(threads);
    arrays_.draws = arena.take<float>(threads);
    arrays_.estimates = arena.take<float>(threads);
    arrays_.drawing = arena.take<std::uint16_t>(threads + 1);
    arrays_.vectors = arena.take<std::uint16_t>(size + 1);
    arrays_.group_low = arena.take<D>(size / GROUP);
    arrays_.span_low = arena.take<D>(size / SPAN + LINE / sizeof(D));
    calm_ = launch.rows && launch.rows->survey().reach < CALM_REACH<D>;

    const unsigned long* seeds = launch.seeds + static_cast<std::size_t>(block_index) * threads;
    for (std::size_t t = 0; t < threads; ++t)
        arrays_.generators[t] = usable_seed(seeds[t]);
    enter();
    reset();
}

template <class E, class D>
platform::BLOCK_TASK::OUTCOME CPU_BLOCK<E, D>::advance() {
    if (killed()) return OUTCOME::LEFT;
    switch (takeInstance()) {
        case TAKEN::NOTHING:
            return OUTCOME::WAITING;
        case TAKEN::STOP_MARK:
            return OUTCOME::LEFT;
        case TAKEN::INSTANCE:
            break;
    }
    return !killed() && runInstance(*this) ? OUTCOME::WORKED : OUTCOME::LEFT;
}

template <class E, class D>
bool CPU_BLOCK<E, D>::killed() const {
    return __atomic_load_n(&launch_.device_state->kill, __ATOMIC_RELAXED) != 0;
}

template <class E, class D>
void CPU_BLOCK<E, D>::reportWrongType() const {
    for (int t = 0; t < arrays_.shape.threads; ++t)
        std::printf("Type.A=%d\n", record.type.A);
}

// ---- solutions and their bests -------------------------------------------------------------

template <class E, class D>
void CPU_BLOCK<E, D>::forgetBest() {
    std::fill_n(best_, arrays_.shape.size, std::int8_t{0});
    record.best_energy = 0;
}

template <class E, class D>
void CPU_BLOCK<E, D>::keepCurrent() {
    std::copy_n(arrays_.ones, arrays_.shape.size, best_);
    record.best_energy = 0;
    record.best_time = global_timer();
}

template <class E, class D>
void CPU_BLOCK<E, D>::reset() {
    record.energy = 0;
    wide_ = false;
    for (int p = 0; p < arrays_.shape.size; ++p) {
        arrays_.delta[p] = launch_.diagonal[p];
        arrays_.ones[p] = 0;
        arrays_.differs[p] = target_[p];
        arrays_.tabu[p] = 0;
        if (sizeof(E) == 8) wide_ |= is_wide(arrays_.delta[p]);
    }
    lowest_ = ops_.lowest(arrays_);
    spans_known_ = false;
}

/** Adds the row of the selected bit, at place p, where sums might leave the range of D. */
template <class E, class D>
void CPU_BLOCK<E, D>::addRow(int p, bool one) {
    const E* row = launch_.weights + static_cast<std::size_t>(record.selected) *
                                         static_cast<std::size_t>(launch_.size);
    // The row's own element must not count: the pass is made to leave `rest` in the bit's place,
    // which neither overflows nor is the lowest nor, for common elements, makes the sum wide.
    constexpr D MAX = BLOCK_RECORD<D>::MAX;
    const D delta = arrays_.delta[p];
    const D own = row[p];
    D rest = own < 0 ? MAX + own : MAX;
    if (sizeof(E) == 8 && !is_wide(own)) rest = WIDE<D> - 1;
    arrays_.delta[p] = rest - own;
    const ROW_SUM<D> sum = ops_.addRow(arrays_, row, one ? std::int8_t{-1} : std::int8_t{0});
    arrays_.delta[p] = wrapping_negate(delta);
    lowest_ =
        sum.low == rest && rest != MAX ? ops_.lowest(arrays_) : std::min(sum.low, arrays_.delta[p]);
    if (sizeof(E) == 8) wide_ = sum.wide || is_wide(arrays_.delta[p]);
    if (sum.overflow) record.overflow = 1;
}

/** The same and all else that a step does to every bit, in one sweep. */
template <class E, class D>
void CPU_BLOCK<E, D>::sweepRow(int p, bool one, bool counts_down) {
    const CPU_ROWS<E>& rows = *launch_.rows;
    const std::int8_t sign = one ? -1 : 0;
    D* const delta = arrays_.delta;
    delta[p] = -delta[p];
    const SWEEPS<D>* sweeps = &ops_.summed;
    const void* row = nullptr;
    switch (rows.form()) {
        case ROW_FORM::RECORD: {
            row = rows.row(record.selected);
            sweeps = &ops_.record_rows;
            const D own = static_cast<const E*>(row)[p];
            delta[p] -= (arrays_.ones[p] ^ sign) != 0 ? -own : own;  // which the sweep will add
            break;
        }
        case ROW_FORM::BYTES:
            row = rows.row(record.selected);
            sweeps = &ops_.byte_rows;
            break;
        case ROW_FORM::WORDS:
            row = rows.row(record.selected);
            sweeps = &ops_.word_rows;
            break;
        case ROW_FORM::LISTS: {
            const LIST_ENTRY<E>* const begin = rows.begin(record.selected);
            const LIST_ENTRY<E>* const end = rows.end(record.selected);
            if (!counts_down && touches_few_spans(end - begin, launch_.size)) {
                lowest_ = ops_.flipList(arrays_, begin, end, p, sign, spans_known_);
                spans_known_ = true;
                surveyed_ = SURVEY_FOR::NOTHING;
                return;
            }
            addList(arrays_, begin, end, sign);
            spans_known_ = false;
            break;
        }
    }
    surveyed_ = !counts_down               ? SURVEY_FOR::NOTHING
                : record.type.A == MAX_MIN ? SURVEY_FOR::MAX_MIN
                                           : SURVEY_FOR::POSITIVE_MIN;
    const auto sweep = surveyed_ == SURVEY_FOR::NOTHING   ? sweeps->nothing
                       : surveyed_ == SURVEY_FOR::MAX_MIN ? sweeps->max_min
                                                          : sweeps->positive_min;
    sweep_ = sweep(arrays_, row, sign);
    lowest_ = sweep_.low;
}

template <class E, class D>
void CPU_BLOCK<E, D>::flipBit(bool searching) {
    const bool counts_down = searching && counts_tabu_down(record.type.A);
    const int p = place(record.selected);
    const bool one = arrays_.ones[p] != 0;
    const D delta = arrays_.delta[p];
    record.flip_sign = one ? 1 : -1;
    arrays_.tabu[p] = tenure(record.step, first_tenure(launch_.size), launch_.params->tabu_cycles);
    if (calm_) {
        sweepRow(p, one, counts_down);
    } else {
        addRow(p, one);
        if (counts_down) ops_.countTabuDown(arrays_);
    }

    const D energy = static_cast<D>(record.energy);
    const D new_energy = wrapping_add(energy, delta);
    if (energy_overflows(energy, delta, new_energy) || delta == BLOCK_RECORD<D>::LOWEST)
        record.overflow = 1;
    record.energy = new_energy;
    ++record.flips;
    ++record.step;
    arrays_.ones[p] = static_cast<std::int8_t>(~arrays_.ones[p]);
    arrays_.differs[p] = static_cast<std::int8_t>(~arrays_.differs[p]);
}

/** Whether energy + delta may leave 64 bits for some bit; only models near that range get here. */
template <class E, class D>
bool CPU_BLOCK<E, D>::mayWrap() const {
    return wide_ || record.energy >= WIDE<std::int64_t> || record.energy <= -WIDE<std::int64_t>;
}

/** Lowest of energy + m over the threads, m being a thread's lowest delta, with wrapping sums. */
template <class E, class D>
NEIGHBOUR CPU_BLOCK<E, D>::lowestWrappedNeighbour() const {
    const SHAPE& shape = arrays_.shape;
    NEIGHBOUR best{NO_ENERGY, 0};
    for (int t = 0; t < shape.threads; ++t) {
        int own = 0;
        for (int c = 1; c < shape.own; ++c)
            if (arrays_.delta[c * shape.threads + t] < arrays_.delta[own * shape.threads + t])
                own = c;
        const std::int64_t energy =
            wrapping_add<std::int64_t>(record.energy, arrays_.delta[own * shape.threads + t]);
        if (energy <= best.energy) best = {energy, t * shape.own + own};
    }
    return best;
}

template <class E, class D>
bool CPU_BLOCK<E, D>::trackBest() {
    const bool wraps = mayWrap();
    const NEIGHBOUR neighbour =
        wraps ? lowestWrappedNeighbour() : NEIGHBOUR{record.energy + lowest_, 0};
    record.best_candidate = std::min(neighbour.energy, record.best_energy);
    if (record.best_candidate == record.best_energy) return false;
    std::copy_n(arrays_.ones, arrays_.shape.size, best_);
    record.selected = wraps ? neighbour.bit : ops_.find(arrays_, lowest_);
    best_[place(record.selected)] = static_cast<std::int8_t>(~best_[place(record.selected)]);
    record.best_energy = record.best_candidate;
    record.best_time = global_timer();
    return true;
}

template class CPU_BLOCK<std::int32_t, std::int32_t>;
template class CPU_BLOCK<std::int32_t, std::int64_t>;
template class CPU_BLOCK<std::int64_t, std::int64_t>;

}  // namespace orvex::device
