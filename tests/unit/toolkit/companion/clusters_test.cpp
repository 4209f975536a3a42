#include "toolkit/companion/clusters.hpp"

#include <atomic>
#include <cstdint>
#include <limits>
#include <numeric>

#include <gtest/gtest.h>

#include "toolkit/companion/cluster_search.hpp"
#include "unit/toolkit/companion/models.hpp"

namespace orvex::toolkit {
namespace {

using namespace test;

/** Replicas of an elite, as the clusters are told of them. */
struct Replicas {
    std::vector<std::int32_t> variables;
    std::vector<std::uint64_t> flips;

    /** That many, each with a share of 3 in 8 of the variables flipped. */
    Replicas(int size, int count, unsigned seed)
        : variables(static_cast<std::size_t>(size)), flips(static_cast<std::size_t>(size)) {
        std::iota(variables.begin(), variables.end(), 0);
        std::mt19937_64 random(seed);
        for (std::uint64_t& word : flips)
            for (int k = 0; k < count; ++k)
                word |= std::uint64_t{random() % 8 < 3} << k;
    }

    Bits flipped(Bits bits, int replica) const {
        for (std::size_t i = 0; i < bits.size(); ++i)
            bits[i] ^= static_cast<std::uint8_t>(flips[i] >> replica & 1);
        return bits;
    }
};

Bits with_flips(Bits bits, const std::vector<std::int32_t>& variables) {
    for (const std::int32_t i : variables)
        bits[static_cast<std::size_t>(i)] ^= 1;
    return bits;
}

TEST(CLUSTERS_TEST, cost_what_their_flips_cost_in_the_model) {
    int couplings = 0;
    for (unsigned seed = 0; seed < 200; ++seed) {
        const SparseQubo qubo = random_sparse(40, 50, 9, seed);
        const Bits elite = random_bits(40, seed);
        const Replicas replicas(40, 2, seed);
        Clusters clusters(qubo);
        const SparseQubo model = clusters.form(elite, replicas.variables, replicas.flips);
        couplings += static_cast<int>(model.couplings());
        for (unsigned state = 0; state < 20; ++state) {
            const Bits flipped = random_bits(model.size(), 1000 * seed + state);
            std::vector<std::int32_t> variables;
            clusters.expand(flipped, variables);
            EXPECT_EQ(energy_of(model, flipped),
                      energy_of(qubo, with_flips(elite, variables)) - energy_of(qubo, elite));
        }
    }
    EXPECT_GT(couplings, 1000) << "hardly ever were clusters beside each other";
}

TEST(CLUSTERS_TEST, are_connected_and_alike_and_as_large_as_can_be) {
    for (unsigned seed = 0; seed < 100; ++seed) {
        const SparseQubo qubo = random_sparse(40, 50, 9, seed);
        const Replicas replicas(40, 2, seed);
        Clusters clusters(qubo);
        const int count =
            clusters.form(random_bits(40, seed), replicas.variables, replicas.flips).size();
        std::vector<int> cluster_of(40, -1);
        for (int c = 0; c < count; ++c) {
            Bits one(static_cast<std::size_t>(count));
            one[static_cast<std::size_t>(c)] = 1;
            std::vector<std::int32_t> members;
            clusters.expand(one, members);
            ASSERT_FALSE(members.empty());
            for (const std::int32_t i : members) {
                EXPECT_EQ(cluster_of[static_cast<std::size_t>(i)], -1) << "in two clusters";
                cluster_of[static_cast<std::size_t>(i)] = c;
            }
        }
        // With as many clusters as there are connected sets of one word, none is in pieces.
        std::vector<int> root(40);
        std::iota(root.begin(), root.end(), 0);
        int sets = 0;
        for (std::size_t i = 0; i < 40; ++i) {
            EXPECT_EQ(cluster_of[i] < 0, replicas.flips[i] == 0);
            sets += replicas.flips[i] != 0;
        }
        const auto root_of = [&](int i) {
            while (root[static_cast<std::size_t>(i)] != i)
                i = root[static_cast<std::size_t>(i)];
            return i;
        };
        for (int i = 0; i < 40; ++i)
            for (const std::int32_t j : qubo.neighbours_of(i)) {
                const auto a = static_cast<std::size_t>(i);
                const auto b = static_cast<std::size_t>(j);
                if (replicas.flips[a] == 0 || replicas.flips[a] != replicas.flips[b]) continue;
                EXPECT_EQ(cluster_of[a], cluster_of[b]) << "neighbours that are alike";
                if (root_of(i) == root_of(j)) continue;
                root[static_cast<std::size_t>(root_of(i))] = root_of(j);
                --sets;
            }
        EXPECT_EQ(count, sets);
    }
}

TEST(CLUSTERS_TEST, are_none_where_replicas_are_the_elite) {
    const SparseQubo qubo = torus(4, 5, 1);
    Clusters clusters(qubo);
    const std::vector<std::int32_t> variables{3, 4, 9};
    const std::vector<std::uint64_t> flips{0, 0, 0};
    EXPECT_EQ(clusters.form(random_bits(20, 1), variables, flips).size(), 0);
}

TEST(CLUSTERS_TEST, can_be_formed_again_with_the_same_memory) {
    const SparseQubo qubo = torus(6, 6, 3);
    const Bits elite = random_bits(36, 3);
    Clusters used(qubo);
    for (unsigned seed = 0; seed < 10; ++seed) {
        const Replicas replicas(36, 3, seed);
        const SparseQubo again = used.form(elite, replicas.variables, replicas.flips);
        const SparseQubo fresh = Clusters(qubo).form(elite, replicas.variables, replicas.flips);
        EXPECT_EQ(again.linear, fresh.linear);
        EXPECT_EQ(again.neighbours, fresh.neighbours);
        EXPECT_EQ(again.weights, fresh.weights);
    }
}

TEST(CLUSTERS_TEST, are_left_out_where_sums_may_not_fit) {
    constexpr std::int64_t LARGE = std::int64_t{1} << 61;
    EXPECT_FALSE(Clusters(sparse_qubo({LARGE, LARGE}, {})).possible());
    EXPECT_FALSE(Clusters(sparse_qubo({std::numeric_limits<std::int64_t>::min()}, {})).possible());
    EXPECT_TRUE(Clusters(sparse_qubo({LARGE, -LARGE + 1}, {})).possible());
}

TEST(CLUSTER_SEARCH_TEST, finds_the_best_combination_of_few_clusters) {
    const std::atomic<bool> stop{false};
    int better_than_all = 0;
    for (unsigned seed = 0; seed < 100; ++seed) {
        const SparseQubo qubo = random_sparse(60, 90, 9, seed);
        const Bits elite = random_bits(60, seed);
        Replicas replicas(60, 2, seed);
        // Blocks of variables that are alike, so that all combinations can be looked through.
        for (std::size_t i = 0; i < 60; ++i)
            replicas.flips[i] = replicas.flips[i / 10];
        Clusters clusters(qubo);
        const SparseQubo model = clusters.form(elite, replicas.variables, replicas.flips);
        if (model.size() < 2 || model.size() > 16) continue;
        Wide best = 0;
        for (unsigned state = 0; state < 1u << model.size(); ++state) {
            Bits flipped(static_cast<std::size_t>(model.size()));
            for (std::size_t c = 0; c < flipped.size(); ++c)
                flipped[c] = state >> c & 1;
            best = std::min(best, energy_of(model, flipped));
        }
        Randoms randoms(seed);
        std::vector<std::int32_t> differing;
        const double made =
            ClusterSearch(qubo, stop)
                .search(elite, replicas.variables, replicas.flips, 30, 4000, randoms, differing);
        const Wide found = energy_of(qubo, with_flips(elite, differing));
        EXPECT_EQ(found - energy_of(qubo, elite), best);
        EXPECT_GT(made, 0);
        better_than_all += found < energy_of(qubo, replicas.flipped(elite, 0)) &&
                           found < energy_of(qubo, replicas.flipped(elite, 1)) && best < 0;
    }
    EXPECT_GT(better_than_all, 10) << "hardly ever was there anything to combine";
}

TEST(CLUSTER_SEARCH_TEST, ends_without_a_result_when_it_is_stopped) {
    const std::atomic<bool> stop{true};
    const SparseQubo qubo = torus(10, 10, 5);
    const Replicas replicas(100, 3, 5);
    Randoms randoms(1);
    std::vector<std::int32_t> differing{7};
    ClusterSearch(qubo, stop)
        .search(random_bits(100, 5), replicas.variables, replicas.flips, 5, 1e6, randoms,
                differing);
    EXPECT_TRUE(differing.empty());
}

}  // namespace
}  // namespace orvex::toolkit
