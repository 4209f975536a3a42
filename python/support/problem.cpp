// Problems: made of arrays, terms and files, what is known of them, their energies.
#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <string_view>

#include "support.hpp"
#include "toolkit/io/formats/decimal.hpp"
#include "toolkit/io/formats/input_file.hpp"
#include "toolkit/model/build.hpp"
#include "toolkit/model/scaling.hpp"
#include "toolkit/run/run_settings.hpp"

using namespace orvex::python;
using namespace orvex::toolkit;

namespace {

constexpr Problem* NO_PROBLEM = nullptr;
constexpr double NO_ENERGY = std::numeric_limits<double>::quiet_NaN();

Problem* kept(Problem problem) {
    return std::make_unique<Problem>(std::move(problem)).release();
}

}  // namespace

/** What is known of a problem. */
struct ORVEX_PYTHON_FACTS {
    std::int64_t size, nonzero;
    std::int64_t smallest, largest;  ///< weights, with 0 among them
};

/** Memory of a run, in bytes. */
struct ORVEX_PYTHON_PLAN {
    std::int64_t model;   ///< of the problem itself, which is there
    std::int64_t run;     ///< of the library, at its peak
    std::int64_t loaded;  ///< of that, what the library has loaded already
};

/** @param type of an element: "i1" for a byte with a sign, ..., "u8" for 64 bits without one */
ORVEX_PYTHON_API Problem* orvex_python_from_matrix(std::uint32_t n, const char* type,
                                                   const void* elements) {
    return guarded(NO_PROBLEM, [&] {
        const std::string_view name = type;
        const auto made = [&]<class T>(const T*) {
            return kept(problem_of_matrix(static_cast<int>(n), static_cast<const T*>(elements)));
        };
        if (name == "i1") return made(static_cast<const std::int8_t*>(nullptr));
        if (name == "i2") return made(static_cast<const std::int16_t*>(nullptr));
        if (name == "i4") return made(static_cast<const std::int32_t*>(nullptr));
        if (name == "i8") return made(static_cast<const std::int64_t*>(nullptr));
        if (name == "u1") return made(static_cast<const std::uint8_t*>(nullptr));
        if (name == "u2") return made(static_cast<const std::uint16_t*>(nullptr));
        if (name == "u4") return made(static_cast<const std::uint32_t*>(nullptr));
        if (name == "u8") return made(static_cast<const std::uint64_t*>(nullptr));
        throw InputError("there are no elements of type " + std::string(name));
    });
}

/** The sum of terms; the two variables of each stand side by side. */
ORVEX_PYTHON_API Problem* orvex_python_from_terms(std::uint32_t n, std::uint64_t count,
                                                  const std::uint32_t* pairs,
                                                  const std::int64_t* values) {
    return guarded(NO_PROBLEM, [&] {
        return kept(problem_of_terms(static_cast<int>(n), {pairs, 2 * count}, {values, count}));
    });
}

/** The sum of real terms, and how integers were made of it. */
ORVEX_PYTHON_API Problem* orvex_python_from_real_terms(std::uint32_t n, std::uint64_t count,
                                                       const std::uint32_t* pairs,
                                                       const double* values, Scaling* scaling) {
    return guarded(NO_PROBLEM, [&] {
        return kept(problem_of_real_terms(static_cast<int>(n), {pairs, 2 * count}, {values, count},
                                          *scaling));
    });
}

/** The upper triangle of a matrix of real numbers, and how integers were made of it. */
ORVEX_PYTHON_API Problem* orvex_python_from_real_triangle(std::uint32_t n, const double* elements,
                                                          Scaling* scaling) {
    return guarded(NO_PROBLEM, [&] {
        return kept(problem_of_real_triangle(static_cast<int>(n), elements, *scaling));
    });
}

/** The energy of a solution by real terms; no number where it cannot be added up. */
ORVEX_PYTHON_API double orvex_python_energy_of_terms(std::uint32_t n, std::uint64_t count,
                                                     const std::uint32_t* pairs,
                                                     const double* values,
                                                     const std::uint64_t* words) {
    return guarded(NO_ENERGY, [&] {
        return real_energy({pairs, 2 * count}, {values, count},
                           solution_of(static_cast<int>(n), words));
    });
}

/** The same by a square matrix, all of whose elements count. */
ORVEX_PYTHON_API double orvex_python_energy_of_matrix(std::uint32_t n, const double* elements,
                                                      const std::uint64_t* words) {
    return guarded(NO_ENERGY, [&] {
        const int size = static_cast<int>(n);
        return real_energy(size, elements, solution_of(size, words));
    });
}

/**
 * The weights of a problem that are not 0, as orvex_python_from_terms() takes them.
 *
 * @param pairs, values have room for as many as the facts tell
 */
ORVEX_PYTHON_API void orvex_python_terms(const Problem* problem, std::uint32_t* pairs,
                                         std::int64_t* values) {
    problem->weights.for_each([&](int i, int j, long weight) {
        *pairs++ = static_cast<std::uint32_t>(i);
        *pairs++ = static_cast<std::uint32_t>(j);
        *values++ = weight;
    });
}

/**
 * A file in any format.
 *
 * @param format its name; empty to go by the contents
 * @param instance, penalty null where they are not given
 * @param sense "min", "max", or empty where it is not given
 * @param scale "auto", "exact" or a factor
 */
ORVEX_PYTHON_API Problem* orvex_python_from_file(const char* path, const char* format,
                                                 const std::int64_t* instance,
                                                 const std::int64_t* penalty, const char* sense,
                                                 const char* scale) {
    return guarded(NO_PROBLEM, [&] {
        ReadOptions options{.format = format};
        if (instance != nullptr) options.instance = *instance;
        if (penalty != nullptr) options.penalty = *penalty;
        if (*sense != '\0') options.maximised = std::string_view(sense) == "max";
        options.scale = Scale::of(scale);
        InputFile file(path, options);
        return kept(file.read());
    });
}

/** What the numbers of a problem's file mean, and what is odd about it: lines "name=value". */
ORVEX_PYTHON_API const char* orvex_python_source(const Problem* problem) {
    thread_local std::string text;
    const Convention& known = problem->convention;
    text = "format=" + known.format + "\nindex_base=" + std::to_string(known.index_base) +
           "\nfactor=" + std::to_string(known.factor) + "\nsense=" + known.sense() +
           "\noffset=" + known.offset_text() + "\nequation=" + known.equation() +
           "\nnote=" + known.note + "\nscale=" +
           (known.decimals > 0 ? to_string(power_of_ten(known.decimals)) : to_string(known.scale)) +
           "\nlargest_error=" + to_string(known.largest_error) +
           "\nreals=" + std::to_string(problem->reals ? problem->reals->values.size() : 0);
    for (const std::string& warning : problem->warnings)
        text += "\nwarning=" + warning;
    return text.c_str();
}

/**
 * The coefficients that the weights of a problem were rounded from.
 *
 * @param pairs, values have room for as many as the source tells of
 */
ORVEX_PYTHON_API void orvex_python_reals(const Problem* problem, std::uint32_t* pairs,
                                         double* values) {
    if (!problem->reals) return;
    std::copy(problem->reals->pairs.begin(), problem->reals->pairs.end(), pairs);
    std::copy(problem->reals->values.begin(), problem->reals->values.end(), values);
}

ORVEX_PYTHON_API void orvex_python_free(Problem* problem) {
    delete problem;
}

ORVEX_PYTHON_API void orvex_python_facts(const Problem* problem, ORVEX_PYTHON_FACTS* facts) {
    *facts = {.size = problem->size,
              .nonzero = problem->nonzero,
              .smallest = std::min(problem->smallest_weight, 0L),
              .largest = std::max(problem->largest_weight, 0L)};
}

/** What a search with these options takes in the library. Nonzero where there can be none. */
ORVEX_PYTHON_API int orvex_python_plan(const Problem* problem, const ORVEX_PYTHON_OPTIONS* options,
                                       ORVEX_PYTHON_PLAN* plan) {
    return guarded(1, [&] {
        const RunSettings settings = settings_for(options_of(*problem, *options), *problem);
        const std::optional<orvex::Plan> run =
            problem->plan(settings.arithmetic_bits, plan_request_of(settings));
        if (!run && problem->weights.stated_sparse()) {  // presolve or the companion need no band
            *plan = {};
            return 0;
        }
        if (!run)
            throw InputError("this build of the library cannot solve " +
                             std::to_string(problem->size) + " variables with coefficients of " +
                             std::to_string(problem->width) + " bits and energies of " +
                             std::to_string(settings.arithmetic_bits));
        const bool loaded = problem->residency.claimed();
        *plan = {
            .model = static_cast<std::int64_t>(problem->model_bytes()),
            .run = static_cast<std::int64_t>(run->host_bytes()),
            .loaded = loaded ? static_cast<std::int64_t>(run->matrix_bytes + run->rows_bytes) : 0};
        return 0;
    });
}

/** An energy of a problem that can be searched, so that it fits. */
ORVEX_PYTHON_API std::int64_t orvex_python_energy(const Problem* problem,
                                                  const std::uint64_t* words) {
    const orvex::Sol solution = solution_of(problem->size, words);
    return static_cast<std::int64_t>(problem->weights.energy(solution));
}
