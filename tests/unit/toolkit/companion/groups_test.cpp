#include "toolkit/companion/groups.hpp"

#include <algorithm>

#include <gtest/gtest.h>

#include "toolkit/model/errors.hpp"
#include "unit/toolkit/companion/models.hpp"

namespace orvex::toolkit {
namespace {

using namespace test;
using Members = std::vector<std::vector<std::int32_t>>;

Members sorted(Members members) {
    std::sort(members.begin(), members.end());
    return members;
}

TEST(GROUPS_TEST, are_the_rows_and_columns_of_an_assignment) {
    for (const int count : {3, 5, 8}) {
        const Groups groups = find_groups(assignment(count, 1));
        EXPECT_EQ(sorted(groups.members), sorted(permutation_groups(count)));
        EXPECT_TRUE(std::all_of(groups.exactly_one.begin(), groups.exactly_one.end(),
                                [](bool one) { return one; }));
    }
}

TEST(GROUPS_TEST, are_the_vertices_of_a_colouring) {
    const Groups groups = find_groups(colouring(40, 4, 90, 1));
    ASSERT_EQ(groups.members.size(), 40U);
    for (std::int32_t v = 0; v < 40; ++v)
        EXPECT_EQ(groups.members[static_cast<std::size_t>(v)],
                  (std::vector<std::int32_t>{4 * v, 4 * v + 1, 4 * v + 2, 4 * v + 3}));
}

TEST(GROUPS_TEST, of_a_packing_have_at_most_one) {
    // A choice of one from each three, or none: profits of up to 5 under a penalty of 12.
    const SparseQubo qubo =
        sparse_qubo({-5, -4, -3, -2, -5, -1},
                    {{0, 1, 12}, {0, 2, 12}, {1, 2, 12}, {3, 4, 12}, {3, 5, 12}, {4, 5, 12}});
    const Groups groups = find_groups(qubo);
    EXPECT_EQ(groups.members, (Members{{0, 1, 2}, {3, 4, 5}}));
    EXPECT_EQ(groups.exactly_one, (std::vector<bool>{false, false}));
}

TEST(GROUPS_TEST, are_not_invented_where_there_are_none) {
    for (unsigned seed = 0; seed < 20; ++seed) {
        EXPECT_TRUE(find_groups(random_sparse(200, 300, 50, seed)).empty());
        EXPECT_TRUE(find_groups(random_sparse(200, 2000, 50, seed)).empty());
        EXPECT_TRUE(find_groups(random_sparse(60, 1700, 1, seed)).empty());
        EXPECT_TRUE(find_groups(torus(12, 12, seed)).empty());
    }
}

TEST(GROUPS_TEST, that_cannot_be_are_refused) {
    const auto expect_refusal = [](Members members) {
        const std::size_t count = members.size();
        EXPECT_THROW(expect_groups({std::move(members), std::vector<bool>(count, true)}, 6),
                     InputError);
    };
    expect_refusal({{0, 6}});
    expect_refusal({{-1, 2}});
    expect_refusal({{3, 1, 3}});
    expect_refusal({{0}});
    expect_refusal({{0, 1}, {1, 2}, {1, 3}});
    expect_refusal({{0, 1, 2}, {1, 2, 3}});
    EXPECT_THROW(expect_groups({{{0, 1}}, {}}, 6), InputError);
    EXPECT_NO_THROW(expect_groups({{{0, 1}, {2, 3}, {0, 2}}, {true, true, false}}, 6));
    EXPECT_NO_THROW(expect_groups({}, 6));
}

}  // namespace
}  // namespace orvex::toolkit
