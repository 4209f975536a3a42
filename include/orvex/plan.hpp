// What a run will be, told before it is made: the band that the library takes for a model, the
// blocks and islands on each device, the form of the rows, and the memory that all of it takes.
// Invariant: nothing here runs a search or ends the process, and the answers follow from the same
// rules and the same table of bands as the run itself.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "orvex/export.hpp"

namespace orvex {

/** A device that this build can search on: a GPU, or the processors together as one. */
struct Device {
    std::string name;
    int multiprocessors = 0;   ///< of a GPU; else the processors that this process may use, by its
                               ///< affinity and its container's quota
    std::uint64_t memory = 0;  ///< bytes; of processors the machine's
};

/**
 * The devices, in the order in which runs take them; none where a build for GPUs finds none that it
 * can use, and a run would end the process with "No GPU found.".
 */
ORVEX_API std::vector<Device> devices();

/** What is known of the couplings of a model, which is its weights off the diagonal. */
struct RowStatistics {
    std::uint64_t largest = 0;  ///< largest magnitude of a coupling
    std::uint64_t entries =
        0;  ///< couplings that are not 0, each in the rows of both its variables
    /** Largest sum of the magnitudes in a row, the linear term included; by default not known. */
    std::uint64_t largest_row_sum = ~std::uint64_t{0};
};

/** The question: a model and the parameters that shape a run. */
struct PlanRequest {
    int size = 0;             ///< number of variables
    int matrix_bits = 32;     ///< width of a weight in the model: 8, 16, 32 or 64
    int arithmetic_bits = 0;  ///< the parameter; 0: 64 for models of 64-bit weights, 32 for others
    RowStatistics rows{};
    int gpus = 0;               ///< the parameter; 0: all devices
    int islands_per_gpu = 0;    ///< the parameter; 0: chosen by the library
    int blocks_per_island = 0;  ///< the parameter; 0: chosen by the library
    int pool_size = 100;        ///< the parameter
};

/** The answer. Bytes are for the whole run, on the host or on each device. */
struct Plan {
    int size = 0;             ///< variables that the band holds
    int matrix_bits = 0;      ///< width of its weights
    int arithmetic_bits = 0;  ///< width of its energies

    int devices = 0;            ///< that the run takes; 0 if there are none
    int islands = 0;            ///< on each device; 0 if the run could not be launched
    int blocks_per_island = 0;  ///< 0 if the run could not be launched
    int threads_per_block = 0;

    std::string rows;    ///< as blocks read them: "8-bit", "16-bit", "32-bit", "64-bit", "sparse"
    int delta_bits = 0;  ///< width of the deltas that blocks keep

    std::uint64_t matrix_bytes = 0;  ///< the band's matrix on the host, as far as it is written
    std::uint64_t rows_bytes = 0;    ///< on the host: that form of the rows, beside the matrix
    std::uint64_t search_bytes = 0;  ///< on the host, at most: pools, rings, blocks
    std::uint64_t device_bytes = 0;  ///< on each device; 0 where its memory is the host's

    /** On the host, all together. The model itself, which is the caller's, does not count. */
    std::uint64_t host_bytes() const { return matrix_bytes + rows_bytes + search_bytes; }

    /** The band's name: qb<size>_<matrix bits>_<arithmetic bits>. */
    std::string band() const {
        return "qb" + std::to_string(size) + "_" + std::to_string(matrix_bits) + "_" +
               std::to_string(arithmetic_bits);
    }
};

/** What a run will take; none if no band of this build holds the model. */
ORVEX_API std::optional<Plan> plan_run(const PlanRequest& request);

}  // namespace orvex
