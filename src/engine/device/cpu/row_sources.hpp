// Where the rows of CPU blocks come from: the model itself, or a matrix record that is filled
// already. A source looks at a row, and writes it in row order as a dense row or as a list; zeros
// are passed over in bulk, since most elements of a large model are 0.
#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "orvex/model.hpp"

#include "engine/device/model_rows.hpp"
#include "engine/device/row_form.hpp"
#include "engine/device/shape.hpp"
#include "problem/written_pages.hpp"

namespace orvex::device {

/** What is known of a row after a look at it. */
struct ROW_LOOK {
    std::uint64_t widest = 0;  ///< largest magnitude off the diagonal
    std::uint32_t length = 0;  ///< elements off the diagonal that are not 0
    /** Sum of all magnitudes; those of 64 bits are added without their low bits, so that 65536 of
     * them fit. */
    std::uint64_t sum = 0;
};

inline constexpr int LOW_BITS = 16;

template <class X>
std::uint64_t magnitude_of(X element) {
    const auto value = static_cast<std::uint64_t>(static_cast<std::int64_t>(element));
    return element < 0 ? 0 - value : value;
}

/** As it is added to a row's sum. */
template <class X>
std::uint64_t summand_of(X element) {
    return sizeof(X) == 8 ? magnitude_of(element) >> LOW_BITS : magnitude_of(element);
}

/** Elements that are looked at together. */
template <class X>
inline constexpr int LINE = static_cast<int>(256 / sizeof(X));

template <class X>
bool is_zero(const X* line) {
    X any = 0;
    for (int k = 0; k < LINE<X>; ++k)
        any |= line[k];
    return any == 0;
}

/** Adds a line to a look. Its sums are as narrow as a line allows, for loops of wide vectors. */
template <class X>
void look_at_line(const X* line, int count, ROW_LOOK& look) {
    using U = std::make_unsigned_t<X>;
    using SUM = std::conditional_t<(sizeof(X) < 4), std::uint32_t, std::uint64_t>;
    U widest = 0;
    SUM sum = 0;
    std::uint32_t length = 0;
    for (int k = 0; k < count; ++k) {
        const U bits = static_cast<U>(line[k]);
        const U magnitude = line[k] < 0 ? static_cast<U>(U{0} - bits) : bits;
        sum += static_cast<SUM>(sizeof(X) == 8 ? std::uint64_t{magnitude} >> LOW_BITS : magnitude);
        length += magnitude != 0;
        widest = std::max(widest, magnitude);
    }
    look.widest = std::max<std::uint64_t>(look.widest, widest);
    look.length += length;
    look.sum += sum;
}

template <class X>
void look_at(const X* elements, std::ptrdiff_t count, ROW_LOOK& look) {
    std::ptrdiff_t k = 0;
    for (; k + LINE<X> <= count; k += LINE<X>)
        if (!is_zero(elements + k)) look_at_line(elements + k, LINE<X>, look);
    look_at_line(elements + k, static_cast<int>(count - k), look);
}

/** Calls visit(k) for each element that is not 0. */
template <class X, class VISIT>
void visit_nonzero(const X* elements, std::ptrdiff_t count, VISIT visit) {
    std::ptrdiff_t k = 0;
    for (; k + LINE<X> <= count; k += LINE<X>) {
        if (is_zero(elements + k)) continue;
        for (std::ptrdiff_t i = k; i < k + LINE<X>; ++i)
            if (elements[i] != 0) visit(i);
    }
    for (; k < count; ++k)
        if (elements[k] != 0) visit(k);
}

/** The largest sum in a row that the summands can stand for. */
template <class X>
std::uint64_t reach_of(std::uint64_t sum, int elements) {
    if (sizeof(X) < 8) return sum;
    sum += static_cast<std::uint64_t>(elements);  // what the low bits may have come to
    constexpr int UNITS = 64 - LOW_BITS;
    return sum >> UNITS != 0 ? std::numeric_limits<std::uint64_t>::max() : sum << LOW_BITS;
}

/** The rows of a matrix record. */
template <class E>
class RECORD_SOURCE {
  public:
    RECORD_SOURCE(const E* weights, int size) : weights_(weights), shape_(size) {}

    std::uint32_t look(int i, ROW_STATISTICS& statistics) const {
        const E* const elements = row(i);
        const int own = shape_.place(i);
        ROW_LOOK seen;
        look_at(elements, own, seen);
        look_at(elements + own + 1, shape_.size - own - 1, seen);
        seen.sum += summand_of(elements[own]);
        statistics.add(seen.widest, seen.length, reach_of<E>(seen.sum, shape_.size));
        return seen.length;
    }

    /** `to` is a row of zeros. */
    template <class NARROW>
    void write(int i, NARROW* to) const {
        std::transform(row(i), row(i) + shape_.size, to,
                       [](E element) { return static_cast<NARROW>(element); });
        to[shape_.place(i)] = 0;
    }

    /** Writes the entries in the order of their places; returns the end of them. */
    LIST_ENTRY<E>* list(int i, LIST_ENTRY<E>* to) const {
        const E* const elements = row(i);
        visit_nonzero(elements, shape_.size, [&](std::ptrdiff_t p) {
            if (p != shape_.place(i)) *to++ = {elements[p], static_cast<std::uint16_t>(p)};
        });
        return to;
    }

  private:
    const E* row(int i) const {
        assert(i >= 0 && i < shape_.size);
        return weights_ + static_cast<std::size_t>(i) * static_cast<std::size_t>(shape_.size);
    }

    const E* weights_;
    SHAPE shape_;
};

/** The rows of a model with elements of type X, as a record of elements of type E would have them:
 * after the model's are those of the fillers, which have nothing off the diagonal. */
template <class E, class X>
class MODEL_SOURCE {
  public:
    MODEL_SOURCE(const Model::Impl& model, const WRITTEN_PAGES& pages, int size)
        : model_(model), pages_(pages), shape_(size) {
        assert(model.size <= size && sizeof(X) <= sizeof(E));
    }

    std::uint32_t look(int i, ROW_STATISTICS& statistics) const {
        if (i >= model_.size) {
            statistics.add(0, 0, FILLER);
            return 0;
        }
        const X* const elements = model_row<X>(model_, i);
        ROW_LOOK seen;
        visitStretches(elements, [&](const X* from, const X* to) {
            const X* const own = std::clamp(elements + i, from, to);
            look_at(from, own - from, seen);
            const X* const behind = own == to ? to : own + (own == elements + i);
            look_at(behind, to - behind, seen);
        });
        seen.sum += summand_of(elements[i]);
        statistics.add(seen.widest, seen.length, reach_of<X>(seen.sum, model_.size));
        return seen.length;
    }

    template <class NARROW>
    void write(int i, NARROW* to) const {
        if (i >= model_.size) return;
        permute_row(to, model_row<X>(model_, i), model_.size, shape_);
        to[shape_.place(i)] = 0;
    }

    LIST_ENTRY<E>* list(int i, LIST_ENTRY<E>* to) const {
        if (i >= model_.size) return to;
        const X* const elements = model_row<X>(model_, i);
        LIST_ENTRY<E>* const begin = to;
        visitStretches(elements, [&](const X* from, const X* end) {
            visit_nonzero(from, end - from, [&](std::ptrdiff_t k) {
                const int j = static_cast<int>(from + k - elements);
                if (j != i)
                    *to++ = {static_cast<E>(from[k]), static_cast<std::uint16_t>(shape_.place(j))};
            });
        });
        std::sort(begin, to,
                  [](const LIST_ENTRY<E>& a, const LIST_ENTRY<E>& b) { return a.place < b.place; });
        assert(to - begin < shape_.size);
        return to;
    }

  private:
    /** Calls visit(from, to) for parts of a row that together hold all that is not 0. */
    template <class VISIT>
    void visitStretches(const X* elements, VISIT visit) const {
        pages_.visit(reinterpret_cast<const unsigned char*>(elements),
                     reinterpret_cast<const unsigned char*>(elements + model_.size),
                     [&](const unsigned char* from, const unsigned char* to) {
                         visit(reinterpret_cast<const X*>(from), reinterpret_cast<const X*>(to));
                     });
    }

    const Model::Impl& model_;
    const WRITTEN_PAGES& pages_;
    SHAPE shape_;
};

}  // namespace orvex::device
