// The trace of a block is the plain block's trace: over random models of many kinds, in bands of
// every number of bits per thread, under every rule, the state after every flip is the same, and
// so is every result.
#include <gtest/gtest.h>

#include "trace_pair.hpp"

namespace orvex::device::test {
namespace {

template <class BLOCK>
class TRACE_TEST : public BLOCK_TEST<BLOCK> {
  public:
    void playAllRules(typename BLOCK_TEST<BLOCK>::MODEL& model, const PLAY& play) {
        flips += playEveryRule<BLOCK>(model, play);
    }

    long flips = 0;
};
TYPED_TEST_SUITE(TRACE_TEST, CPU_BLOCKS, NAMES);

TYPED_TEST(TRACE_TEST, DenseModelsInSmallBands) {
    for (int size : {64, 128, 192, 256, 384}) {
        typename TestFixture::MODEL model(size, dense(1, -100, 100));
        this->playAllRules(model, {.instances = 12, .max_steps = 300});
    }
    EXPECT_GT(this->flips, 30000);
}

TYPED_TEST(TRACE_TEST, SparseModelsWithManyZeros) {
    for (int size : {64, 192, 384}) {
        typename TestFixture::MODEL model(size, sparse(2, 16, 50));
        this->playAllRules(model, {.instances = 8, .max_steps = 300});
    }
    EXPECT_GT(this->flips, 10000);
}

TYPED_TEST(TRACE_TEST, ModelsInWhichNearlyEverythingTies) {
    for (int size : {64, 128, 192, 256, 384}) {
        typename TestFixture::MODEL model(size, ties(3));
        this->playAllRules(model, {.instances = 8, .max_steps = 300});
    }
    EXPECT_GT(this->flips, 20000);
}

TYPED_TEST(TRACE_TEST, ModelsSmallerThanTheirBand) {
    for (int n : {0, 1, 2, 3, 50, 63}) {
        typename TestFixture::MODEL model(64, n, dense(4, -100, 60));
        this->playAllRules(model, {.instances = 6, .max_steps = 200});
    }
    for (int n : {1, 129, 200}) {
        typename TestFixture::MODEL model(256, n, dense(5, -100, 60));
        this->playAllRules(model, {.instances = 4, .max_steps = 200});
    }
    EXPECT_GT(this->flips, 5000);
}

TYPED_TEST(TRACE_TEST, OnlyPositiveAndOnlyNegativeModels) {
    typename TestFixture::MODEL positive(128, dense(6, 1, 9));
    this->playAllRules(positive, {.instances = 6, .max_steps = 100});
    typename TestFixture::MODEL negative(128, dense(7, -9, -1));
    this->playAllRules(negative, {.instances = 6, .max_steps = 200});
    EXPECT_GT(this->flips, 2000);
}

TYPED_TEST(TRACE_TEST, ABandOf1024) {
    typename TestFixture::MODEL model(1024, dense(8, -100, 100));
    this->playAllRules(model, {.instances = 4, .max_steps = 400});
    EXPECT_GT(this->flips, 10000);
}

TYPED_TEST(TRACE_TEST, ABandOf4096WithAllThreads) {
    typename TestFixture::MODEL model(4096, 60, dense(9, -100, 100));
    this->playAllRules(model, {.instances = 3, .max_steps = 150, .most_ones = 12});
    EXPECT_GT(this->flips, 1000);
}

TYPED_TEST(TRACE_TEST, BandsOfFourFiveAndTenBitsPerThread) {
    for (int size : {4096, 5120, 10240}) {
        typename TestFixture::MODEL model(size, size - 5, shallow(10));
        for (std::int8_t rule : everySearchingRule()) {
            TRACE_PAIR<TypeParam> pair(model);
            INSTANCE_MAKER maker(size, 11);
            maker.most_ones = 10;
            for (int i = 0; i < 3; ++i)
                pair.run(maker.next(rule, 40));
            this->flips += pair.flips();
        }
    }
    EXPECT_GT(this->flips, 1000);
}

TYPED_TEST(TRACE_TEST, TheLargestBand) {
    typename TestFixture::MODEL model(65536, 65000, shallow(12));
    for (std::int8_t rule : everySearchingRule()) {
        TRACE_PAIR<TypeParam> pair(model);
        INSTANCE_MAKER maker(65536, 13);
        maker.most_ones = 8;
        for (int i = 0; i < 2; ++i)
            pair.run(maker.next(rule, 20));
        this->flips += pair.flips();
    }
    typename TestFixture::MODEL small(65536, 9, dense(14, -100, 60));
    for (std::int8_t rule : everyPassingRule()) {
        TRACE_PAIR<TypeParam> pair(small);
        pair.run({.target = {1, 0, 1, 1}, .algorithm = rule});
        EXPECT_GT(pair.flips(), 17);
    }
    EXPECT_GT(this->flips, 200);
}

}  // namespace
}  // namespace orvex::device::test
