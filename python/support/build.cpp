// What a run of a problem takes on this build and this machine.
#include <algorithm>
#include <array>
#include <limits>
#include <optional>

#ifdef ORVEX_PLATFORM_CUDA
#include <cuda_runtime.h>
#endif

#include "orvex/registry.hpp"

#include "support.hpp"
#include "toolkit/model/machine.hpp"
#include "toolkit/settings/search_settings.hpp"

namespace orvex::python {

std::string& last_error() {
    thread_local std::string text;
    return text;
}

namespace {

/** The band that the library takes: least size, then narrowest weights, then narrowest energies. */
std::optional<toolkit::Band> band_for(int size, int width, int arithmetic_bits) {
    std::optional<toolkit::Band> best;
    for (int k = 0; k < qubo_multi::band_count(); ++k) {
        toolkit::Band band{};
        qubo_multi::band_at(k, band.size, band.matrix_bits, band.arithmetic_bits);
        if (band.size < size || band.matrix_bits < width || band.arithmetic_bits < arithmetic_bits)
            continue;
        const auto rank = [](const toolkit::Band& b) {
            return std::array{b.size, b.matrix_bits, b.arithmetic_bits};
        };
        if (!best || rank(band) < rank(*best)) best = band;
    }
    return best;
}

/** A coefficient and its two variables. */
constexpr std::int64_t TERM_BYTES = 16;

/** A band's matrix, and the narrower rows beside it. */
std::int64_t memory_of_matrices(const toolkit::Problem& problem, const toolkit::Band& band) {
    const auto rows = toolkit::rows_of_run(band, problem.couplings);
    return toolkit::memory_of_run(problem.size, problem.width, band).record +
           (rows ? rows->memory : 0);
}

}  // namespace
}  // namespace orvex::python

using namespace orvex::python;

/** What is known of a problem and of its run; sizes in bytes. */
struct ORVEX_PYTHON_FACTS {
    std::int64_t size, nonzero, smallest, largest, width, proven_bits;
    std::int64_t band_size, band_matrix_bits, band_arithmetic_bits;  ///< 0 if no band holds it
    std::int64_t loading_band;                                       ///< 0 if none takes it first
    std::int64_t memory_rows;                                        ///< of the problem itself
    std::int64_t memory_terms;  ///< that it is handed to the library as, while it is loaded
    std::int64_t memory_model, memory_bands, memory_rest;  ///< of the library
    std::int64_t memory_block;                             ///< one more block than there are
};

ORVEX_PYTHON_API const char* orvex_python_error() {
    return last_error().c_str();
}

/** Devices that a search may run on: GPUs, or the processors as one. */
ORVEX_PYTHON_API int orvex_python_devices() {
#ifdef ORVEX_PLATFORM_CUDA
    int count = 0;
    return cudaGetDeviceCount(&count) == cudaSuccess ? count : 0;
#else
    return 1;
#endif
}

/**
 * The least memory that is free on one of the devices; no limit where that is the machine's own.
 *
 * @param devices the first so many are looked at; 0 for all
 */
ORVEX_PYTHON_API std::int64_t orvex_python_device_memory([[maybe_unused]] int devices) {
    std::int64_t least = std::numeric_limits<std::int64_t>::max();
#ifdef ORVEX_PLATFORM_CUDA
    int current = 0;
    if (cudaGetDevice(&current) != cudaSuccess) return 0;
    const int count = devices > 0 ? devices : orvex_python_devices();
    for (int device = 0; device < count; ++device) {
        std::size_t free = 0, total = 0;
        if (cudaSetDevice(device) != cudaSuccess || cudaMemGetInfo(&free, &total) != cudaSuccess)
            return 0;
        least = std::min(least, static_cast<std::int64_t>(free));
    }
    cudaSetDevice(current);
#endif
    return least;
}

ORVEX_PYTHON_API std::int64_t orvex_python_machine_memory() {
    return orvex::toolkit::machine_memory();
}

ORVEX_PYTHON_API std::int64_t orvex_python_free_memory() {
    return orvex::toolkit::free_memory();
}

/**
 * What a run takes.
 *
 * @param arithmetic_bits the width of energies that is asked for; 0 for the least proven one
 */
ORVEX_PYTHON_API void orvex_python_facts(const PROBLEM* problem, int arithmetic_bits,
                                         ORVEX_PYTHON_FACTS* facts) {
    const orvex::toolkit::Problem& known = problem->facts;
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
    if (!band || !loading) return;
    facts->band_size = band->size;
    facts->band_matrix_bits = band->matrix_bits;
    facts->band_arithmetic_bits = band->arithmetic_bits;
    facts->memory_rows = static_cast<std::int64_t>(
        std::visit([](const auto& all) { return all.bytes(); }, problem->rows));
    facts->memory_terms = (known.couplings.count + known.size) * TERM_BYTES;
    const orvex::toolkit::Memory memory =
        orvex::toolkit::memory_of_run(known.size, known.width, *band);
    facts->memory_model = memory.model;
    facts->memory_bands = memory_of_matrices(known, *band);
    if (loading->name() != band->name()) facts->memory_bands += memory_of_matrices(known, *loading);
    facts->memory_rest = memory.rest;
    facts->memory_block = orvex::toolkit::blocks_of_run(*band).memory;
}

/**
 * What the command-line caller would choose for a problem, a line "key=value" each, beside the
 * parameters whose keys stand in `given`, a line each.
 */
ORVEX_PYTHON_API const char* orvex_python_settings(const PROBLEM* problem, const char* given) {
    thread_local std::string text;
    text.clear();
    const std::string keys = std::string("\n") + given + "\n";
    const auto is_given = [&](const std::string& key) {
        return keys.find("\n" + key + "\n") != std::string::npos;
    };
    for (const auto& [key, value] :
         orvex::toolkit::choose_settings(problem->size, problem->facts.couplings, is_given))
        text += key + "=" + value + "\n";
    return text.c_str();
}
