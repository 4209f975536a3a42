#include "orvex/model.hpp"

#include <new>

#include "support/refusal.hpp"

namespace orvex {
namespace {

TEST(Model, HasSizeAndBitsAsNumbersAndAsText) {
    const Model model(12, 32);
    EXPECT_EQ(model.impl().size, 12);
    EXPECT_EQ(model.impl().bits, 32);
    EXPECT_EQ(model.impl().mat.size, 12u);
    EXPECT_EQ(model.impl().mat.bits, 32u);
    EXPECT_EQ(model.get("size"), "12");
    EXPECT_EQ(model.get("bits"), "32");
}

TEST(Model, TakesItsWidthFromBounds) {
    const Model model(2, -129, 0);
    EXPECT_EQ(model.impl().bits, 16);
    EXPECT_EQ(model.get("bits"), "16");
    EXPECT_EQ(model.impl().attrs.size(), 2u);
}

TEST(Model, StartsWithZerosAtRevision0) {
    const Model model(2, 64);
    EXPECT_EQ(model.get(0, 0), 0);
    EXPECT_EQ(model.get(1, 0), 0);
    EXPECT_EQ(model.impl().revision, 0u);
    EXPECT_EQ(model.impl().reserved, 0u);
}

TEST(Model, SetWritesBothTriangles) {
    Model model(4, 16);
    model.set(3, 1, -5);
    EXPECT_EQ(model.get(3, 1), -5);
    EXPECT_EQ(model.get(1, 3), -5);
}

TEST(Model, CutsAValueThatIsTooWideToItsLowBits) {
    Model model(4, 8);
    model.set(1, 2, 300);
    EXPECT_EQ(model.get(1, 2), 44);
    EXPECT_EQ(model.get(2, 1), 44);
}

TEST(Model, KeepsMinusOneOnAWidthOf8) {
    Model model(4, 8);
    model.set(1, 2, -1);
    EXPECT_EQ(model.get(1, 2), -1);
}

TEST(Model, EachSetOfAWeightRaisesTheRevisionByOne) {
    Model model(4, 8);
    model.set(0, 1, 3);
    EXPECT_EQ(model.impl().revision, 1u);
    model.set(2, 2, 3);
    EXPECT_EQ(model.impl().revision, 2u);
    model.set(2, 2, 3);
    EXPECT_EQ(model.impl().revision, 3u);
}

TEST(Model, SettingAnAttributeDoesNotRaiseTheRevision) {
    Model model(4, 8);
    model.set("name", "first");
    model.set("name", "second");
    EXPECT_EQ(model.get("name"), "second");
    EXPECT_EQ(model.impl().revision, 0u);
}

TEST(Model, AbsentAttributeReadsEmptyAndIsNotAdded) {
    const Model model(4, 8);
    EXPECT_EQ(model.get("name"), "");
    EXPECT_EQ(model.impl().attrs.size(), 2u);
}

TEST(Model, OfSize0IsLegal) {
    const Model model(0, 8);
    EXPECT_EQ(model.impl().size, 0);
    EXPECT_EQ(model.get("size"), "0");
}

TEST(Model, CopyHasTheWeightsButNeitherAttributesNorRevision) {
    Model model(3, 8);
    model.set(0, 2, 7);
    model.set("name", "original");
    const Model copy(model);
    EXPECT_EQ(copy.get(2, 0), 7);
    EXPECT_EQ(copy.impl().bits, 8);
    EXPECT_EQ(copy.get("name"), "");
    EXPECT_EQ(copy.get("size"), "");
    EXPECT_EQ(copy.get("bits"), "");
    EXPECT_EQ(copy.impl().revision, 0u);
}

TEST(Model, AssignmentKeepsAttributesAndRevisionOfTheTarget) {
    Model from(3, 8), to(3, 8);
    from.set(0, 2, 7);
    from.set("name", "from");
    to.set(1, 1, 4);
    to.set(1, 2, 4);
    to.set("name", "to");
    to = from;
    EXPECT_EQ(to.get(0, 2), 7);
    EXPECT_EQ(to.get(1, 1), 0);
    EXPECT_EQ(to.get("name"), "to");
    EXPECT_EQ(to.impl().revision, 2u);
}

TEST(Model, AssignedToItselfStaysAsItIs) {
    Model model(3, 8);
    model.set(0, 2, 7);
    const Model& same = model;
    model = same;
    EXPECT_EQ(model.get(2, 0), 7);
    EXPECT_EQ(model.get("size"), "3");
    EXPECT_EQ(model.impl().revision, 1u);
}

TEST(Model, OfAnotherSizeIsRefused) {
    Model small(2, 8), large(3, 8);
    EXPECT_REFUSAL(small = large, "size does not match.");
}

TEST(Model, OfAnotherWidthIsRefused) {
    Model narrow(2, 8), wide(2, 64);
    EXPECT_REFUSAL(narrow = wide, "bits does not match.");
}

TEST(Model, OfWidth12IsRefused) {
    EXPECT_REFUSAL(Model(3, 12), "bits=12 must be 8, 16, 32, or 64.");
}

TEST(Model, ThatCannotBeAllocatedThrows) {
    EXPECT_THROW(Model(-1, 64), std::bad_alloc);
}

}  // namespace
}  // namespace orvex
