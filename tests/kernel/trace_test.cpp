// The trace of the CUDA block's text is the plain block's trace, whatever order its threads run in:
// over random models, in bands of every number of bits per thread and all widths, under every rule,
// the state after every flip is the same, and so is every result.
#include <limits>

#include <gtest/gtest.h>

#include "fiber_block.hpp"
#include "trace_pair.hpp"

namespace orvex::device::test {
namespace {

using FIBER_BLOCKS = ::testing::Types<FIBER_BLOCK<std::int32_t, std::int32_t>,
                                      FIBER_BLOCK<std::int32_t, std::int64_t>,
                                      FIBER_BLOCK<std::int64_t, std::int64_t>>;

struct FIBER_NAMES {
    template <class BLOCK>
    static std::string GetName(int) {
        return "Fibers_" + std::to_string(8 * sizeof(typename WIDTHS_OF<BLOCK>::ELEMENT_TYPE)) +
               "_" + std::to_string(8 * sizeof(typename WIDTHS_OF<BLOCK>::ARITHMETIC));
    }
};

template <class BLOCK>
class KERNEL_TRACE_TEST : public BLOCK_TEST<BLOCK> {
  public:
    using MODEL = typename BLOCK_TEST<BLOCK>::MODEL;
};
TYPED_TEST_SUITE(KERNEL_TRACE_TEST, FIBER_BLOCKS, FIBER_NAMES);

TYPED_TEST(KERNEL_TRACE_TEST, OneToFourBitsPerThread) {
    long flips = 0;
    for (int size : {64, 128, 192, 256, 384}) {
        TypeParam::schedule = static_cast<std::uint64_t>(size);
        typename TestFixture::MODEL model(size, size - 3, dense(1, -100, 100));
        flips += playEveryRule<TypeParam>(model, {.instances = 4, .max_steps = 60});
    }
    EXPECT_GT(flips, 5000);
}

TYPED_TEST(KERNEL_TRACE_TEST, ModelsInWhichNearlyEverythingTies) {
    long flips = 0;
    for (int size : {64, 192, 256}) {
        typename TestFixture::MODEL model(size, ties(3));
        flips += playEveryRule<TypeParam>(model, {.instances = 4, .max_steps = 60});
    }
    EXPECT_GT(flips, 2000);
}

TYPED_TEST(KERNEL_TRACE_TEST, OtherSchedulesGiveTheSameTrace) {
    typename TestFixture::MODEL model(128, ties(4));
    for (std::uint64_t schedule = 100; schedule < 110; ++schedule) {
        TypeParam::schedule = schedule;
        EXPECT_GT(playEveryRule<TypeParam>(model, {.instances = 1, .max_steps = 40}), 100);
    }
}

TYPED_TEST(KERNEL_TRACE_TEST, ModelsSmallerThanTheirBand) {
    for (int n : {0, 1, 2, 50}) {
        typename TestFixture::MODEL model(64, n, dense(4, -100, 60));
        playEveryRule<TypeParam>(model, {.instances = 3, .max_steps = 60});
    }
}

TYPED_TEST(KERNEL_TRACE_TEST, FullBlocksOfFourToTenBitsPerThread) {
    long flips = 0;
    for (int size : {1024, 4096, 5120, 10240}) {
        typename TestFixture::MODEL model(size, size - 5, shallow(10));
        for (std::int8_t rule : everySearchingRule())
            flips += play<TypeParam>(model, {.instances = 2, .max_steps = 15, .most_ones = 8},
                                     [=](int) { return rule; });
    }
    EXPECT_GT(flips, 300);
}

TYPED_TEST(KERNEL_TRACE_TEST, TheLargestBand) {
    typename TestFixture::MODEL model(65536, 65000, shallow(12));
    long flips = 0;
    for (std::int8_t rule : everySearchingRule())
        flips += play<TypeParam>(model, {.instances = 1, .max_steps = 10, .most_ones = 6},
                                 [=](int) { return rule; });
    EXPECT_GT(flips, 40);
}

TYPED_TEST(KERNEL_TRACE_TEST, KilledBeforeAndAfterAnyFlip) {
    typename TestFixture::MODEL model(64, dense(21, -100, 100));
    for (std::int8_t rule : everyRule())
        for (int flips = 0; flips < 40; flips += 3) {
            SCOPED_TRACE("rule " + std::to_string(rule) + ", killed at " + std::to_string(flips));
            TRACE_PAIR<TypeParam> pair(model);
            pair.run({.target = bits(64, {3, 5, 9, 40}),
                      .algorithm = rule,
                      .budget = 1000,
                      .steps = 1000},
                     flips);
            EXPECT_GE(pair.flips(), flips);
        }
}

TYPED_TEST(KERNEL_TRACE_TEST, EveryTabuSettingAndBlocksInWhichAllBitsAreTabu) {
    typename TestFixture::MODEL model(64, dense(22, -50, 50));
    for (std::uint32_t tabu_cycles : {0u, 1u, 60u, 255u, 256u + 3u})
        playEveryRule<TypeParam>(
            model, {.instances = 2, .max_steps = 200, .setup = {.tabu_cycles = tabu_cycles}});
    typename TestFixture::MODEL steep(64, uncoupled({-1000}, 1));
    for (std::int8_t rule : everySearchingRule()) {
        TRACE_PAIR<TypeParam> pair(steep, {.tabu_cycles = 255});
        pair.run({.target = {1}, .algorithm = rule, .budget = 200, .steps = 200});
        EXPECT_GT(pair.flips(), 200);
    }
}

TYPED_TEST(KERNEL_TRACE_TEST, AllBitsOfAFullBlockTabuOrOutOfPlay) {
    const std::int64_t most = TestFixture::ELEMENT_MAX;
    typename TestFixture::MODEL model(4096, 4096, uncoupled({-1000}, most));
    for (std::int8_t rule : everySearchingRule()) {
        TRACE_PAIR<TypeParam> pair(model, {.tabu_cycles = 255});
        pair.tested.scored = pair.plain.scored = false;
        pair.run({.target = {1}, .algorithm = rule, .budget = 12, .steps = 12});
        EXPECT_GT(pair.flips(), 0);
    }
}

TYPED_TEST(KERNEL_TRACE_TEST, OverflowInEachPlace) {
    const int overflows = overflowsNearTheLimit<TypeParam>({.instances = 2, .max_steps = 60});
    EXPECT_TRUE(TestFixture::SAME_WIDTHS ? overflows > 5 : overflows == 0) << overflows;

    const std::int64_t lowest = TestFixture::ELEMENT_LOWEST;
    for (std::int64_t diagonal : {lowest, lowest + 1, TestFixture::ELEMENT_MAX + std::int64_t{}}) {
        typename TestFixture::MODEL model(64, uncoupled({-5, diagonal, 7, -9}, 1));
        TRACE_PAIR<TypeParam> pair(model);
        pair.tested.scored = pair.plain.scored = false;
        pair.run({.target = {1, 1, 1, 0}, .algorithm = RANDOM_MIN, .steps = 20});
    }
}

TYPED_TEST(KERNEL_TRACE_TEST, WrongRulesPrintOnceForEachThread) {
    typename TestFixture::MODEL model(128, dense(25, -100, 100));
    for (std::int8_t rule : {5, 127, -1, -128})
        expectDiagnostic<TypeParam>(model, rule);
}

TYPED_TEST(KERNEL_TRACE_TEST, AStopMarkEndsTheBlock) {
    typename TestFixture::MODEL model(64, dense(26, -10, 10));
    typename TestFixture::ON_BENCH bench(model);
    bench.run({.target = {1}, .steps = 5});
    EXPECT_EQ(bench.block.takeInstance(), TypeParam::TAKEN::NOTHING);
    bench.rings.sendStop(0);
    EXPECT_EQ(bench.block.takeInstance(), TypeParam::TAKEN::STOP_MARK);
    EXPECT_EQ(bench.rings.ticketsTaken(0), 2);
    EXPECT_EQ(bench.rings.resultsHandedIn(0), 1);
}

}  // namespace
}  // namespace orvex::device::test
