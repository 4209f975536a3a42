// What a run of a problem takes on this build and this machine.
#include <array>
#include <optional>

#include "orvex/registry.hpp"

#include "machine.hpp"
#include "search_cycles.hpp"
#include "support.hpp"

namespace orvex::python {

std::string& last_error() {
    thread_local std::string text;
    return text;
}

namespace {

/** The band that the library takes: least size, then narrowest weights, then narrowest energies. */
std::optional<cli::Band> band_for(int size, int width, int arithmetic_bits) {
    std::optional<cli::Band> best;
    for (int k = 0; k < qubo_multi::band_count(); ++k) {
        cli::Band band{};
        qubo_multi::band_at(k, band.size, band.matrix_bits, band.arithmetic_bits);
        if (band.size < size || band.matrix_bits < width || band.arithmetic_bits < arithmetic_bits)
            continue;
        const auto rank = [](const cli::Band& b) {
            return std::array{b.size, b.matrix_bits, b.arithmetic_bits};
        };
        if (!best || rank(band) < rank(*best)) best = band;
    }
    return best;
}

}  // namespace
}  // namespace orvex::python

using namespace orvex::python;

/** What is known of a problem and of its run; sizes in bytes. */
struct ORVEX_PYTHON_FACTS {
    std::int64_t size, nonzero, smallest, largest, width, proven_bits;
    std::int64_t band_size, band_matrix_bits, band_arithmetic_bits;  ///< 0 if no band holds it
    std::int64_t loading_band;                                       ///< 0 if none takes it first
    std::int64_t memory_terms, memory_model, memory_bands;
};

ORVEX_PYTHON_API const char* orvex_python_error() {
    return last_error().c_str();
}

ORVEX_PYTHON_API std::int64_t orvex_python_machine_memory() {
    return orvex::cli::machine_memory();
}

ORVEX_PYTHON_API std::int64_t orvex_python_free_memory() {
    return orvex::cli::free_memory();
}

/**
 * What a run takes.
 *
 * @param arithmetic_bits the width of energies that is asked for; 0 for the least proven one
 */
ORVEX_PYTHON_API void orvex_python_facts(const PROBLEM* problem, int arithmetic_bits,
                                         ORVEX_PYTHON_FACTS* facts) {
    const orvex::cli::Problem& known = problem->facts;
    // Loading goes to the band of default energies, the search to that of the width it needs.
    const auto loading = band_for(known.size, known.width, known.width == 64 ? 64 : 32);
    const int fillers = loading ? loading->size - known.size : 0;
    *facts = ORVEX_PYTHON_FACTS{};
    facts->size = known.size;
    facts->nonzero = known.nonzero;
    facts->smallest = known.smallest;
    facts->largest = known.largest;
    facts->width = known.width;
    facts->proven_bits = known.bound.bits(fillers);
    const int bits = arithmetic_bits > 0 ? arithmetic_bits : static_cast<int>(facts->proven_bits);
    const auto band = band_for(known.size, known.width, bits);
    facts->loading_band = loading ? loading->size : 0;
    const auto rows = std::visit([](const auto& all) { return all.bytes(); }, problem->rows);
    facts->memory_terms =
        static_cast<std::int64_t>(rows) + (known.couplings.count + known.size) * 16;
    if (!band || !loading) return;
    facts->band_size = band->size;
    facts->band_matrix_bits = band->matrix_bits;
    facts->band_arithmetic_bits = band->arithmetic_bits;
    const orvex::cli::Memory memory = orvex::cli::memory_of_run(known.size, known.width, *band);
    facts->memory_model = memory.model;
    const auto rows = orvex::cli::rows_of_run(*band, known.couplings);
    facts->memory_bands = memory.record + memory.rest + (rows ? rows->memory : 0);
    if (loading->name() != band->name())
        facts->memory_bands += orvex::cli::memory_of_run(known.size, known.width, *loading).record;
}

/** The command-line caller's search cycles for a problem; empty to leave them to the engine. */
ORVEX_PYTHON_API const char* orvex_python_search_cycles(const PROBLEM* problem) {
    thread_local std::string text;
    text = orvex::cli::choose_search_cycles(problem->size, problem->facts.couplings);
    return text.c_str();
}
