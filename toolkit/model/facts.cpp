// One sweep over the rows, of a matrix in the width that they are stored in. Invariant: partial
// sums are formed over stretches so short that their type cannot overflow; so a compiler makes
// vectors of them, and nothing is lost.
#include "toolkit/model/facts.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace orvex::toolkit {
namespace {

/** Of some elements of a row. */
struct Facts {
    Wide sum = 0;
    Wide positive = 0;  ///< sum of the positive ones
    long count = 0;     ///< that are not 0
    long smallest = 0, largest = 0;
};

/** What sums over a stretch are formed in, and how many elements of an Element it can hold. */
template <class Element>
struct Partial {
    using Type = std::int64_t;
    static constexpr std::size_t COUNT = std::size_t{1} << 31;
};
template <>
struct Partial<std::int8_t> {
    using Type = std::int16_t;
    static constexpr std::size_t COUNT = std::size_t{1} << 8;
};
template <>
struct Partial<std::int16_t> {
    using Type = std::int32_t;
    static constexpr std::size_t COUNT = std::size_t{1} << 16;
};
template <>
struct Partial<std::int64_t> {
    using Type = Wide;
    static constexpr std::size_t COUNT = std::size_t{1} << 63;
};

template <class Element>
void add_stretch(Facts& facts, const Element* elements, std::size_t count) {
    using Part = typename Partial<Element>::Type;
    using Range = std::conditional_t<sizeof(Element) < 4, Part, Element>;
    Part sum = 0, positive = 0;
    Range present = 0, smallest = 0, largest = 0;
    for (std::size_t j = 0; j < count; ++j) {
        const Part value = elements[j];
        sum = static_cast<Part>(sum + value);
        positive = static_cast<Part>(positive + (value > 0 ? value : Part{0}));
        present = static_cast<Range>(present + (elements[j] != 0));
        smallest = std::min<Range>(smallest, elements[j]);
        largest = std::max<Range>(largest, elements[j]);
    }
    facts.sum += sum;
    facts.positive += positive;
    facts.count += present;
    facts.smallest = std::min<long>(facts.smallest, smallest);
    facts.largest = std::max<long>(facts.largest, largest);
}

template <class Element>
void add_elements(Facts& facts, const Element* elements, std::size_t count) {
    constexpr std::size_t STRETCH = Partial<Element>::COUNT;
    for (std::size_t from = 0; from < count; from += STRETCH)
        add_stretch(facts, elements + from, std::min(STRETCH, count - from));
}

template <class Element>
void take_facts_of(Problem& problem) {
    const auto n = static_cast<std::size_t>(problem.size);
    const auto* const rows =
        reinterpret_cast<const Element*>(problem.weights.matrix().impl().mat.data.get());
    RowSums sums(problem.size);
    Facts all;  // each coupling twice
    long linear_terms = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const Element* const row = rows + i * n;
        Facts facts;
        add_elements(facts, row, i);
        add_elements(facts, row + i + 1, n - i - 1);
        sums.set(static_cast<int>(i), row[i], facts.positive, facts.sum - facts.positive);
        all.sum += facts.sum;
        all.positive += facts.positive;
        all.count += facts.count;
        all.smallest = std::min(all.smallest, facts.smallest);
        all.largest = std::max(all.largest, facts.largest);
        linear_terms += row[i] != 0;
        problem.smallest = std::min<long>(problem.smallest, row[i]);
        problem.largest = std::max<long>(problem.largest, row[i]);
    }
    problem.smallest = std::min(problem.smallest, all.smallest);
    problem.largest = std::max(problem.largest, all.largest);
    problem.couplings = {.count = all.count / 2,
                         .positive = all.positive / 2,
                         .negative = (all.sum - all.positive) / 2,
                         .largest = std::max(Wide{all.largest}, -Wide{all.smallest})};
    problem.nonzero = problem.couplings.count + linear_terms;
    problem.bound = sums.bound();
}

Wide largest_coupling(const SparseQubo& qubo) {
    Wide largest = 0;
    for (const long weight : qubo.weights)
        largest = std::max(largest, weight < 0 ? -Wide{weight} : Wide{weight});
    return largest;
}

/** What entries of a problem there are is what its weights are, where no file says otherwise. */
void take_entries(Problem& problem) {
    problem.entries = problem.nonzero;
    problem.smallest_weight = problem.smallest;
    problem.largest_weight = problem.largest;
}

}  // namespace

void take_facts(Problem& problem) {
    const Model::Impl& model = problem.weights.matrix().impl();
    problem.size = model.size;
    problem.width = model.bits;
    switch (model.bits) {
        case 8:
            take_facts_of<std::int8_t>(problem);
            break;
        case 16:
            take_facts_of<std::int16_t>(problem);
            break;
        case 32:
            take_facts_of<std::int32_t>(problem);
            break;
        default:
            take_facts_of<std::int64_t>(problem);
    }
    take_entries(problem);
}

void take_facts(Problem& problem, const SparseQubo& qubo) {
    problem.size = qubo.size();
    RowSums sums(problem.size);
    Couplings twice;  // each coupling from both its ends
    for (int i = 0; i < qubo.size(); ++i) {
        const long linear = qubo.linear[static_cast<std::size_t>(i)];
        Wide positive = 0, negative = 0;
        for (const long weight : qubo.weights_of(i)) {
            (weight < 0 ? negative : positive) += weight;
            problem.smallest = std::min(problem.smallest, weight);
            problem.largest = std::max(problem.largest, weight);
        }
        sums.set(i, linear, positive, negative);
        twice.positive += positive;
        twice.negative += negative;
        problem.nonzero += linear != 0;
        problem.smallest = std::min(problem.smallest, linear);
        problem.largest = std::max(problem.largest, linear);
    }
    problem.couplings = {.count = static_cast<long>(qubo.couplings()),
                         .positive = twice.positive / 2,
                         .negative = twice.negative / 2,
                         .largest = largest_coupling(qubo)};
    problem.nonzero += problem.couplings.count;
    problem.bound = sums.bound();
    problem.width = weight_width(problem.smallest, problem.largest);
    take_entries(problem);
}

}  // namespace orvex::toolkit
