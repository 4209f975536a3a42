// The words of --param.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/commands.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::cli::test {
namespace {

using testing::Pair;
using testing::UnorderedElementsAre;

TEST(Params, AreKeysAndValues) {
    EXPECT_THAT(parse_params({"a=b", "search_cycles=100 20", "empty=", "twice=x=y"}),
                UnorderedElementsAre(Pair("a", "b"), Pair("search_cycles", "100 20"),
                                     Pair("empty", ""), Pair("twice", "x=y")));
    EXPECT_THROW(parse_params({"time_limit"}), InputError);
    EXPECT_THROW(parse_params({"=5"}), InputError);
}

TEST(Params, OfAKeyThatComesTwiceTheLastCounts) {
    EXPECT_THAT(parse_params({"pool_size=50", "pool_size=60"}),
                UnorderedElementsAre(Pair("pool_size", "60")));
}

}  // namespace
}  // namespace orvex::cli::test
