// A problem from a file in any of the formats that docs/formats.md defines.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "toolkit/io/scale.hpp"
#include "toolkit/model/problem.hpp"

namespace orvex::toolkit {

/** What a caller may say about a file that the file itself does not tell. */
struct ReadOptions {
    std::string format{};             ///< name of the format; empty: by the file's contents
    std::optional<long> instance{};   ///< which of a file with several, from 1
    std::optional<long> penalty{};    ///< of a broken constraint; none: one that is sure to suffice
    std::optional<bool> maximised{};  ///< the sense, where the format leaves it open
    Scale scale{};                    ///< how coefficients become integers
    std::function<void(const std::string&)> note{};  ///< told of what takes long, as it begins
};

/**
 * Reads and validates a file, plain or compressed with gzip.
 *
 * @throws InputError when anything in it is wrong, its format is not known, or this machine has not
 *     the memory for the model's matrix
 */
Problem read_problem(const std::string& file, const ReadOptions& options = {});

}  // namespace orvex::toolkit
