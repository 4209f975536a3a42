// The count of instances over all islands, and the limit on trials that it keeps.
#include "engine/trans_count.hpp"

#include <atomic>
#include <cstddef>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using orvex::engine::TRANS_COUNT;

TEST(TransCount, WithoutALimitEveryRequestIsGranted) {
    TRANS_COUNT count;
    for (int i = 0; i < 1000; ++i)
        EXPECT_TRUE(count.request(0));
}

TEST(TransCount, AsManyRequestsAsTheLimitAreGranted) {
    TRANS_COUNT count;
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(count.request(3));
    EXPECT_FALSE(count.request(3));
    EXPECT_FALSE(count.request(3));
}

TEST(TransCount, ARefusedRequestStaysCounted) {
    TRANS_COUNT count;
    EXPECT_TRUE(count.request(1));
    EXPECT_FALSE(count.request(1));
    EXPECT_FALSE(count.request(1));
    EXPECT_TRUE(count.request(4)) << "the fourth request";
    EXPECT_FALSE(count.request(4));
}

TEST(TransCount, ANegativeLimitRefusesAll) {
    TRANS_COUNT count;
    EXPECT_FALSE(count.request(-1));
}

TEST(TransCount, ResultsAreAddedUp) {
    TRANS_COUNT count;
    EXPECT_EQ(count.received(0), 0);
    EXPECT_EQ(count.received(1), 1);
    EXPECT_EQ(count.received(5), 6);
    EXPECT_EQ(count.received(-3), 6) << "only positive numbers count";
    EXPECT_EQ(count.received(0), 6);
}

TEST(TransCount, ThreadsTogetherKeepToTheLimit) {
    TRANS_COUNT count;
    std::atomic<int> granted{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                granted += count.request(1000);
                count.received(1);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(granted, 1000);
    EXPECT_EQ(count.received(0), 2000);
}

TEST(TransCount, OfThreadsThatAskAtTheSameMomentOneIsGranted) {
    std::vector<TRANS_COUNT> counts(2000);
    std::vector<std::atomic<int>> arrived(counts.size());
    std::atomic<int> granted{0};
    const auto ask_all = [&] {
        for (std::size_t round = 0; round < counts.size(); ++round) {
            ++arrived[round];
            while (arrived[round] < 2)
                ;
            granted += counts[round].request(1);
        }
    };
    std::thread other(ask_all);
    ask_all();
    other.join();
    EXPECT_EQ(granted, 2000);
}

}  // namespace
