#include "toolkit/companion/companion.hpp"

#include <chrono>
#include <limits>
#include <stdexcept>

#include <gtest/gtest.h>

#include "support/sanitized.hpp"
#include "toolkit/companion/choices.hpp"
#include "toolkit/model/errors.hpp"
#include "unit/toolkit/companion/models.hpp"

namespace orvex::toolkit {
namespace {

using namespace test;

constexpr Wide HIGHEST = static_cast<Wide>(1) << 120;

/** Its best once it is at or below the target, or after that many seconds. */
Companion::Best best_of(Companion& companion, Wide target, double seconds = 20) {
    companion.start();
    EXPECT_TRUE(companion.wait_for_better(target + 1, seconds));
    companion.stop();
    const auto best = companion.better_than(HIGHEST);
    if (!best) throw std::runtime_error("the companion has found nothing");
    return *best;
}

TEST(COMPANION_TEST, finds_the_optimum_of_small_models_of_every_width) {
    for (const std::int64_t range : {std::int64_t{2}, std::int64_t{20}, std::int64_t{5000},
                                     std::int64_t{1} << 27, std::int64_t{1} << 50}) {
        const SparseQubo qubo = random_sparse(14, 25, range, 4);
        const Wide lowest = lowest_energy(qubo);
        Companion companion(qubo, {});
        const Companion::Best best = best_of(companion, lowest);
        EXPECT_EQ(best.energy, lowest) << "weights up to " << range;
        EXPECT_EQ(best.energy, energy_of(qubo, best.bits));
        EXPECT_GT(companion.attempted_flips(), 0);
    }
}

TEST(COMPANION_TEST, finds_the_optimum_where_energies_do_not_fit_64_bits) {
    constexpr std::int64_t LARGEST = std::numeric_limits<std::int64_t>::max();
    const SparseQubo qubo = random_sparse(10, 15, LARGEST / 2, 1);
    const Wide lowest = lowest_energy(qubo);
    ASSERT_LT(lowest, -static_cast<Wide>(LARGEST));
    Companion companion(qubo, {});
    EXPECT_EQ(best_of(companion, lowest).energy, lowest);
}

TEST(COMPANION_TEST, keeps_groups_and_finds_the_optimum_of_an_assignment) {
    const SparseQubo qubo = assignment(4, 3);
    const Wide lowest = lowest_energy(qubo);
    Companion companion(qubo, {.groups = find_groups(qubo)});
    EXPECT_EQ(best_of(companion, lowest).energy, lowest);
}

TEST(COMPANION_TEST, colours_what_can_be_coloured) {
    const SparseQubo qubo = colouring(60, 4, 150, 2);
    Companion companion(qubo, {.threads = 2, .groups = find_groups(qubo)});
    EXPECT_EQ(best_of(companion, -4 * 60).energy, -4 * 60);
}

/** 40 variables that exclude each other, but for two that are good together: a needle in hay. */
SparseQubo needle() {
    std::vector<std::int64_t> linear(40, 50);
    std::vector<Coupling> pairs;
    for (std::int32_t i = 0; i < 40; ++i)
        for (std::int32_t j = 0; j < i; ++j)
            pairs.push_back({i, j, -3});
    return sparse_qubo(std::move(linear), std::move(pairs));
}

TEST(COMPANION_TEST, takes_what_is_offered_before_it_starts_and_says_so) {
    // All 1 is the optimum, and every way to it from the other minimum, all 0, is uphill for 17
    // flips.
    const SparseQubo qubo = needle();
    const Bits ones(40, 1);
    ASSERT_LT(energy_of(qubo, ones), 0);
    Companion companion(qubo, {});
    companion.offer(ones);
    const Companion::Best best = best_of(companion, energy_of(qubo, ones));
    EXPECT_EQ(best.energy, energy_of(qubo, ones));
    EXPECT_TRUE(best.merged);
}

TEST(COMPANION_TEST, takes_what_is_offered_while_it_runs) {
    const SparseQubo qubo = torus(40, 40, 3);
    Companion first(qubo, {.seed = 1});
    first.start();
    first.wait_for_better(-1100, 5);
    first.stop();
    const Companion::Best found = *first.better_than(HIGHEST);
    Companion second(qubo, {.seed = 2});
    second.start();
    second.offer(found.bits);
    EXPECT_TRUE(second.wait_for_better(found.energy + 1, 20));
    second.stop();
}

TEST(COMPANION_TEST, stops_quickly_and_leaves_no_thread) {
    const int side = orvex::test::SANITIZED ? 100 : 300;
    const SparseQubo qubo = torus(side, side, 1);
    Companion companion(qubo, {.threads = 2});
    companion.start();
    companion.wait_for_better(0, 20);
    const auto begin = std::chrono::steady_clock::now();
    companion.stop();
    const std::chrono::duration<double> waited = std::chrono::steady_clock::now() - begin;
    // 0.05 s on a machine of its own; what else runs may hold the threads up.
    EXPECT_LT(waited.count(), 1.0);
    const long flips = companion.attempted_flips();
    companion.stop();
    EXPECT_EQ(companion.attempted_flips(), flips);
}

TEST(COMPANION_TEST, may_be_dropped_while_it_runs_or_before_it_is_started) {
    const SparseQubo qubo = torus(20, 20, 1);
    { Companion companion(qubo, {}); }
    Companion companion(qubo, {.threads = 2});
    companion.start();
    EXPECT_THROW(companion.start(), std::logic_error);
}

TEST(COMPANION_TEST, refuses_what_it_cannot_work_with) {
    const SparseQubo qubo = torus(4, 4, 1);
    EXPECT_THROW(Companion(qubo, {.threads = 0}), InputError);
    EXPECT_THROW(Companion(qubo, {.groups = {{{0, 99}}, {true}}}), InputError);
    EXPECT_THROW(Companion(sparse_qubo({}, {}), {}), InputError);
    Companion companion(qubo, {});
    EXPECT_THROW(companion.offer(Bits(15)), InputError);
}

TEST(EXCHANGE_TEST, believes_no_energy_that_the_bits_do_not_have) {
    const SparseQubo qubo = torus(4, 4, 1);
    Exchange exchange(qubo, 1);
    EXPECT_THROW(exchange.publish({Bits(16), -1}, false), std::logic_error);
    EXPECT_FALSE(exchange.better_than(HIGHEST));
}

TEST(EXCHANGE_TEST, throws_a_workers_failure_once) {
    const SparseQubo qubo = torus(4, 4, 1);
    Exchange exchange(qubo, 1);
    exchange.fail(std::make_exception_ptr(std::bad_alloc()));
    EXPECT_TRUE(exchange.stopping());
    EXPECT_THROW(exchange.rethrow(), std::bad_alloc);
    EXPECT_NO_THROW(exchange.rethrow());
}

TEST(EXCHANGE_TEST, keeps_the_latest_offers_for_each_worker) {
    const SparseQubo qubo = sparse_qubo({0, 0, 0}, {});
    Exchange exchange(qubo, 2);
    for (std::uint8_t k = 0; k < 8; ++k)
        exchange.offer({static_cast<std::uint8_t>(k & 1), static_cast<std::uint8_t>(k >> 1 & 1),
                        static_cast<std::uint8_t>(k >> 2)});
    EXPECT_EQ(exchange.offered(0).back(), (Bits{1, 1, 1}));
    EXPECT_TRUE(exchange.offered(0).empty());
    EXPECT_EQ(exchange.offered(1).size(), 4U);
}

TEST(CHOICES_TEST, settle_on_what_pays_and_follow_when_that_changes) {
    std::mt19937_64 random(1);
    Choices choices(5);
    const auto often = [&](std::size_t good) {
        int hits = 0;
        for (int play = 0; play < 3000; ++play) {
            const std::size_t value = choices.draw(random);
            const bool pays = value == good && random() % 2 == 0;
            choices.learn(value, pays ? 3 : 0, 10);
            if (play >= 2000) hits += value == good;
        }
        return hits;
    };
    // 200 without learning.
    EXPECT_GT(often(1), 450);
    EXPECT_GT(often(4), 450);
}

}  // namespace
}  // namespace orvex::toolkit
