// Where the arrays of a CPU block lie: what is counted is what is placed, and nothing overlaps. And
// that no block is made of deltas that its rows could overflow.
#include "engine/device/cpu/layout.hpp"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "bench.hpp"

namespace orvex::device::test {
namespace {

/** The places of an array of that many elements. */
template <class X>
std::pair<const unsigned char*, const unsigned char*> places(const X* array, std::size_t count) {
    const unsigned char* const begin = reinterpret_cast<const unsigned char*>(array);
    return {begin, begin + count * sizeof(X)};
}

template <class N>
void expectApart(int band) {
    SCOPED_TRACE("band " + std::to_string(band));
    const SHAPE shape(band);
    ARENA counting;
    BLOCK_MEMORY<N>(shape, counting);
    const std::unique_ptr<unsigned char, void (*)(void*)> memory(
        static_cast<unsigned char*>(std::aligned_alloc(CACHE_LINE, counting.used())), &std::free);
    ARENA arena(memory.get());
    const BLOCK_MEMORY<N> placed(shape, arena);
    EXPECT_EQ(arena.used(), counting.used());

    const std::size_t size = static_cast<std::size_t>(shape.size);
    const BLOCK_ARRAYS<N>& arrays = placed.arrays;
    std::vector all = {places(arrays.delta, size),
                       places(arrays.ones, size),
                       places(arrays.differs, size),
                       places(arrays.barred, size),
                       places(placed.barred_until, size),
                       places(placed.target, size),
                       places(placed.best, size),
                       places(arrays.group_low, size / WORD * (CACHE_LINE / sizeof(N))),
                       places(arrays.chosen, size / WORD),
                       places(arrays.tied, size / WORD),
                       places(arrays.words.below, 1)};
    for (const N* numbers :
         {arrays.words.low, arrays.words.free_low, arrays.words.free_high, arrays.words.above,
          arrays.words.ties, arrays.words.free_above, arrays.words.free_ties})
        all.push_back(places(numbers, BLOCK_MEMORY<N>::words_of(size)));
    std::sort(all.begin(), all.end());
    EXPECT_EQ(all.front().first, memory.get());
    EXPECT_LE(all.back().second, memory.get() + arena.used());
    for (std::size_t i = 0; i < all.size(); ++i)
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(all[i].first) % CACHE_LINE, 0u);
    for (std::size_t i = 1; i < all.size(); ++i)
        EXPECT_LE(all[i - 1].second, all[i].first);
}

TEST(Layout, EveryArrayHasItsOwnLinesInAllThatWasCounted) {
    for (int band : {64, 128, 192, 1024, 4096, 5120, 10240, 65536}) {
        expectApart<std::int16_t>(band);
        expectApart<std::int32_t>(band);
        expectApart<std::int64_t>(band);
    }
}

#ifndef NDEBUG
TEST(Layout, ABlockOfNarrowDeltasCannotBeMadeOfRowsThatCouldOverflowThem) {
    using NARROW = CPU_BLOCK<std::int32_t, std::int32_t, std::int16_t>;
    TEST_MODEL<std::int32_t> model(128, dense(1, -32000, 32000));
    EXPECT_DEATH(BENCH<NARROW>(model, {.form = ROW_FORM::WORDS}), "calm");
    EXPECT_DEATH(BENCH<NARROW>(model, {}), "calm") << "every sum tested";
}
#endif

}  // namespace
}  // namespace orvex::device::test
