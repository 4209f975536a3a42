// Problems from terms and files, and their energies. Sums are formed in 128 bits while the terms
// are gathered; once a problem stands, its bounds are proven to fit into 64.
#include <algorithm>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "support.hpp"
#include "toolkit/io/formats/input_file.hpp"
#include "toolkit/model/machine.hpp"

namespace orvex::python {
namespace {

bool is_set(const std::uint64_t* words, std::size_t i) {
    return words[i / 64] >> (i % 64) & 1;
}

std::int64_t narrowed(Wide number) {
    if (number < std::numeric_limits<std::int64_t>::min() + 1 ||
        number > std::numeric_limits<std::int64_t>::max())
        throw std::range_error("a coefficient of " + toolkit::to_string(number) +
                               " does not fit into 64 bits");
    return static_cast<std::int64_t>(number);
}

std::unique_ptr<PROBLEM> of_size(int size) {
    auto problem = std::make_unique<PROBLEM>();
    problem->size = size;
    problem->linear.resize(static_cast<std::size_t>(size));
    return problem;
}

struct TERM {
    std::uint64_t pair;  ///< the lesser variable above, the greater below
    std::int64_t value;
};

/** One term for each pair, in ascending order. */
std::vector<TERM> summed(std::vector<TERM> terms) {
    std::stable_sort(terms.begin(), terms.end(),
                     [](const TERM& a, const TERM& b) { return a.pair < b.pair; });
    std::vector<TERM> sums;
    for (std::size_t k = 0; k < terms.size();) {
        const std::uint64_t pair = terms[k].pair;
        Wide sum = 0;
        for (; k < terms.size() && terms[k].pair == pair; ++k)
            sum += terms[k].value;
        if (sum != 0) sums.push_back({pair, narrowed(sum)});
    }
    return sums;
}

}  // namespace

std::int64_t PROBLEM::energy(const std::uint64_t* words) const {
    FACTORS ones(linear.size());
    for (std::size_t i = 0; i < ones.size(); ++i)
        ones[i] = is_set(words, i);
    Wide twice = 0;
    std::visit(
        [&](const auto& all) {
            for (std::size_t i = 0; i < ones.size(); ++i)
                if (ones[i] != 0) twice += 2 * Wide{linear[i]} + all.sum(i, ones);
        },
        rows);
    return static_cast<std::int64_t>(twice / 2);
}

/** With d = to - from: the sum over i of d_i (2 linear_i + couplings times (from + to)), halved. */
std::int64_t PROBLEM::energy_change(const std::uint64_t* from, const std::uint64_t* to) const {
    FACTORS both(linear.size());
    for (std::size_t i = 0; i < both.size(); ++i)
        both[i] = static_cast<std::int8_t>(is_set(from, i) + is_set(to, i));
    Wide twice = 0;
    std::visit(
        [&](const auto& all) {
            for (std::size_t i = 0; i < both.size(); ++i)
                if (both[i] == 1)
                    twice += (is_set(to, i) ? 1 : -1) * (2 * Wide{linear[i]} + all.sum(i, both));
        },
        rows);
    return static_cast<std::int64_t>(twice / 2);
}

void PROBLEM::settle() {
    toolkit::RowSums sums(size);
    facts.size = size;
    const auto take_range = [&](std::int64_t smallest, std::int64_t largest) {
        facts.smallest = std::min<long>(facts.smallest, smallest);
        facts.largest = std::max<long>(facts.largest, largest);
    };
    toolkit::Couplings& couplings = facts.couplings;
    std::visit(
        [&](const auto& all) {
            for (std::size_t i = 0; i < linear.size(); ++i) {
                const ROW_FACTS row = all.facts(i);
                sums.set(static_cast<int>(i), linear[i], row.positive, row.negative);
                couplings.count += row.count;
                couplings.positive += row.positive;
                couplings.negative += row.negative;
                take_range(row.smallest, row.largest);
                couplings.largest =
                    std::max({couplings.largest, Wide{row.largest}, -Wide{row.smallest}});
                facts.nonzero += linear[i] != 0;
                take_range(linear[i], linear[i]);
            }
        },
        rows);
    couplings.count /= 2;  // each stands in two rows
    couplings.positive /= 2;
    couplings.negative /= 2;
    facts.nonzero += couplings.count;
    facts.entries = facts.nonzero;
    facts.smallest_weight = facts.smallest;
    facts.largest_weight = facts.largest;
    facts.bound = sums.bound();
    // The lowest weight of 32 bits has no negative there.
    const int width = find_wbit(facts.smallest, facts.largest);
    facts.width =
        width == 32 && facts.smallest == std::numeric_limits<std::int32_t>::min() ? 64 : width;
    if (facts.bound.bits(toolkit::MAX_SIZE) > 64)
        throw std::range_error(
            "energies may lie between " + toolkit::to_string(facts.bound.lowest_energy) + " and " +
            toolkit::to_string(facts.bound.highest_energy) + ", which does not fit into 64 bits");
}

}  // namespace orvex::python

using namespace orvex::python;

/** The sum of terms; variables i and j of each stand side by side and are below n. */
ORVEX_PYTHON_API PROBLEM* orvex_python_from_terms(std::uint32_t n, std::uint64_t count,
                                                  const std::uint32_t* pairs,
                                                  const std::int64_t* values) {
    return guarded<>(static_cast<PROBLEM*>(nullptr), [&] {
        auto problem = of_size(static_cast<int>(n));
        std::vector<TERM> terms(count);
        for (std::size_t k = 0; k < count; ++k) {
            const std::uint64_t i = std::min(pairs[2 * k], pairs[2 * k + 1]);
            const std::uint64_t j = std::max(pairs[2 * k], pairs[2 * k + 1]);
            terms[k] = {i << 32 | j, values[k]};
        }
        const std::vector<TERM> sums = summed(std::move(terms));
        std::int64_t smallest = 0, largest = 0;
        std::size_t couplings = 0;
        for (const TERM& term : sums) {
            const std::size_t i = term.pair >> 32, j = term.pair & 0xFFFFFFFF;
            if (i == j) {
                problem->linear[i] = term.value;
                continue;
            }
            ++couplings;
            smallest = std::min(smallest, term.value);
            largest = std::max(largest, term.value);
        }
        problem->rows = rows_of(n, couplings, smallest, largest, [&](const auto& take) {
            for (const TERM& term : sums)
                if (const std::size_t i = term.pair >> 32, j = term.pair & 0xFFFFFFFF; i != j)
                    take(i, j, term.value);
        });
        problem->settle();
        return problem.release();
    });
}

/**
 * A file in any format, read and validated as the command-line caller does.
 *
 * @param format its name; empty to go by the contents
 * @param instance, penalty null where they are not given
 * @param sense "min", "max", or empty where it is not given
 */
ORVEX_PYTHON_API PROBLEM* orvex_python_from_file(const char* path, const char* format,
                                                 const std::int64_t* instance,
                                                 const std::int64_t* penalty, const char* sense) {
    return guarded<>(static_cast<PROBLEM*>(nullptr), [&] {
        orvex::toolkit::ReadOptions options{.format = format};
        if (instance != nullptr) options.instance = *instance;
        if (penalty != nullptr) options.penalty = *penalty;
        if (*sense != '\0') options.maximised = std::string_view(sense) == "max";
        orvex::toolkit::InputFile file(path, options);
        const long matrix = long{file.size()} * file.size() * (file.width() / 8);
        if (matrix > std::min(orvex::toolkit::machine_memory(), orvex::toolkit::free_memory()))
            throw std::bad_alloc();
        orvex::toolkit::Problem read = file.read();
        auto problem = of_size(read.size);
        for (int i = 0; i < read.size; ++i)
            problem->linear[static_cast<std::size_t>(i)] = read.model->get(i, i);
        // Any element of the model is within the range of its width.
        const std::int64_t largest =
            static_cast<std::int64_t>(~std::uint64_t{0} >> 1) >> (64 - read.width);
        problem->rows = rows_of(
            problem->linear.size(), static_cast<std::size_t>(read.couplings.count), -largest - 1,
            largest, [&](const auto& take) {
                for (int i = 0; i < read.size; ++i)
                    for (int j = i + 1; j < read.size; ++j)
                        if (const long value = read.model->get(i, j); value != 0)
                            take(static_cast<std::size_t>(i), static_cast<std::size_t>(j), value);
            });
        problem->settle();
        problem->facts.convention = std::move(read.convention);
        problem->facts.warnings = std::move(read.warnings);
        return problem.release();
    });
}

/** What the numbers of a problem's file mean, and what is odd about it: lines "name=value". */
ORVEX_PYTHON_API const char* orvex_python_source(const PROBLEM* problem) {
    thread_local std::string text;
    const orvex::toolkit::Convention& known = problem->facts.convention;
    text = "format=" + known.format + "\nindex_base=" + std::to_string(known.index_base) +
           "\nfactor=" + std::to_string(known.factor) + "\nsense=" + known.sense() +
           "\noffset=" + orvex::toolkit::to_string(known.offset) +
           "\nequation=" + known.equation() + "\nnote=" + known.note;
    for (const std::string& warning : problem->facts.warnings)
        text += "\nwarning=" + warning;
    return text.c_str();
}

/** The names of the formats that are read, with commas between them. */
ORVEX_PYTHON_API const char* orvex_python_formats() {
    static const std::string names = orvex::toolkit::format_names();
    return names.c_str();
}

ORVEX_PYTHON_API void orvex_python_free(PROBLEM* problem) {
    delete problem;
}

ORVEX_PYTHON_API std::int64_t orvex_python_energy(const PROBLEM* problem,
                                                  const std::uint64_t* words) {
    return problem->energy(words);
}

ORVEX_PYTHON_API std::int64_t orvex_python_energy_change(const PROBLEM* problem,
                                                         const std::uint64_t* from,
                                                         const std::uint64_t* to) {
    return problem->energy_change(from, to);
}
