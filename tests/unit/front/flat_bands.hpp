// The flat interface above bands that only note what reaches them. The program of these tests links
// no engine: its table holds the bands of flat_bands.cpp, so that what a test expects does not
// depend on the bands of the build, and a solve does what the test says.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvex/orvex.hpp"

#include "front/flat_problems.hpp"

namespace flat_tests {

using WORDS = std::vector<std::uint64_t>;

/** One call of a band: which band, and what came with it. */
struct BAND_CALL {
    std::string what;  ///< "prepare", "solve" or "release"
    int size = 0;      ///< of the band, as the two widths
    int matrix_bits = 0;
    int arith_bits = 0;
    std::map<std::string, std::string> params;
    orvex::Callback* callback = nullptr;
    std::optional<WORDS> start;
    int variables = 0;  ///< of the model, as its width
    int model_bits = 0;
    std::vector<long> weights;  ///< of a model of at most 128 variables, row after row
};

/** What the bands were called with since the test began, and how they solve. */
struct BANDS {
    std::vector<BAND_CALL> calls;
    std::function<void(orvex::Sol::Impl& result, const BAND_CALL& call)> on_solve;

    /** The calls of one kind. */
    std::vector<BAND_CALL> of(const std::string& what) const;

    /** The last solve. */
    const BAND_CALL& last_solve() const;
};

BANDS& bands();

/** A list of settings, null-ended, as search takes it. */
using SETTINGS = std::vector<const char*>;

/** A search whose solution is thrown away. */
int search(const HANDLE& handle, SETTINGS settings = {}, const std::uint64_t* start = nullptr);

/** Each test begins with bands that nothing has reached. */
class FLAT_TEST : public testing::Test {
  protected:
    FLAT_TEST() { bands() = BANDS{}; }
};

}  // namespace flat_tests
