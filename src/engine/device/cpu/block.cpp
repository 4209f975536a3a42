#include "engine/device/cpu/block.hpp"

#include <algorithm>
#include <cassert>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "engine/device/cpu/layout.hpp"
#include "engine/device/cycle.hpp"
#include "engine/device/formulas.hpp"

namespace orvex::device {

namespace {

/** As many bytes as an arena counted, all 0. */
unsigned char* allocate_block(std::size_t bytes) {
    void* memory = std::aligned_alloc(CACHE_LINE, bytes);
    if (!memory) throw std::bad_alloc();
    std::memset(memory, 0, bytes);
    return static_cast<unsigned char*>(memory);
}

template <class N>
std::size_t bytes_of_block(const SHAPE& shape) {
    ARENA counting;
    BLOCK_MEMORY<N>(shape, counting);
    return counting.used();
}

/** What a flip prepares for a search with the rule. */
PREPARE_FOR preparation_for(std::int8_t rule) {
    switch (rule) {
        case MAX_MIN:
            return PREPARE_FOR::MAX_MIN;
        case POSITIVE_MIN:
            return PREPARE_FOR::POSITIVE_MIN;
        case RANDOM_MIN:
            return PREPARE_FOR::RANDOM_MIN;
        default:
            return PREPARE_FOR::NOTHING;
    }
}

/** That one of the functions by what they look up. */
template <class FUNCTIONS>
typename FUNCTIONS::FUNCTION of_rule(const FUNCTIONS& functions, PREPARE_FOR rule) {
    switch (rule) {
        case PREPARE_FOR::MAX_MIN:
            return functions.max_min;
        case PREPARE_FOR::POSITIVE_MIN:
            return functions.positive_min;
        case PREPARE_FOR::RANDOM_MIN:
            return functions.random_min;
        case PREPARE_FOR::NOTHING:
            break;
    }
    return functions.nothing;
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

template <class E, class D, class N>
CPU_BLOCK<E, D, N>::CPU_BLOCK(int block_index, const CPU_LAUNCH<E>& launch)
    : launch_(launch),
      ops_(block_ops<E, N>()),
      memory_(allocate_block(bytes_of_block<N>(SHAPE(launch.size))), &std::free),
      arrays_{.shape = SHAPE(launch.size)} {
    assert(block_index >= 0 && launch.seeds && launch.weights && launch.diagonal);
    assert(launch.rings && launch.ring_size > 0 && launch.device_state && launch.params);
    assert(launch.model_size >= 0 && launch.model_size <= launch.size);
    assert(launch.size % 64 == 0 && launch.size <= 65536);  // places have 16 bits
    ARENA arena(memory_.get());
    const BLOCK_MEMORY<N> placed(arrays_.shape, arena);
    assert(arena.used() == bytes_of_block<N>(arrays_.shape));
    arrays_ = placed.arrays;
    target_ = placed.target;
    best_ = placed.best;
    fillWords();
    tabu_ = TABU_LIST(placed.arrays.barred, placed.barred_until, launch.size);
    bindRows();
    const std::size_t threads = static_cast<std::size_t>(arrays_.shape.threads);
    rng_ = usable_seed(launch.seeds[static_cast<std::size_t>(block_index) * threads]);
    enter();
    reset();
}

template <class E, class D, class N>
platform::BLOCK_TASK::OUTCOME CPU_BLOCK<E, D, N>::advance() {
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

template <class E, class D, class N>
bool CPU_BLOCK<E, D, N>::killed() const {
    return __atomic_load_n(&launch_.device_state->kill, __ATOMIC_RELAXED) != 0;
}

template <class E, class D, class N>
bool CPU_BLOCK<E, D, N>::closing() const {
    return __atomic_load_n(&launch_.device_state->closing, __ATOMIC_RELAXED) != 0;
}

template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::reportWrongType() const {
    for (int t = 0; t < arrays_.shape.threads; ++t)
        std::printf("Type.A=%d\n", record.type.A);
}

// ---- solutions and their bests -------------------------------------------------------------

template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::forgetBest() {
    std::fill_n(best_, arrays_.shape.size, std::int8_t{0});
    record.best_energy = 0;
}

template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::keepCurrent() {
    std::copy_n(arrays_.ones, arrays_.shape.size, best_);
    record.best_energy = 0;
    record.best_time = global_timer();
}

template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::reset() {
    record.energy = 0;
    wide_ = false;
    for (int p = 0; p < arrays_.shape.size; ++p) {
        assert(arithmetic(static_cast<N>(launch_.diagonal[p])) == launch_.diagonal[p]);
        arrays_.delta[p] = static_cast<N>(launch_.diagonal[p]);
        arrays_.ones[p] = 0;
        arrays_.differs[p] = target_[p];
        if (sizeof(E) == 8) wide_ |= is_wide(arrays_.delta[p]);
    }
    tabu_.clear();
    lowest_ = ops_.lowest(arrays_);
    words_known_for_.reset();
}

// ---- flips ---------------------------------------------------------------------------------

/** What follows the last word is neither the lowest nor the highest of anything. */
template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::fillWords() {
    const std::size_t words = BLOCK_MEMORY<N>::words_of(static_cast<std::size_t>(launch_.size));
    for (N* numbers :
         {arrays_.words.low, arrays_.words.free_low, arrays_.words.above, arrays_.words.free_above})
        std::fill_n(numbers, words, std::numeric_limits<N>::max());
    std::fill_n(arrays_.words.free_high, words, std::numeric_limits<N>::min());
}

/** Settles how flips go over the rows, for as long as the block lives. */
template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::bindRows() {
    const bool calm = launch_.rows && launch_.rows->statistics().reach < CALM_REACH<N>;
    if constexpr (sizeof(N) == sizeof(D)) {
        if (!calm) {
            change_deltas_ = &CPU_BLOCK::addTestedRow;
            return;
        }
    }
    // Sums of narrow deltas are never tested: no rows may reach a block that they could overflow.
    assert(calm);
    switch (launch_.rows->form()) {
        case ROW_FORM::RECORD:
            sweeps_ = ops_.record_rows;
            change_deltas_ = &CPU_BLOCK::sweepRecordRow;
            break;
        case ROW_FORM::BYTES:
            sweeps_ = ops_.byte_rows;
            change_deltas_ = &CPU_BLOCK::sweepRow;
            break;
        case ROW_FORM::WORDS:
            sweeps_ = ops_.word_rows;
            change_deltas_ = &CPU_BLOCK::sweepRow;
            break;
        case ROW_FORM::LISTS:
            sweeps_ = ops_.summed;
            change_deltas_ = &CPU_BLOCK::addListedRow;
            keeps_words_ = touches_few_words(launch_.rows->statistics().entries, launch_.size);
            break;
    }
    assert(sweeps_.nothing);  // there are none over the record's rows for deltas narrower than it
}

/** Adds the row of the selected bit, at place p, where sums might leave the range of D. */
template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::addTestedRow(int p, bool one, PREPARE_FOR) {
    assert(p == place(record.selected));
    const E* row = launch_.weights + static_cast<std::size_t>(record.selected) *
                                         static_cast<std::size_t>(launch_.size);
    // The row's own element must not count: the pass is made to leave `rest` in the bit's place,
    // which neither overflows nor is the lowest nor, for common elements, makes the sum wide.
    constexpr N MAX = std::numeric_limits<N>::max();
    const N delta = arrays_.delta[p];
    const N own = static_cast<N>(row[p]);
    N rest = own < 0 ? static_cast<N>(MAX + own) : MAX;
    if (sizeof(E) == 8 && !is_wide(own)) rest = WIDE<N> - 1;
    arrays_.delta[p] = static_cast<N>(rest - own);
    const ROW_SUM<N> sum = ops_.addRow(arrays_, row, one ? std::int8_t{-1} : std::int8_t{0});
    arrays_.delta[p] = wrapping_negate(delta);
    lowest_ =
        sum.low == rest && rest != MAX ? ops_.lowest(arrays_) : std::min(sum.low, arrays_.delta[p]);
    if (sizeof(E) == 8) wide_ = sum.wide || is_wide(arrays_.delta[p]);
    if (sum.overflow) record.overflow = 1;
    prepared_for_ = PREPARE_FOR::NOTHING;
}

/** All that a step does to every bit in one sweep, which looks up what the rule's next selection
 * wants. */
template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::sweep(const void* row, std::int8_t sign, PREPARE_FOR rule) {
    assert(of_rule(sweeps_, rule));
    sweep_ = of_rule(sweeps_, rule)(arrays_, row, sign);
    prepared_for_ = rule;
    lowest_ = sweep_.low;
}

/** Rows of bytes or words do not have the bit's own element. */
template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::sweepRow(int p, bool one, PREPARE_FOR rule) {
    assert(p == place(record.selected));
    N& delta = arrays_.delta[p];
    delta = static_cast<N>(-delta);
    sweep(launch_.rows->row(record.selected), one ? -1 : 0, rule);
}

template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::sweepRecordRow(int p, bool one, PREPARE_FOR rule) {
    assert(p == place(record.selected) && launch_.rows->form() == ROW_FORM::RECORD);
    const std::int8_t sign = one ? -1 : 0;
    const void* const row = launch_.rows->row(record.selected);
    // The sweep will add the row's own element, which must not count.
    const N own = static_cast<N>(static_cast<const E*>(row)[p]);
    N& delta = arrays_.delta[p];
    delta = static_cast<N>(-delta - ((arrays_.ones[p] ^ sign) != 0 ? -own : own));
    sweep(row, sign, rule);
}

/** A short list changes few deltas, and the numbers of few words. */
template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::addListedRow(int p, bool one, PREPARE_FOR rule) {
    const std::int8_t sign = one ? -1 : 0;
    const LIST_ENTRY<E>* const begin = launch_.rows->begin(record.selected);
    const LIST_ENTRY<E>* const end = launch_.rows->end(record.selected);
    assert(begin <= end && end - begin < launch_.size);
    N& delta = arrays_.delta[p];
    delta = static_cast<N>(-delta);
    if (keeps_words_) {
        // The lowest delta of each word is known whatever the rule was.
        const bool known =
            words_known_for_ && (*words_known_for_ == rule || rule == PREPARE_FOR::NOTHING);
        sweep_ = of_rule(ops_.lists, rule)(arrays_, begin, end,
                                           {p, tabu_.freed()[0], tabu_.freed()[1]}, sign, known);
        words_known_for_ = rule;
        prepared_for_ = rule;
        lowest_ = sweep_.low;
        return;
    }
    addList(arrays_, begin, end, sign);
    sweep(nullptr, sign, rule);
}

template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::flipBit(bool searching) {
    const int p = place(record.selected);
    const bool one = arrays_.ones[p] != 0;
    assert(arrays_.ones[p] == 0 || arrays_.ones[p] == -1);
    assert(arrays_.differs[p] == (arrays_.ones[p] ^ target_[p]));
    assert(change_deltas_);  // the rows have been bound
    const D delta = arrays_.delta[p];
    record.flip_sign = one ? 1 : -1;
    const std::uint32_t first = first_tenure(launch_.size);
    tabu_.bar(p, tenure(record.step, first, launch_.params->tabu_cycles), record.step < first);
    if (searching && counts_tabu_down(record.type.A)) tabu_.countDown();
    (this->*change_deltas_)(p, one,
                            searching ? preparation_for(record.type.A) : PREPARE_FOR::NOTHING);

    const D energy = static_cast<D>(record.energy);
    const D new_energy = wrapping_add(energy, delta);
    if (energy_overflows(energy, delta, new_energy) || delta == BLOCK_RECORD<D>::LOWEST)
        record.overflow = 1;
    assert(arrays_.delta[p] == static_cast<N>(wrapping_negate(delta)));
    assert(lowest_ <= arrays_.delta[p]);
    record.energy = new_energy;
    ++record.flips;
    ++record.step;
    arrays_.ones[p] = static_cast<std::int8_t>(~arrays_.ones[p]);
    arrays_.differs[p] = static_cast<std::int8_t>(~arrays_.differs[p]);
}

/** Whether energy + delta may leave 64 bits for some bit; only models near that range get here. */
template <class E, class D, class N>
bool CPU_BLOCK<E, D, N>::mayWrap() const {
    assert(sizeof(E) == 8 || !wide_);
    return wide_ || record.energy >= WIDE<std::int64_t> || record.energy <= -WIDE<std::int64_t>;
}

/** Lowest of energy + m over the threads, m being a thread's lowest delta, with wrapping sums. */
template <class E, class D, class N>
NEIGHBOUR CPU_BLOCK<E, D, N>::lowestWrappedNeighbour() const {
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
    assert(best.bit < shape.size);
    return best;
}

template <class E, class D, class N>
bool CPU_BLOCK<E, D, N>::trackBest() {
    const bool wraps = mayWrap();
    const NEIGHBOUR neighbour =
        wraps ? lowestWrappedNeighbour() : NEIGHBOUR{record.energy + lowest_, 0};
    assert(record.best_energy <= 0);
    record.best_candidate = std::min(neighbour.energy, record.best_energy);
    if (record.best_candidate == record.best_energy) return false;
    std::copy_n(arrays_.ones, arrays_.shape.size, best_);
    record.selected = wraps ? neighbour.bit : ops_.find(arrays_, stored(lowest_));
    assert(wraps || arrays_.delta[place(record.selected)] == stored(lowest_));
    best_[place(record.selected)] = static_cast<std::int8_t>(~best_[place(record.selected)]);
    assert(record.best_candidate < record.best_energy);
    record.best_energy = record.best_candidate;
    record.best_time = global_timer();
    return true;
}

// ---- the choice of a block -----------------------------------------------------------------

template <class E, class D>
std::unique_ptr<platform::BLOCK_TASK> make_block(int block_index, const CPU_LAUNCH<E>& launch) {
    if constexpr (sizeof(E) == sizeof(std::int32_t)) {  // wider elements need wide deltas
        assert(launch.rows);
        const CPU_ROWS<E>& rows = *launch.rows;
        switch (rows.statistics().delta_bits(rows.form(), launch.size, 8 * sizeof(D))) {
            case 16:
                return std::make_unique<CPU_BLOCK<E, D, std::int16_t>>(block_index, launch);
            case 32:
                return std::make_unique<CPU_BLOCK<E, D, std::int32_t>>(block_index, launch);
        }
    }
    return std::make_unique<CPU_BLOCK<E, D>>(block_index, launch);
}

template std::unique_ptr<platform::BLOCK_TASK> make_block<std::int32_t, std::int32_t>(
    int block_index, const CPU_LAUNCH<std::int32_t>& launch);
template std::unique_ptr<platform::BLOCK_TASK> make_block<std::int32_t, std::int64_t>(
    int block_index, const CPU_LAUNCH<std::int32_t>& launch);
template std::unique_ptr<platform::BLOCK_TASK> make_block<std::int64_t, std::int64_t>(
    int block_index, const CPU_LAUNCH<std::int64_t>& launch);

ORVEX_INSTANTIATE_CPU_BLOCKS

}  // namespace orvex::device
