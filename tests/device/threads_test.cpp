// Blocks on real threads: a launch with several blocks on the rings of two islands, thousands of
// small instances, and a host thread for each island that keeps the rings filled. Meant to be run
// under a race detector too.
#include <chrono>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "bench.hpp"

namespace orvex::device::test {
namespace {

constexpr int ISLANDS = 2;
constexpr int BLOCKS = 6;  // three for each island
constexpr int BLOCKS_PER_ISLAND = BLOCKS / ISLANDS;
constexpr unsigned RING_SIZE = 4 * BLOCKS_PER_ISLAND;

class ThreadsTest : public ::testing::TestWithParam<int> {
  protected:
    using BLOCK = CPU_BLOCK<std::int32_t, std::int32_t>;

    ThreadsTest() { model_.needAllRows(); }

    /** All blocks, on as many workers as the test is given. */
    std::unique_ptr<platform::LAUNCH> launch() {
        std::vector<std::unique_ptr<platform::BLOCK_TASK>> blocks;
        for (int i = 0; i < BLOCKS; ++i)
            blocks.push_back(std::make_unique<BLOCK>(i, rings_.launch(model_, seeds_)));
        return std::make_unique<platform::LAUNCH>(std::move(blocks), GetParam());
    }

    INSTANCE instance(int island, int number) const {
        INSTANCE sent = {.algorithm = static_cast<std::int8_t>(number % 5),
                         .budget = 10,
                         .steps = 10,
                         .generation = static_cast<std::uint16_t>(1 + number / 100)};
        for (int bit = 0; bit < 64; ++bit)
            sent.target.push_back(mixed(81, island * 100000 + number, bit) & 1);
        return sent;
    }

    RESULT awaitResult(int island, std::size_t received) {
        const std::int64_t* word = rings_.ticketWord(rings_.receiveSlot(island, received));
        for (;;) {
            if (auto result = rings_.receive(island)) return *result;
            const std::int64_t seen = __atomic_load_n(word, __ATOMIC_ACQUIRE);
            if (seen != static_cast<std::int64_t>(received) + 1)
                platform::wait_for_ticket(word, seen, 10000);
        }
    }

    /** One result in, one instance out, as an island does it. */
    void playIsland(int island, int instances) {
        const int first_wave = 2 * BLOCKS_PER_ISLAND;
        int sent = 0;
        for (; sent < first_wave; ++sent)
            rings_.send(island, instance(island, sent));
        for (int received = 0; received < instances; ++received) {
            const RESULT result = awaitResult(island, static_cast<std::size_t>(received));
            EXPECT_EQ(result.energy, model_.energy(result.bits));
            EXPECT_EQ(result.tail.block % ISLANDS, island);
            if (sent < instances) rings_.send(island, instance(island, sent++));
        }
        for (int i = 0; i < BLOCKS_PER_ISLAND; ++i)
            rings_.sendStop(island);
    }

    TEST_MODEL<std::int32_t> model_{64, 40, dense(82, -100, 100)};
    TEST_RINGS rings_{64, ISLANDS, RING_SIZE};
    const std::vector<unsigned long> seeds_ = seedsFor(83, BLOCKS * 64);
};

TEST_P(ThreadsTest, ThousandsOfInstancesOverTwoIslandsWithAHostThreadEach) {
    constexpr int INSTANCES = 3000;
    const auto running = launch();
    std::thread other([&] { playIsland(1, INSTANCES); });
    playIsland(0, INSTANCES);
    other.join();
    running->wait();
    for (int island = 0; island < ISLANDS; ++island) {
        EXPECT_EQ(rings_.resultsHandedIn(island), INSTANCES);
        EXPECT_EQ(rings_.ticketsTaken(island), INSTANCES + BLOCKS_PER_ISLAND);
    }
}

TEST_P(ThreadsTest, AKillEndsBlocksThatWait) {
    const auto running = launch();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));  // the workers fall asleep
    rings_.kill();
    running->wait();
    EXPECT_EQ(rings_.resultsHandedIn(0) + rings_.resultsHandedIn(1), 0);
}

TEST_P(ThreadsTest, AKillEndsBlocksInTheMiddleOfASearch) {
    const auto running = launch();
    INSTANCE endless = instance(0, MAX_MIN);
    endless.budget = endless.steps = 0xFFFFFFFF;
    for (int i = 0; i < BLOCKS; ++i)
        rings_.send(i % ISLANDS, endless);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    rings_.kill();
    running->wait();
    EXPECT_EQ(rings_.resultsHandedIn(0) + rings_.resultsHandedIn(1), 0);
}

INSTANTIATE_TEST_SUITE_P(Workers, ThreadsTest, ::testing::Values(1, 2, 4));

/** A kernel whose one argument is what its blocks are made from. */
class BLOCKS_OF_A_LAUNCH final : public platform::KERNEL {
  public:
    std::unique_ptr<platform::BLOCK_TASK> makeBlock(int index, void** arguments) const override {
        return std::make_unique<CPU_BLOCK<std::int32_t, std::int32_t>>(
            index, *static_cast<const CPU_LAUNCH<std::int32_t>*>(arguments[0]));
    }
    std::unique_ptr<platform::DEVICE_COPY> copyOf(void*, const void*) const override {
        return nullptr;
    }
};

class StreamTest : public ThreadsTest {};

TEST_P(StreamTest, AStreamHoldsALaunchUntilItsLastBlockHasLeft) {
    platform::cudaStream_t stream;
    platform::cudaStreamCreateWithFlags(&stream, platform::cudaStreamNonBlocking);
    CPU_LAUNCH<std::int32_t> launch = rings_.launch(model_, seeds_);
    void* arguments[] = {&launch};
    const BLOCKS_OF_A_LAUNCH kernel;
    platform::launch_kernel(&kernel, BLOCKS, 64, stream, arguments);
    EXPECT_EQ(platform::cudaGetLastError(), platform::cudaSuccess);
    std::thread other([&] { playIsland(1, GetParam()); });
    playIsland(0, GetParam());
    other.join();
    platform::cudaStreamSynchronize(stream);
    EXPECT_EQ(rings_.resultsHandedIn(0), GetParam());
    EXPECT_EQ(rings_.resultsHandedIn(1), GetParam());
    platform::cudaStreamDestroy(stream);
}

INSTANTIATE_TEST_SUITE_P(Instances, StreamTest, ::testing::Values(6, 200));

}  // namespace
}  // namespace orvex::device::test
