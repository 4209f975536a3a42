#include "toolkit/companion/collection.hpp"

#include <gtest/gtest.h>

namespace orvex::toolkit {
namespace {

std::vector<Wide> energies_of(const Collection& collection) {
    std::vector<Wide> energies;
    for (const Solution& solution : collection.solutions())
        energies.push_back(solution.energy);
    return energies;
}

TEST(COLLECTION_TEST, keeps_the_best_distinct_solutions) {
    Collection collection(3, 2);
    EXPECT_TRUE(collection.solutions().empty());
    collection.take({{0, 1}, 5});
    collection.take({{0, 1}, 5});
    collection.take({{1, 0}, 7});
    EXPECT_EQ(energies_of(collection), (std::vector<Wide>{5, 7}));
    collection.take({{0, 0}, 5});
    collection.take({{1, 1}, -2});
    EXPECT_EQ(energies_of(collection), (std::vector<Wide>{-2, 5, 5})) << "the worst has gone";
    collection.take({{1, 0}, 5});
    EXPECT_EQ(collection.solutions().front().bits, (Bits{1, 1}));
    EXPECT_EQ(energies_of(collection), (std::vector<Wide>{-2, 5, 5})) << "equals do not drive out";
}

TEST(COLLECTION_TEST, keeps_nothing_where_nothing_is_wanted) {
    Collection collection(0, 2);
    collection.take({{0, 1}, -5});
    EXPECT_TRUE(collection.solutions().empty());
}

TEST(COLLECTION_TEST, keeps_fewer_of_large_models) {
    const std::size_t size = std::size_t{100} << 20;
    Collection collection(1000, size);
    for (int k = 0; k < 3; ++k) {
        Bits bits(size);
        bits[static_cast<std::size_t>(k)] = 1;
        collection.take({std::move(bits), -k});
    }
    EXPECT_EQ(energies_of(collection), (std::vector<Wide>{-2, -1}));
}

}  // namespace
}  // namespace orvex::toolkit
