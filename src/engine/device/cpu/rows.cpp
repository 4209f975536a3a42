#include "engine/device/cpu/rows.hpp"

#include <algorithm>
#include <cassert>
#include <system_error>
#include <thread>
#include <type_traits>

#include "engine/device/cpu/row_sources.hpp"
#include "platform/platform.hpp"

namespace orvex::device {

namespace {

/** Threads that look at or write rows, at most; memory is their limit, not processors. */
constexpr int MOST_SHARES = 16;

void release_memory(void* memory) {
    if (memory) platform::release(memory);
}

/**
 * Calls work(first, last, share) for shares of the rows, on as many threads as there are processors
 * where the matrix is large: what is done here runs in front of a search.
 */
template <class WORK>
void share_rows(int size, WORK work) {
    const int shares = size < 2048 ? 1 : std::min(platform::usable_processors(), MOST_SHARES);
    assert(shares >= 1 && shares <= MOST_SHARES);
    std::vector<std::thread> threads;
    const auto work_on = [=](int share) {
        work(static_cast<int>(std::int64_t{size} * share / shares),
             static_cast<int>(std::int64_t{size} * (share + 1) / shares), share);
    };
    for (int share = 1; share < shares; ++share)
        try {
            threads.emplace_back(work_on, share);
        } catch (const std::system_error&) {  // no thread is left
            work_on(share);
        }
    work_on(0);
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace

template <class E>
CPU_ROWS<E>::CPU_ROWS(int size, const E* weights)
    : weights_(weights),
      size_(size),
      memory_(nullptr, &release_memory),
      dense_(reinterpret_cast<const unsigned char*>(weights)),
      row_bytes_(static_cast<std::size_t>(size) * sizeof(E)) {}

template <class E>
CPU_ROWS<E>::CPU_ROWS(const E* weights, int size, const Model::Impl& model)
    : CPU_ROWS(size, weights) {
    assert(model.size <= size);
    const std::size_t rows = static_cast<std::size_t>(model.size);
    const WRITTEN_PAGES pages(model.mat.data.get(), rows * rows * model.mat.bytes);
    with_element_type(model, [&](auto* type) {
        using X = std::remove_cvref_t<decltype(*type)>;
        const MODEL_SOURCE<E, X> source(model, pages, size);
        const std::vector<std::uint32_t> lengths = look(source);
        take(source, statistics_.best_form(size), lengths);
    });
}

template <class E>
CPU_ROWS<E>::CPU_ROWS(const E* weights, int size) : CPU_ROWS(size, weights) {
    const RECORD_SOURCE<E> source(weights, size);
    const std::vector<std::uint32_t> lengths = look(source);
    take(source, statistics_.best_form(size), lengths);
}

template <class E>
CPU_ROWS<E>::CPU_ROWS(const E* weights, int size, ROW_FORM form) : CPU_ROWS(size, weights) {
    const RECORD_SOURCE<E> source(weights, size);
    const std::vector<std::uint32_t> lengths = look(source);
    take(source, form, lengths);
}

/** Settles what is known of the rows as a whole; returns how long each is as a list. */
template <class E>
template <class SOURCE>
std::vector<std::uint32_t> CPU_ROWS<E>::look(const SOURCE& source) {
    std::vector<std::uint32_t> lengths(static_cast<std::size_t>(size_));
    ROW_STATISTICS of_shares[MOST_SHARES];
    share_rows(size_, [&](int first, int last, int share) {
        ROW_STATISTICS statistics;
        for (int i = first; i < last; ++i)
            lengths[static_cast<std::size_t>(i)] = source.look(i, statistics);
        of_shares[share] = statistics;
    });
    for (const ROW_STATISTICS& statistics : of_shares)
        statistics_.add(statistics.widest, statistics.entries, statistics.reach);
    return lengths;
}

template <class E>
template <class SOURCE>
void CPU_ROWS<E>::take(const SOURCE& source, ROW_FORM form,
                       const std::vector<std::uint32_t>& lengths) {
    static_assert(sizeof(LIST_ENTRY<E>) == 2 * sizeof(E));
    const std::size_t bytes = statistics_.bytes(form, size_, sizeof(E));
    if (bytes == 0) return;
    void* memory = nullptr;
    if (platform::allocate_zeros(&memory, bytes) != platform::cudaSuccess) return;
    memory_.reset(memory);
    form_ = form;
    assert(form != ROW_FORM::BYTES || statistics_.widest <= 127);
    assert(form != ROW_FORM::WORDS || statistics_.widest <= 32767);
    if (form == ROW_FORM::BYTES) narrowRows<std::int8_t>(source);
    if (form == ROW_FORM::WORDS) narrowRows<std::int16_t>(source);
    if (form == ROW_FORM::LISTS) listRows(source, lengths);
}

template <class E>
template <class NARROW, class SOURCE>
void CPU_ROWS<E>::narrowRows(const SOURCE& source) {
    const std::size_t size = static_cast<std::size_t>(size_);
    NARROW* const rows = static_cast<NARROW*>(memory_.get());
    share_rows(size_, [=](int first, int last, int) {
        for (int i = first; i < last; ++i)
            source.write(i, rows + static_cast<std::size_t>(i) * size);
    });
    dense_ = static_cast<const unsigned char*>(memory_.get());
    row_bytes_ = size * sizeof(NARROW);
}

template <class E>
template <class SOURCE>
void CPU_ROWS<E>::listRows(const SOURCE& source, const std::vector<std::uint32_t>& lengths) {
    std::uint64_t* const starts = static_cast<std::uint64_t*>(memory_.get());
    LIST_ENTRY<E>* const entries = reinterpret_cast<LIST_ENTRY<E>*>(starts + size_ + 1);
    for (int i = 0; i < size_; ++i)
        starts[i + 1] = starts[i] + lengths[static_cast<std::size_t>(i)];
    assert(starts[size_] == statistics_.entries);
    share_rows(size_, [=](int first, int last, int) {
        for (int i = first; i < last; ++i) {
            [[maybe_unused]] const LIST_ENTRY<E>* const end = source.list(i, entries + starts[i]);
            assert(end == entries + starts[i + 1]);
        }
    });
    starts_ = starts;
    entries_ = entries;
}

template class CPU_ROWS<std::int32_t>;
template class CPU_ROWS<std::int64_t>;

}  // namespace orvex::device
