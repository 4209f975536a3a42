// Traces in the rare cases: killed at any flip, overflowing in each of the three places, deltas so
// large that sums with them wrap, all tabu settings, wrong rules, and the two cycles exchanged.
#include <limits>

#include <gtest/gtest.h>

#include "trace_pair.hpp"

namespace orvex::device::test {
namespace {

template <class BLOCK>
class TRACE_CASES_TEST : public BLOCK_TEST<BLOCK> {
  public:
    using MODEL = typename BLOCK_TEST<BLOCK>::MODEL;

    /** A long instance of the rule on a dense model, killed after that many flips. */
    void killAt(int flips, std::int8_t rule) {
        SCOPED_TRACE("rule " + std::to_string(rule) + ", killed at " + std::to_string(flips));
        MODEL model(64, dense(21, -100, 100));
        TRACE_PAIR<BLOCK> pair(model);
        INSTANCE instance = {.target = bits(64, {3, 5, 9, 40}),
                             .algorithm = rule,
                             .budget = 100000,
                             .steps = 100000};
        pair.run(instance, flips);
        EXPECT_GE(pair.flips(), flips);
    }
};
TYPED_TEST_SUITE(TRACE_CASES_TEST, CPU_BLOCKS, NAMES);

TYPED_TEST(TRACE_CASES_TEST, KilledBeforeAndAfterAnyFlip) {
    for (std::int8_t rule : everyRule())
        for (int flips = 0; flips < 60; ++flips)
            this->killAt(flips, rule);
}

TYPED_TEST(TRACE_CASES_TEST, KilledLateInASearch) {
    for (std::int8_t rule : everySearchingRule())
        this->killAt(3000, rule);
    for (std::int8_t rule : everyPassingRule())
        for (int flips : {100, 101, 140, 141, 142})
            this->killAt(flips, rule);
}

TYPED_TEST(TRACE_CASES_TEST, EveryTabuSetting) {
    typename TestFixture::MODEL model(64, dense(22, -50, 50));
    for (std::uint32_t tabu_cycles : {0u, 1u, 8u, 60u, 255u, 256u + 3u}) {
        SCOPED_TRACE("tabu cycles " + std::to_string(tabu_cycles));
        const long flips = playEveryRule<TypeParam>(
            model, {.instances = 6, .max_steps = 500, .setup = {.tabu_cycles = tabu_cycles}});
        EXPECT_GT(flips, 2000);
    }
}

TYPED_TEST(TRACE_CASES_TEST, AllBitsTabuForALongTime) {
    typename TestFixture::MODEL model(64, uncoupled({-1000}, 1));
    for (std::int8_t rule : everySearchingRule()) {
        TRACE_PAIR<TypeParam> pair(model, {.tabu_cycles = 255});
        pair.run({.target = {1}, .algorithm = rule, .budget = 1000, .steps = 1000});
        EXPECT_GT(pair.flips(), 1000);
    }
}

TYPED_TEST(TRACE_CASES_TEST, WeightsNearTheLimitOfTheRange) {
    const int overflows = overflowsNearTheLimit<TypeParam>({.instances = 3, .max_steps = 300});
    EXPECT_TRUE(TestFixture::SAME_WIDTHS ? overflows > 5 : overflows == 0) << overflows;
}

TYPED_TEST(TRACE_CASES_TEST, DeltasThatReachTheMaximumAreOutOfPlay) {
    const std::int64_t most = TestFixture::ELEMENT_MAX;
    typename TestFixture::MODEL model(64, [=](int i, int j) {
        return i == j ? (i % 7 == 0 ? most : std::int64_t{i - 20}) : std::int64_t{0};
    });
    for (std::int8_t rule : everySearchingRule()) {
        TRACE_PAIR<TypeParam> pair(model);
        pair.run({.target = BITS(64, 1), .algorithm = rule, .budget = 300, .steps = 300});
        EXPECT_GT(pair.flips(), 60);
    }
}

TYPED_TEST(TRACE_CASES_TEST, WrongRulesPrintAndMakeNoSearch) {
    typename TestFixture::MODEL model(128, dense(25, -100, 100));
    for (std::int8_t rule : {5, 7, 127, -1, -128})
        expectDiagnostic<TypeParam>(model, rule);
}

TYPED_TEST(TRACE_CASES_TEST, TheLibrarysCycleOnThePlainBlockIsThePlainCycle) {
    typename TestFixture::MODEL model(128, dense(26, -100, 100));
    using PLAIN = REFERENCE_BLOCK<typename TestFixture::E, typename TestFixture::D>;
    EXPECT_GT(playEveryRule<PLAIN>(model, {.instances = 10, .max_steps = 200}), 5000);
}

TYPED_TEST(TRACE_CASES_TEST, ThePlainCycleOnTheCpuBlockIsTheLibrarysCycle) {
    typename TestFixture::MODEL model(128, dense(27, -100, 100));
    const PLAY plan = {.instances = 10, .max_steps = 200, .setup = {.cycle = CYCLE::PLAIN}};
    EXPECT_GT(playEveryRule<TypeParam>(model, plan), 5000);
}

// ---- 64-bit elements only ------------------------------------------------------------------

using WIDE_BLOCK = CPU_BLOCK<std::int64_t, std::int64_t>;

TEST(WideTraceTest, EnergiesThatWrapWhenADeltaIsAdded) {
    int wrapped = 0;
    for (int seed = 0; seed < 20; ++seed) {
        const std::int64_t large = std::int64_t{1} << 60;
        TEST_MODEL<std::int64_t> model(64, dense(static_cast<std::uint64_t>(seed), -large, large));
        TRACE_PAIR<WIDE_BLOCK> pair(model);
        pair.tested.block.after_flip = [&, after = pair.tested.block.after_flip] {
            const auto& record = pair.tested.block.record;
            std::int64_t sum;
            wrapped += __builtin_add_overflow(record.energy, pair.tested.block.lowestDelta(), &sum);
            after();
        };
        INSTANCE_MAKER maker(64, 28);
        for (int i = 0; i < 4; ++i)
            pair.run(maker.next(i, 200));
    }
    EXPECT_GT(wrapped, 0);
}

TEST(WideTraceTest, OneHugeDeltaAmongSmallOnes) {
    const std::int64_t huge = std::int64_t{1} << 62;
    for (std::int64_t diagonal : {huge, -huge}) {
        TEST_MODEL<std::int64_t> model(64, [=](int i, int j) {
            return i == 7 && j == 7 ? diagonal : within(mixed(29, i, j), -100, 100);
        });
        EXPECT_GT(playEveryRule<WIDE_BLOCK>(model, {.instances = 5, .max_steps = 200}), 2000);
    }
}

TEST(WideTraceTest, HugeDiagonalElementsOfBothSigns) {
    const std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
    const std::int64_t highest = std::numeric_limits<std::int64_t>::max();
    for (std::int64_t diagonal : {lowest, lowest + 1, highest, highest - 1}) {
        TEST_MODEL<std::int64_t> model(64, uncoupled({-5, diagonal, 7, -9}, 1));
        TRACE_PAIR<WIDE_BLOCK> pair(model);
        pair.tested.scored = pair.plain.scored = false;
        pair.run({.target = {1, 1, 1, 0}, .algorithm = RANDOM_MIN, .steps = 50});
    }
}

}  // namespace
}  // namespace orvex::device::test
