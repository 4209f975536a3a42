// The two calls of the flat interface that may throw, with what they throw caught.
#include <limits>
#include <memory>
#include <vector>

#include "support.hpp"

using namespace orvex::python;

/**
 * Loads a problem; null on failure, with the reason in orvex_python_error.
 *
 * @param gpus devices that its searches run on; 0 for all
 */
ORVEX_PYTHON_API tarvik_orvex_handle* orvex_python_load(const PROBLEM* problem, int gpus) {
    return guarded<>(static_cast<tarvik_orvex_handle*>(nullptr), [&] {
        const std::size_t size = problem->linear.size();
        std::vector<std::uint32_t> index;
        std::vector<std::int64_t> linear;
        // A value that the next one replaces widens the matrix, where the least needs 64 bits.
        if (problem->facts.width == 64) {
            index.push_back(0);
            linear.push_back(std::int64_t{std::numeric_limits<std::int32_t>::max()} + 1);
        }
        for (std::size_t i = 0; i < size; ++i) {
            index.push_back(static_cast<std::uint32_t>(i));
            linear.push_back(problem->linear[i]);
        }
        const auto count = static_cast<std::size_t>(problem->facts.couplings.count);
        const auto pairs = std::make_unique_for_overwrite<std::uint32_t[]>(2 * count);
        const auto couplings = std::make_unique_for_overwrite<std::int64_t[]>(count);
        std::size_t k = 0;
        std::visit(
            [&](const auto& rows) {
                for (std::size_t i = 0; i < size; ++i)
                    rows.each(i, i + 1, [&](std::size_t j, std::int64_t value) {
                        pairs[2 * k] = static_cast<std::uint32_t>(i);
                        pairs[2 * k + 1] = static_cast<std::uint32_t>(j);
                        couplings[k++] = value;
                    });
            },
            problem->rows);
        tarvik_orvex_handle* const handle =
            tarvik_orvex_create(static_cast<std::uint32_t>(size), linear.size(), index.data(),
                                linear.data(), count, pairs.get(), couplings.get(), gpus);
        if (handle == nullptr) last_error() = tarvik_orvex_last_error();
        return handle;
    });
}

/** tarvik_orvex_search, whose reason for a 1 is in orvex_python_error. */
ORVEX_PYTHON_API int orvex_python_search(tarvik_orvex_handle* handle, const char* const* params,
                                         const std::uint64_t* start, std::uint64_t* solution) {
    return guarded<>(1, [&] {
        const int status = tarvik_orvex_search(handle, params, start, solution);
        if (status != 0) last_error() = tarvik_orvex_last_error();
        return status;
    });
}
