// Exact reductions as an object of their own: what is left of a problem, and the way back.
#include "toolkit/presolve/presolve.hpp"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

#include "support.hpp"

using namespace orvex::python;
using namespace orvex::toolkit;

namespace {

constexpr Presolved* NOT_REDUCED = nullptr;
constexpr Problem* NO_PROBLEM = nullptr;

void copy_words(const orvex::Sol& solution, std::uint64_t* words) {
    std::copy_n(solution.impl().data.get(), solution.impl().words, words);
}

}  // namespace

/** What is known of a reduced problem. Sums are in 64 bits where the problem can be searched. */
struct ORVEX_PYTHON_REDUCED {
    std::int64_t size, couplings;  ///< what is left
    std::int64_t offset;           ///< an energy of the problem is that of what is left plus this
    std::int64_t bound;            ///< no energy of the problem is below, if one is known
    int has_bound;
};

ORVEX_PYTHON_API Presolved* orvex_python_presolve(const Problem* problem, int full) {
    return guarded(NOT_REDUCED, [&] {
        const PresolveEffort effort = full != 0 ? PresolveEffort::FULL : PresolveEffort::AUTO;
        return std::make_unique<Presolved>(presolve(problem->weights.sparse(), {.effort = effort}))
            .release();
    });
}

ORVEX_PYTHON_API void orvex_python_reduced(const Presolved* presolved,
                                           ORVEX_PYTHON_REDUCED* reduced) {
    const std::optional<Wide> bound = presolved->bound();
    *reduced = {.size = presolved->reduced().size(),
                .couplings = static_cast<std::int64_t>(presolved->reduced().couplings()),
                .offset = static_cast<std::int64_t>(presolved->offset()),
                .bound = static_cast<std::int64_t>(bound.value_or(0)),
                .has_bound = bound.has_value()};
}

/** What is left, as a problem; null with a failure where nothing is. */
ORVEX_PYTHON_API Problem* orvex_python_left(const Presolved* presolved) {
    return guarded(NO_PROBLEM, [&] {
        return std::make_unique<Problem>(problem_of(SparseQubo(presolved->reduced()))).release();
    });
}

/** A line "name<tab>variables<tab>seconds" for each rule that took out anything. */
ORVEX_PYTHON_API const char* orvex_python_rules(const Presolved* presolved) {
    thread_local std::string text;
    text.clear();
    for (const RuleUse& use : presolved->rules())
        if (use.nodes > 0)
            text += std::string(use.rule) + '\t' + std::to_string(use.nodes) + '\t' +
                    std::to_string(use.seconds) + '\n';
    return text.c_str();
}

/** Words of a solution of what is left become those of one of the problem. */
ORVEX_PYTHON_API void orvex_python_restore(const Presolved* presolved, const std::uint64_t* words,
                                           std::uint64_t* restored) {
    const orvex::Sol reduced = solution_of(presolved->reduced().size(), words);
    copy_words(solution_of(presolved->restore(bits_of(reduced))), restored);
}

/** The other way round. */
ORVEX_PYTHON_API void orvex_python_project(const Presolved* presolved, const std::uint64_t* words,
                                           std::uint64_t* projected) {
    const orvex::Sol original = solution_of(presolved->original_size(), words);
    copy_words(solution_of(presolved->project(bits_of(original))), projected);
}

ORVEX_PYTHON_API void orvex_python_free_presolved(Presolved* presolved) {
    delete presolved;
}
