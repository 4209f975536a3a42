// The fibers themselves: barriers that diverge are reported with both places, and the words of the
// device language do what they do on a device.
#include <gtest/gtest.h>

#include "dialect.hpp"
#include "engine/device/cuda/reduce.hpp"

namespace orvex::device::test {
namespace {

constexpr int THREADS = 64;

void onFibers(const std::function<void()>& body, std::uint64_t schedule = 1) {
    FIBERS fibers(THREADS, 0, schedule, body);
    while (fibers.run() != FIBERS::STATE::ENDED) {
    }
}

int thread() {
    return static_cast<int>(threadIdx.x);
}

TEST(FibersDeathTest, BarriersAtTwoPlacesAreReportedWithBoth) {
    const int above = __LINE__;
    const auto diverging = [] {
        if (thread() < 40)
            __syncthreads();
        else
            __syncthreads();
    };
    const std::string file = "fibers_test.cpp:";
    EXPECT_EXIT(onFibers(diverging), ::testing::ExitedWithCode(70),
                file + std::to_string(above + 3));
    EXPECT_EXIT(onFibers(diverging), ::testing::ExitedWithCode(70),
                file + std::to_string(above + 5));
}

TEST(FibersDeathTest, AThreadThatLeavesInFrontOfABarrierIsReported) {
    const auto leaving = [] {
        if (thread() != 3) __syncthreads();
    };
    EXPECT_EXIT(onFibers(leaving), ::testing::ExitedWithCode(70), "thread 3 waits at its end");
}

TEST(FibersDeathTest, AWarpOperationThatSomeLanesMissIsReported) {
    const auto missing = [] {
        if (thread() % 2 == 0) __ballot_sync(ALL_LANES, true);
        __syncthreads();
    };
    EXPECT_EXIT(onFibers(missing), ::testing::ExitedWithCode(70), "its warp at fibers_test.cpp");
}

TEST(FibersDeathTest, ALaneMaskWithHolesIsReported) {
    EXPECT_EXIT(onFibers([] { __ballot_sync(0xFF, true); }), ::testing::ExitedWithCode(70),
                "leaves lanes out");
}

TEST(Fibers, OrderIsDrawnAndABarrierStillSeparates) {
    std::set<std::vector<int>> orders;
    for (std::uint64_t schedule = 1; schedule <= 5; ++schedule) {
        std::vector<int> before, behind;
        onFibers(
            [&] {
                before.push_back(thread());
                __syncthreads();
                EXPECT_EQ(before.size(), std::size_t{THREADS});
                behind.push_back(thread());
            },
            schedule);
        EXPECT_EQ(behind.size(), std::size_t{THREADS});
        orders.insert(before);
    }
    EXPECT_EQ(orders.size(), 5u);
}

template <class X>
void reduceEverything() {
    constexpr X MAX = std::numeric_limits<X>::max();
    constexpr X LOWEST = std::numeric_limits<X>::min();
    for (std::uint64_t round = 1; round < 50; ++round) {
        std::vector<X> values;
        for (int t = 0; t < THREADS; ++t) {
            std::uint64_t x = (round * 64 + static_cast<std::uint64_t>(t)) * 0x9E3779B97F4A7C15u;
            x ^= x >> 29;
            // Some rounds of small numbers, some in which high halves tie, some with neutral ones.
            values.push_back(round % 3 == 0 ? static_cast<X>(x % 5) - 2
                             : x % 7 == 0   ? (round % 2 ? MAX : LOWEST)
                                            : static_cast<X>(x));
        }
        X lowest = MAX, highest = LOWEST;
        std::int32_t sum = 0, expected_sum = 0;
        for (int t = 0; t < THREADS; ++t)
            expected_sum += t * static_cast<int>(round);
        onFibers(
            [&] {
                post_min(lowest, values[threadIdx.x], thread());
                post_max(highest, values[threadIdx.x], LOWEST, thread());
                post_sum(sum, thread() * static_cast<int>(round), thread());
            },
            round);
        EXPECT_EQ(lowest, *std::min_element(values.begin(), values.end()));
        EXPECT_EQ(highest, *std::max_element(values.begin(), values.end()));
        EXPECT_EQ(sum, expected_sum);
    }
}

TEST(Fibers, ABlockAgreesOnMinimumMaximumAndSum) {
    reduceEverything<std::int32_t>();
    reduceEverything<std::int64_t>();
}

}  // namespace
}  // namespace orvex::device::test
