#include <ostream>

#include "orvex/model.hpp"

#include "support/refusal.hpp"
#include "support/text_of.hpp"

namespace orvex {
namespace {

using tests::text_of;

TEST(ModelPrint, WritesHeaderAndUpperTriangleRowByRow) {
    Model model(3, 8);
    model.set(2, 1, -4);
    model.set(2, 0, 6);
    model.set(1, 1, 5);
    EXPECT_EQ(text_of(model, ""), "3 3 -4 6\n0 2 6\n1 1 5\n1 2 -4\n");
}

TEST(ModelPrint, OfSize0IsAHeaderOfUntouchedBounds) {
    EXPECT_EQ(text_of(Model(0, 8), ""), "0 0 9223372036854775807 -9223372036854775808\n");
}

TEST(ModelPrint, OfZerosIsAHeaderOfZeros) {
    EXPECT_EQ(text_of(Model(2, 8), ""), "2 0 0 0\n");
}

TEST(ModelPrint, FirstWeightNeverCountsForTheLargest) {
    Model model(2, 8);
    model.set(0, 0, 9);
    EXPECT_EQ(text_of(model, ""), "2 1 0 0\n0 0 9\n");
}

TEST(ModelPrint, OfOneVariableHasNoLargestWeight) {
    Model model(1, 8);
    model.set(0, 0, 9);
    EXPECT_EQ(text_of(model, ""), "1 1 9 -9223372036854775808\n0 0 9\n");
}

TEST(ModelPrint, WeightThatLowersTheSmallestDoesNotCountForTheLargest) {
    Model model(2, 8);
    model.set(0, 0, -1);
    model.set(0, 1, -2);
    model.set(1, 1, -3);
    EXPECT_EQ(text_of(model, ""), "2 3 -3 -9223372036854775808\n0 0 -1\n0 1 -2\n1 1 -3\n");
}

TEST(ModelPrint, DelimiterDoesNotChangeTheWeights) {
    Model model(2, 8);
    model.set(0, 1, 1);
    EXPECT_EQ(text_of(model, ","), text_of(model, ""));
}

TEST(ModelPrint, FlushesEachLine) {
    Model model(2, 8);
    model.set(0, 1, 1);
    model.set(1, 1, 1);
    tests::FLUSH_COUNTER counter;
    std::ostream out(&counter);
    model.print("", out);
    EXPECT_EQ(counter.flushes, 3);
}

TEST(ModelPrint, AttrsWritesTheAttributesAlone) {
    EXPECT_THAT(text_of(Model(2, 8), "attrs"),
                testing::AnyOf("size=2 bits=8\n", "bits=8 size=2\n"));
}

TEST(ModelPrint, CharacterAfterAttrsIsTheDelimiter) {
    EXPECT_THAT(text_of(Model(2, 8), "attrs,"),
                testing::AnyOf("size=2,bits=8\n", "bits=8,size=2\n"));
}

TEST(ModelPrint, AttrsWritesEmptyValuesToo) {
    Model model(2, 8);
    model.impl().attrs.clear();
    model.set("name", "");
    EXPECT_EQ(text_of(model, "attrs"), "name=\n");
}

TEST(ModelPrint, WithoutAttributesAttrsWritesNothing) {
    Model model(2, 8);
    model.impl().attrs.clear();
    EXPECT_EQ(text_of(model, "attrs"), "");
}

TEST(ModelPrint, TakesItsArgumentsInEitherOrder) {
    std::ostringstream out;
    Model(2, 8).print(out, "");
    EXPECT_EQ(out.str(), "2 0 0 0\n");
}

TEST(ModelPrint, UnknownSectionIsRefused) {
    EXPECT_REFUSAL(text_of(Model(2, 8), "matrix"), "Wrong model print option \"matrix\".");
}

TEST(ModelPrint, UnknownSectionIsQuotedWithItsDelimiter) {
    EXPECT_REFUSAL(text_of(Model(2, 8), "x1"), "Wrong model print option \"x1\".");
}

}  // namespace
}  // namespace orvex
