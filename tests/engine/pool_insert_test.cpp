// Which record a result displaces: single cases, and thousands of random insertions against the
// rule stated once more on a plain list.
#include <bit>
#include <set>

#include "engine/names.hpp"
#include "engine/support/death.hpp"
#include "engine/support/run_by_hand.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;
using band::INST_t;
using band::SOLPOOL;

constexpr std::uint64_t ALL = ~std::uint64_t{0};

int distance(const INST_t& a, const INST_t& b) {
    return std::popcount(a.bits[0] ^ b.bits[0]) + std::popcount(a.bits[1] ^ b.bits[1]);
}

bool same(const INST_t& a, const INST_t& b) {
    return std::memcmp(&a, &b, sizeof(INST_t)) == 0;
}

class Insert : public RunByHand {
  protected:
    Insert() { begin(); }

    /** Offers a candidate. */
    void offer(SOLPOOL& pool, const INST_t& record) {
        engine_tests::record(candidate) = record;
        pool.init(sent, candidate);
        pool.insert();
    }

    /** A pool whose ranks have these energies and whose bits are far apart. */
    std::unique_ptr<SOLPOOL> poolOf(const std::vector<long>& energies) {
        auto pool = std::make_unique<SOLPOOL>(*run, static_cast<int>(energies.size()));
        for (std::size_t rank = 0; rank < energies.size(); ++rank)
            record(pool->pool[rank]) = far(static_cast<int>(rank), energies[rank]);
        return pool;
    }

    /** Records with different i differ in 16 bits. */
    static INST_t far(int i, long energy) {
        INST_t record = result_of(energy);
        record.bits[i / 8] = std::uint64_t{0xFF} << (i % 8 * 8);
        return record;
    }

    static std::vector<long> energies(const SOLPOOL& pool) {
        std::vector<long> list;
        for (int rank = 0; rank < pool.pool_size; ++rank)
            list.push_back(pool.pool[pool.order[rank]].energy);
        return list;
    }

    engine::OWN_INSTANCE candidate{2};
    engine::OWN_INSTANCE sent{2};
};

TEST_F(Insert, IntoAPoolWithoutSolutionsTheFirstResultTakesRank0) {
    SOLPOOL pool(*run, 4);
    pool.state = 1;
    pool.randomInit(0);
    run->solution_proximity = 0;
    offer(pool, far(0, -5));
    EXPECT_EQ(energies(pool),
              (std::vector<long>{-5, device::NO_ENERGY, device::NO_ENERGY, device::NO_ENERGY}));
    offer(pool, far(1, -3));
    offer(pool, far(2, -4));
    EXPECT_EQ(energies(pool), (std::vector<long>{-5, -4, device::NO_ENERGY, device::NO_ENERGY}))
        << "-3 stood at the rank that -4 takes";
}

TEST_F(Insert, ACandidateWorseThanAllIsDropped) {
    const auto pool = poolOf({-9, -8, -7});
    const std::vector<signed char> ring = pool->ring;
    INST_t worse = far(5, -6);
    worse.inst = engine::MUTATION;
    offer(*pool, worse);
    EXPECT_EQ(energies(*pool), (std::vector<long>{-9, -8, -7}));
    EXPECT_EQ(pool->ring_pos, 0);
    EXPECT_EQ(pool->ring, ring);
    EXPECT_EQ(pool->hits[9], 0u);
}

TEST_F(Insert, FarFromAllItTakesThePlaceOfTheRecordAtItsRankAndTheTailSurvives) {
    const auto pool = poolOf({-9, -7, -5, -3});
    run->solution_proximity = 3;
    offer(*pool, far(9, -8));
    EXPECT_EQ(energies(*pool), (std::vector<long>{-9, -8, -5, -3}));
    EXPECT_TRUE(same(pool->pool[1], far(9, -8))) << "in the slot of the record that went";
}

TEST_F(Insert, EqualToTheWorstAndFarItOverwritesTheWorst) {
    const auto pool = poolOf({-9, -7, -5});
    run->solution_proximity = 3;
    offer(*pool, far(9, -5));
    EXPECT_EQ(energies(*pool), (std::vector<long>{-9, -7, -5}));
    EXPECT_TRUE(same(pool->pool[2], far(9, -5)));
}

TEST_F(Insert, ItComesInFrontOfItsEquals) {
    const auto pool = poolOf({-9, -7, -7, -5});
    run->solution_proximity = 0;
    INST_t twin = far(3, -7);
    twin.found_time = 1;
    offer(*pool, twin);
    EXPECT_EQ(energies(*pool), (std::vector<long>{-9, -7, -7, -7}));
    EXPECT_EQ(pool->order[1], 3) << "the near record at the end went, its slot moved up";
    EXPECT_EQ(pool->order[2], 1);
    EXPECT_EQ(pool->order[3], 2);
}

TEST_F(Insert, OfSeveralNearRecordsTheWorstRankedGoes) {
    const auto pool = poolOf({-9, -7, -5, -3, -1});
    run->solution_proximity = 2;
    INST_t near = far(1, -8);
    pool->pool[2].bits[0] = near.bits[0] ^ 1;
    pool->pool[3].bits[0] = near.bits[0] ^ 3;
    offer(*pool, near);
    EXPECT_EQ(energies(*pool), (std::vector<long>{-9, -8, -7, -5, -1}));
}

TEST_F(Insert, ANearRecordOfABetterRankStays) {
    const auto pool = poolOf({-9, -7, -5});
    run->solution_proximity = 0;
    INST_t near = pool->pool[0];
    near.energy = -8;
    offer(*pool, near);
    EXPECT_EQ(energies(*pool), (std::vector<long>{-9, -8, -5}));
}

TEST_F(Insert, TheBoundOfTheProximityIsStillNear) {
    for (const int proximity : {15, 16}) {
        const auto pool = poolOf({-9, -7, -5});
        run->solution_proximity = proximity;
        offer(*pool, far(9, -8));
        const long last = energies(*pool).back();
        EXPECT_EQ(last, proximity == 16 ? -7 : -5) << "all distances are 16";
    }
}

TEST_F(Insert, FillerBitsCountInTheDistance) {
    run->solution_proximity = 0;
    const auto pool = poolOf({-9, -7, -5});
    INST_t candidate_with_filler = pool->pool[2];
    candidate_with_filler.energy = -8;
    candidate_with_filler.bits[1] |= std::uint64_t{1} << 63;
    offer(*pool, candidate_with_filler);
    EXPECT_EQ(energies(*pool), (std::vector<long>{-9, -8, -5})) << "bit 127 is not the model's";
}

TEST_F(Insert, WithAProximityOfTheBandsSizeThePoolIsASortedList) {
    run->solution_proximity = 128;
    const auto pool = poolOf({-9, -7, -5, -3});
    INST_t opposite = result_of(-8);
    opposite.bits[0] = opposite.bits[1] = ALL;
    offer(*pool, opposite);
    EXPECT_EQ(energies(*pool), (std::vector<long>{-9, -8, -7, -5}));
}

TEST_F(Insert, IntoAPoolOf2ABetterFarResultOverwritesRank0) {
    const auto pool = poolOf({-9, -7});
    run->solution_proximity = 0;
    offer(*pool, far(9, -20));
    EXPECT_EQ(energies(*pool), (std::vector<long>{-20, -7}));
}

TEST_F(Insert, AMutationThatEntersIsCounted) {
    const auto pool = poolOf({-9, -7});
    INST_t mutation = far(9, -8);
    mutation.inst = engine::MUTATION;
    mutation.param = -4;
    for (int i = 0; i < 101; ++i)
        offer(*pool, mutation);
    EXPECT_EQ(pool->hits[5], 101u);
    EXPECT_EQ(pool->ring_pos, 1) << "after 100 places comes the first";
    EXPECT_EQ(pool->ring, std::vector<signed char>(100, -4));
}

TEST_F(Insert, OtherGeneratorsAreNotCounted) {
    const auto pool = poolOf({-9, -7});
    for (signed char kind = 0; kind <= engine::NO_GENERATOR; ++kind) {
        if (kind == engine::MUTATION) continue;
        INST_t record = far(9, -8);
        record.inst = kind;
        record.param = 100;
        offer(*pool, record);
    }
    EXPECT_EQ(pool->ring_pos, 0);
    for (const unsigned hit : pool->hits)
        EXPECT_EQ(hit, 0u);
}

TEST_F(Insert, AMutationParameterOutOfRangeIsFatal) {
    const auto pool = poolOf({-9, -7});
    INST_t mutation = far(9, -8);
    mutation.inst = engine::MUTATION;
    mutation.param = 1;
    EXPECT_ERROR(offer(*pool, mutation), "Unexpected error in PARAM (1)");
    mutation.param = -10;
    EXPECT_ERROR(offer(*pool, mutation), "Unexpected error in PARAM (-10)");
}

/** The rule on a list in the order of ranks. */
void insert_into_list(std::vector<INST_t>& ranked, const INST_t& candidate, int proximity) {
    std::size_t rank = 0;
    while (rank < ranked.size() && ranked[rank].energy < candidate.energy)
        ++rank;
    if (rank == ranked.size()) return;
    std::size_t victim = rank;
    for (std::size_t k = rank + 1; k < ranked.size(); ++k)
        if (distance(candidate, ranked[k]) <= proximity) victim = k;
    ranked.erase(ranked.begin() + static_cast<std::ptrdiff_t>(victim));
    ranked.insert(ranked.begin() + static_cast<std::ptrdiff_t>(rank), candidate);
}

/** Equal bits have equal energies, and many bits share one. */
long energy_of_bits(const INST_t& record) {
    return -static_cast<long>((record.bits[0] * 7 + record.bits[1] * 13) % 40);
}

class RandomInsertions : public Insert, public testing::WithParamInterface<std::pair<int, int>> {};

TEST_P(RandomInsertions, FollowTheRuleStatedOnAList) {
    const auto [pool_size, proximity] = GetParam();
    run->solution_proximity = proximity;
    std::mt19937_64 twister(static_cast<unsigned>(pool_size * 1000 + proximity));
    SOLPOOL pool(*run, pool_size);
    pool.state = twister();
    pool.randomInit(0);
    std::vector<INST_t> expected;
    for (int slot = 0; slot < pool_size; ++slot)
        expected.push_back(pool.pool[slot]);

    for (int round = 0; round < 4000; ++round) {
        INST_t record = result_of(0);
        record.bits[0] = twister() & 0x3F;  // few bits vary, so that near records are common
        record.bits[1] = twister() & 0x7;
        record.energy = energy_of_bits(record);
        record.found_time = round;
        offer(pool, record);
        insert_into_list(expected, record, proximity);

        std::set<int> slots;
        for (int rank = 0; rank < pool_size; ++rank) {
            const INST_t& member = pool.pool[pool.order[rank]];
            ASSERT_TRUE(same(member, expected[static_cast<std::size_t>(rank)]))
                << "round " << round << " rank " << rank;
            slots.insert(pool.order[rank]);
        }
        ASSERT_EQ(slots.size(), static_cast<std::size_t>(pool_size)) << "a slot has one rank";
    }
}

// A wider proximity can drive out another near record instead, and the twin stays.
TEST_F(Insert, WithAProximityOf0NoSolutionIsThereTwice) {
    run->solution_proximity = 0;
    std::mt19937_64 twister(1);
    SOLPOOL pool(*run, 20);
    pool.state = 1;
    pool.randomInit(0);
    for (int round = 0; round < 4000; ++round) {
        INST_t record = result_of(0);
        record.bits[0] = twister() & 0x3F;
        record.energy = energy_of_bits(record);
        offer(pool, record);
        std::set<std::uint64_t> solutions;
        int with_energy = 0;
        for (int slot = 0; slot < pool.pool_size; ++slot) {
            if (pool.pool[slot].energy == device::NO_ENERGY) continue;
            ++with_energy;
            solutions.insert(pool.pool[slot].bits[0]);
        }
        ASSERT_EQ(static_cast<int>(solutions.size()), with_energy) << "round " << round;
    }
}

INSTANTIATE_TEST_SUITE_P(SizesAndProximities, RandomInsertions,
                         testing::Values(std::pair(2, 0), std::pair(2, 2), std::pair(10, 0),
                                         std::pair(10, 1), std::pair(30, 3), std::pair(30, 9),
                                         std::pair(30, 128)),
                         [](const auto& one) {
                             return "pool" + std::to_string(one.param.first) + "_proximity" +
                                    std::to_string(one.param.second);
                         });

}  // namespace
