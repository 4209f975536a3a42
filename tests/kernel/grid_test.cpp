// A launch of many blocks that cannot all run at once: the kernel itself on fibers, a few host
// threads that run one block each at a time, and a test that plays the host of all islands. A run
// works, stops and drains, and a kill ends it, however few blocks fit at a time.
#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "kernels.hpp"
#include "rings.hpp"

namespace orvex::device::test {
namespace {

/** The matrix record as the kernel reads it: rows, diagonal, number of variables. */
template <class E>
class RECORD {
  public:
    RECORD(TEST_MODEL<E>& model) {
        model.needAllRows();
        const std::size_t size = static_cast<std::size_t>(model.size());
        bytes_.resize((size * size + size) * sizeof(E) + sizeof(int));
        std::memcpy(bytes_.data(), model.weights(), size * size * sizeof(E));
        std::memcpy(bytes_.data() + size * size * sizeof(E), model.diagonal(), size * sizeof(E));
        std::memcpy(bytes_.data() + (size * size + size) * sizeof(E), &model.n, sizeof(int));
    }
    template <class WMAT>
    WMAT& as() {
        return *reinterpret_cast<WMAT*>(bytes_.data());
    }

  private:
    std::vector<unsigned char> bytes_;
};

/** A launch of `grid` blocks of which `resident` run at a time. */
class LAUNCHED {
  public:
    template <class KERNEL>
    LAUNCHED(int grid, int resident, int threads, KERNEL kernel) {
        for (int i = 0; i < resident; ++i)
            multiprocessors_.emplace_back([=, this] {
                for (int block; (block = next_++) < grid;) {
                    FIBERS fibers(threads, block, static_cast<std::uint64_t>(block + 1), kernel);
                    while (fibers.run() != FIBERS::STATE::ENDED)
                        std::this_thread::yield();
                    ++left_;
                }
            });
    }
    ~LAUNCHED() { wait(); }

    int wait() {
        for (std::thread& multiprocessor : multiprocessors_)
            multiprocessor.join();
        multiprocessors_.clear();
        return left_;
    }

  private:
    std::atomic<int> next_{0}, left_{0};
    std::vector<std::thread> multiprocessors_;
};

struct SHAPE_OF_GRID {
    int islands, blocks_per_island, resident;
};

class GRID_TEST : public ::testing::TestWithParam<SHAPE_OF_GRID> {
  public:
    static constexpr int SIZE = 192;
    using MODEL = TEST_MODEL<std::int32_t>;

    GRID_TEST()
        : model(SIZE, dense(31, -50, 50)),
          record(model),
          rings(SIZE, GetParam().islands, 4 * static_cast<unsigned>(GetParam().blocks_per_island)),
          seeds(static_cast<std::size_t>(grid()) * threads_of(SIZE)) {
        for (std::size_t t = 0; t < seeds.size(); ++t)
            seeds[t] = mixed(32, 0, static_cast<int>(t));
    }

    static int grid() { return GetParam().islands * GetParam().blocks_per_island; }

    auto kernel() {
        return [this] {
            qb192_32_64::ORVEX(0, seeds.data(), record.as<qb192_32_64::WMAT>(), rings.ring_size,
                               static_cast<unsigned char>(GetParam().islands),
                               reinterpret_cast<qb192_32_64::INST_t*>(rings.sendSlot(0, 0)),
                               nullptr, &rings.state);
        };
    }

    INSTANCE instance(int i) {
        INSTANCE made = {.target = BITS(SIZE),
                         .algorithm = static_cast<std::int8_t>(i % 5),
                         .budget = 40,
                         .steps = 10,
                         .inst = static_cast<std::int8_t>(i % 7)};
        for (int bit = 0; bit < SIZE; ++bit)
            made.target[static_cast<std::size_t>(bit)] = mixed(33, i, bit) % 8 == 0;
        return made;
    }

    /** Takes a result of the island if there is one; it must be right. */
    bool take(int island) {
        const std::optional<RESULT> result = rings.receive(island);
        if (!result) return false;
        EXPECT_EQ(result->energy, model.energy(result->bits));
        EXPECT_EQ(result->tail.overflow, 0);
        EXPECT_EQ(result->tail.block % GetParam().islands, island);
        blocks_seen.insert(result->tail.block);
        return true;
    }

    MODEL model;
    RECORD<std::int32_t> record;
    TEST_RINGS rings;
    std::vector<unsigned long> seeds;
    std::set<int> blocks_seen;
};

TEST_P(GRID_TEST, WorksStopsAndDrains) {
    const int islands = GetParam().islands;
    const int first_wave = 2 * GetParam().blocks_per_island;
    const int in_all = first_wave + 12;
    std::vector<int> sent(static_cast<std::size_t>(islands));
    std::vector<int> received(static_cast<std::size_t>(islands));
    const auto send = [&](int island) {
        rings.send(island, instance(100 * island + sent[static_cast<std::size_t>(island)]++));
    };
    for (int island = 0; island < islands; ++island)
        for (int i = 0; i < first_wave; ++i)
            send(island);

    LAUNCHED launched(grid(), GetParam().resident, threads_of(SIZE), kernel());
    for (int stopped = 0; stopped < islands;) {
        for (int island = 0; island < islands; ++island) {
            int& got = received[static_cast<std::size_t>(island)];
            if (got == in_all || !take(island)) continue;
            ++got;
            if (sent[static_cast<std::size_t>(island)] < in_all)
                send(island);
            else if (got == in_all - first_wave + 1)
                for (int i = 0; i < GetParam().blocks_per_island; ++i)
                    rings.sendStop(island);
            stopped += got == in_all;
        }
        std::this_thread::yield();
    }
    EXPECT_EQ(launched.wait(), grid());
    for (int island = 0; island < islands; ++island) {
        EXPECT_EQ(rings.resultsHandedIn(island), in_all);
        EXPECT_EQ(rings.ticketsTaken(island), in_all + GetParam().blocks_per_island);
    }
    EXPECT_EQ(rings.state.block_count, static_cast<unsigned>(grid()));
    EXPECT_NE(rings.state.start_time, 0u);
}

TEST_P(GRID_TEST, AKillEndsAllBlocksThoseThatNeverRanToo) {
    for (int i = 0; i < 2; ++i)
        for (int island = 0; island < GetParam().islands; ++island) {
            INSTANCE endless = instance(island + i);
            endless.algorithm = RANDOM_MIN;
            endless.budget = endless.steps = 0xFFFFFFFF;
            rings.send(island, endless);
        }
    LAUNCHED launched(grid(), GetParam().resident, threads_of(SIZE), kernel());
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    rings.kill();
    EXPECT_EQ(launched.wait(), grid());
}

INSTANTIATE_TEST_SUITE_P(Shapes, GRID_TEST,
                         ::testing::Values(SHAPE_OF_GRID{1, 1, 1}, SHAPE_OF_GRID{2, 3, 6},
                                           SHAPE_OF_GRID{2, 3, 2}, SHAPE_OF_GRID{1, 5, 1},
                                           SHAPE_OF_GRID{3, 2, 3}),
                         [](const auto& shape) {
                             const SHAPE_OF_GRID& grid = shape.param;
                             return std::to_string(grid.islands) + "Islands" +
                                    std::to_string(grid.blocks_per_island) + "Blocks" +
                                    std::to_string(grid.resident) + "AtATime";
                         });

TEST(LateIslandTest, IslandsWhoseBlocksAllWaitOutsideAreServedWhenOthersStop) {
    // Two islands of one block each on a device that holds one block.
    TEST_MODEL<std::int32_t> model(64, dense(34, -50, 50));
    RECORD<std::int32_t> record(model);
    TEST_RINGS rings(64, 2, 4);
    std::vector<unsigned long> seeds(2 * threads_of(64), 7);
    for (int island = 0; island < 2; ++island)
        for (int i = 0; i < 2; ++i)
            rings.send(island, {.target = {1, 1}, .budget = 20, .steps = 5});
    LAUNCHED launched(2, 1, threads_of(64), [&] {
        qb64_32_32::ORVEX(0, seeds.data(), record.as<qb64_32_32::WMAT>(), rings.ring_size, 2,
                          reinterpret_cast<qb64_32_32::INST_t*>(rings.sendSlot(0, 0)), nullptr,
                          &rings.state);
    });
    const auto drain = [&](int island) {
        for (int got = 0; got < 2; std::this_thread::yield())
            got += rings.receive(island).has_value();
    };
    drain(0);
    EXPECT_EQ(rings.resultsHandedIn(1), 0);
    rings.sendStop(0);
    drain(1);
    rings.sendStop(1);
    EXPECT_EQ(launched.wait(), 2);
}

}  // namespace
}  // namespace orvex::device::test
