#include "engine/device/cpu/rows.hpp"

#include <algorithm>
#include <cassert>
#include <limits>
#include <thread>
#include <type_traits>
#include <vector>

#include "engine/device/shape.hpp"
#include "platform/platform.hpp"

namespace orvex::device {

namespace {

/** Threads that look at or narrow rows, at most; memory is their limit, not processors. */
constexpr int MOST_SHARES = 16;

void release_memory(void* memory) {
    if (memory) platform::release(memory);
}

/** What one row adds to a survey. The sum stops growing where it no longer matters. */
template <class E>
void look_at_row(const E* row, int size, int own, ROW_SURVEY& survey) {
    using U = std::make_unsigned_t<E>;
    U widest = 0;
    std::uint64_t sum = 0;
    std::uint32_t entries = 0;
    for (int p = 0; p < size; ++p) {
        const U magnitude = row[p] < 0 ? U{0} - static_cast<U>(row[p]) : static_cast<U>(row[p]);
        // 64-bit magnitudes are added without their low bits, so that 65536 of them fit.
        sum += sizeof(E) == 8 ? magnitude >> 16 : magnitude;
        entries += magnitude != 0;
        widest = std::max(widest, p == own ? U{0} : magnitude);
    }
    if (sizeof(E) == 8) {
        sum += static_cast<std::uint64_t>(size);  // what the low bits may have come to
        sum = sum >> 48 != 0 ? std::numeric_limits<std::uint64_t>::max() : sum << 16;
    }
    assert(entries <= static_cast<std::uint32_t>(size));
    survey.reach = std::max(survey.reach, sum);
    survey.entries += entries - (row[own] != 0);
    survey.widest = std::max<std::uint64_t>(survey.widest, widest);
}

constexpr int LINE = 16;  ///< elements that are looked at together; every size is a multiple

template <class E>
bool is_zero(const E* line) {
    E any = 0;
    for (int k = 0; k < LINE; ++k)
        any |= line[k];
    return any == 0;
}

/**
 * Calls work(first, last, share) for shares of the rows, on as many threads as there are processors
 * where the matrix is large: what is done here runs in front of a search.
 */
template <class WORK>
int share_rows(int size, WORK work) {
    const int processors = static_cast<int>(std::max(std::thread::hardware_concurrency(), 1u));
    const int shares = size < 4096 ? 1 : std::min(processors, MOST_SHARES);
    assert(shares >= 1 && shares <= MOST_SHARES);
    std::vector<std::thread> threads;
    for (int share = 1; share < shares; ++share)
        threads.emplace_back([=] {
            work(static_cast<int>(std::int64_t{size} * share / shares),
                 static_cast<int>(std::int64_t{size} * (share + 1) / shares), share);
        });
    work(0, size / shares, 0);
    for (std::thread& thread : threads)
        thread.join();
    return shares;
}

}  // namespace

template <class E>
CPU_ROWS<E>::CPU_ROWS(const E* weights, int size)
    : weights_(weights),
      size_(size),
      memory_(nullptr, &release_memory),
      dense_(reinterpret_cast<const unsigned char*>(weights)),
      row_bytes_(static_cast<std::size_t>(size) * sizeof(E)) {
    const SHAPE shape(size);
    ROW_SURVEY surveys[MOST_SHARES];
    const int shares = share_rows(size, [&, shape](int first, int last, int share) {
        for (int i = first; i < last; ++i)
            look_at_row(weights + static_cast<std::size_t>(i) * static_cast<std::size_t>(size),
                        size, shape.place(i), surveys[share]);
    });
    for (int share = 0; share < shares; ++share) {
        survey_.widest = std::max(survey_.widest, surveys[share].widest);
        survey_.reach = std::max(survey_.reach, surveys[share].reach);
        survey_.entries += surveys[share].entries;
    }
    take(survey_.best_form(size));
}

template <class E>
CPU_ROWS<E>::CPU_ROWS(const E* weights, int size, ROW_FORM form) : CPU_ROWS(weights, size) {
    if (form != form_) take(form);
}

template <class E>
void CPU_ROWS<E>::take(ROW_FORM form) {
    static_assert(sizeof(LIST_ENTRY<E>) == 2 * sizeof(E));
    form_ = ROW_FORM::RECORD;
    memory_.reset();
    dense_ = reinterpret_cast<const unsigned char*>(weights_);
    row_bytes_ = static_cast<std::size_t>(size_) * sizeof(E);
    const std::size_t bytes = survey_.bytes(form, size_, sizeof(E));
    if (bytes == 0) return;
    void* memory = nullptr;
    if (platform::allocate(&memory, bytes) != platform::cudaSuccess) return;
    memory_.reset(memory);
    form_ = form;
    assert(form != ROW_FORM::BYTES || survey_.widest <= 127);
    assert(form != ROW_FORM::WORDS || survey_.widest <= 32767);
    if (form == ROW_FORM::BYTES) narrowRows<std::int8_t>();
    if (form == ROW_FORM::WORDS) narrowRows<std::int16_t>();
    if (form == ROW_FORM::LISTS) listRows();
}

template <class E>
template <class NARROW>
void CPU_ROWS<E>::narrowRows() {
    const SHAPE shape(size_);
    const std::size_t size = static_cast<std::size_t>(size_);
    NARROW* rows = static_cast<NARROW*>(memory_.get());
    share_rows(size_, [=, this](int first, int last, int) {
        for (int i = first; i < last; ++i) {
            const E* from = weights_ + static_cast<std::size_t>(i) * size;
            NARROW* row = rows + static_cast<std::size_t>(i) * size;
            for (std::size_t p = 0; p < size; ++p)
                row[p] = static_cast<NARROW>(from[p]);
            assert(std::equal(row, row + shape.place(i), from));
            row[shape.place(i)] = 0;
        }
    });
    dense_ = static_cast<const unsigned char*>(memory_.get());
    row_bytes_ = size * sizeof(NARROW);
}

template <class E>
void CPU_ROWS<E>::listRows() {
    const SHAPE shape(size_);
    std::uint64_t* starts = static_cast<std::uint64_t*>(memory_.get());
    LIST_ENTRY<E>* const entries = reinterpret_cast<LIST_ENTRY<E>*>(starts + size_ + 1);
    std::uint64_t count = 0;
    for (int i = 0; i < size_; ++i) {
        starts[i] = count;
        const E* row = weights_ + static_cast<std::size_t>(i) * static_cast<std::size_t>(size_);
        const int own = shape.place(i);
        for (int line = 0; line < size_; line += LINE) {
            if (is_zero(row + line)) continue;
            for (int p = line; p < line + LINE; ++p)
                if (row[p] != 0 && p != own)
                    entries[count++] = {row[p], static_cast<std::uint16_t>(p)};
        }
    }
    assert(count == survey_.entries);
    starts[size_] = count;
    starts_ = starts;
    entries_ = entries;
}

template class CPU_ROWS<std::int32_t>;
template class CPU_ROWS<std::int64_t>;

}  // namespace orvex::device
