#include "orvex/param.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvex/callback.hpp"

#include "support/text_of.hpp"

namespace orvex {
namespace {

using tests::text_of;

class IGNORES_EVENTS : public Callback {
    void callback(const std::string&) override {}
};

TEST(Param, StartsEmptyAndWithoutCallback) {
    const Param param;
    EXPECT_TRUE(param.impl().params.empty());
    EXPECT_EQ(param.impl().callback, nullptr);
}

TEST(Param, KeyThatWasNotSetReadsEmptyAndIsNotAdded) {
    const Param param;
    EXPECT_EQ(param.get("time_limit"), "");
    EXPECT_EQ(text_of(param, ""), "");
}

TEST(Param, LastValueOfAKeyCounts) {
    Param param;
    param.set("time_limit", "1");
    param.set("time_limit", "2");
    EXPECT_EQ(param.get("time_limit"), "2");
    EXPECT_EQ(param.impl().params.size(), 1u);
}

TEST(Param, CopyRefersToTheSameCallbackAndHasItsOwnSettings) {
    IGNORES_EVENTS callback;
    Param param;
    param.set(callback);
    param.set("time_limit", "1");
    Param copy(param);
    copy.set("time_limit", "2");
    copy.set("verbose", "1");
    EXPECT_EQ(copy.impl().callback, &callback);
    EXPECT_EQ(param.get("time_limit"), "1");
    EXPECT_EQ(param.get("verbose"), "");
}

TEST(Param, AssignmentReplacesSettingsAndCallback) {
    IGNORES_EVENTS callback;
    Param param, other;
    param.set(callback);
    param.set("time_limit", "1");
    other.set("verbose", "1");
    param = other;
    EXPECT_EQ(param.get("time_limit"), "");
    EXPECT_EQ(param.get("verbose"), "1");
    EXPECT_EQ(param.impl().callback, nullptr);
}

TEST(Param, AssignedToItselfStaysAsItIs) {
    Param param;
    param.set("time_limit", "1");
    const Param& same = param;
    param = same;
    EXPECT_EQ(param.get("time_limit"), "1");
}

TEST(ParamPrint, WritesSettingsOnALine) {
    Param param;
    param.set("time_limit", "1");
    EXPECT_EQ(text_of(param, ""), "time_limit=1\n");
    param.set("verbose", "2");
    EXPECT_THAT(text_of(param, ""),
                testing::AnyOf("time_limit=1 verbose=2\n", "verbose=2 time_limit=1\n"));
}

TEST(ParamPrint, DelimiterIsBetweenSettingsWhole) {
    Param param;
    param.set("time_limit", "1");
    param.set("verbose", "2");
    EXPECT_THAT(text_of(param, "; "),
                testing::AnyOf("time_limit=1; verbose=2\n", "verbose=2; time_limit=1\n"));
}

TEST(ParamPrint, HasNoSections) {
    Param param;
    param.set("time_limit", "1");
    EXPECT_EQ(text_of(param, "attrs"), "time_limit=1\n");
}

TEST(ParamPrint, LeavesEmptyValuesOut) {
    Param param;
    param.set("first", "");
    param.set("time_limit", "1");
    param.set("last", "");
    EXPECT_EQ(text_of(param, ","), "time_limit=1\n");
}

TEST(ParamPrint, OfNothingButEmptyValuesIsANewline) {
    Param param;
    param.set("time_limit", "");
    EXPECT_EQ(text_of(param, ""), "\n");
}

TEST(ParamPrint, TakesItsArgumentsInEitherOrder) {
    Param param;
    param.set("time_limit", "1");
    std::ostringstream out;
    param.print(out, "");
    EXPECT_EQ(out.str(), "time_limit=1\n");
}

}  // namespace
}  // namespace orvex
