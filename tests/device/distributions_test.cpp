// A CPU block draws from one random number generator (RNG) what the rules draw from one in each
// thread: over fixed states of a block, both take each bit equally often. Two samples of a state
// are compared by chi-square; seeds are fixed, and the level is so low that no state fails by
// chance.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bench.hpp"

namespace orvex::device::test {
namespace {

using D = std::int32_t;
using ONE_RNG = CPU_BLOCK<D, D>;
using RNGS_OF_THREADS = REFERENCE_BLOCK<D, D>;
using COUNTS = std::vector<int>;  // how often each bit was taken

constexpr int DRAWS = 1000000;
constexpr std::uint32_t STEPS = 1000;

/** A block in the middle of a search. */
struct STATE {
    std::string name;
    std::int8_t rule;
    int size;
    std::uint32_t step;
    std::vector<D> delta = std::vector<D>(static_cast<std::size_t>(size), 90);
    std::vector<bool> barred = std::vector<bool>(static_cast<std::size_t>(size));

    /** Deltas evenly from low to high; one bit in `one_barred_in` is barred, none for 0. */
    static STATE random(std::int8_t rule, int size, std::uint64_t seed, D low, D high,
                        unsigned one_barred_in, std::uint32_t step = 0) {
        STATE state{.name = "", .rule = rule, .size = size, .step = step};
        for (int i = 0; i < size; ++i) {
            const auto bit = static_cast<std::size_t>(i);
            state.delta[bit] = static_cast<D>(within(mixed(seed, 1, i), low, high));
            state.barred[bit] = one_barred_in != 0 && mixed(seed, 2, i) % one_barred_in == 0;
        }
        state.name = "rule " + std::to_string(rule) + ", " + std::to_string(size) + " bits, " +
                     std::to_string(low) + " to " + std::to_string(high) + ", one in " +
                     std::to_string(one_barred_in) + " barred, step " + std::to_string(step) +
                     ", seed " + std::to_string(seed);
        return state;
    }
};

/** How often each bit is selected in that many tries from the state. */
template <class BLOCK>
COUNTS sample(const STATE& state, int draws) {
    TEST_MODEL<D> model(state.size, uncoupled({}, 90));
    BENCH<BLOCK> bench(model, {.seed = 77});
    BLOCK& block = bench.block;
    for (int i = 0; i < state.size; ++i) {
        deltaOf(block, i) = state.delta[static_cast<std::size_t>(i)];
        setTabu(block, i, state.barred[static_cast<std::size_t>(i)]);
    }
    block.record.step = state.step;
    block.record.steps = STEPS;
    block.select(0);
    COUNTS counts(static_cast<std::size_t>(state.size));
    for (int i = 0; i < draws; ++i) {
        if (state.rule == MAX_MIN) block.selectMaxMin();
        if (state.rule == POSITIVE_MIN) block.selectPositiveMin();
        if (state.rule == RANDOM_MIN) block.selectRandomMin();
        ++counts[static_cast<std::size_t>(block.record.selected)];
    }
    return counts;
}

/**
 * How many standard deviations the chi-square of two samples of the same size is above what it is
 * by chance (E. Wilson, M. Hilferty, "The distribution of chi-square", 1931). Bits that are rarely
 * taken count together.
 */
double deviation(const COUNTS& one, const COUNTS& other) {
    double sum = 0;
    int cells = 0;
    double rare_one = 0, rare_other = 0;
    const auto add = [&](double a, double b) {
        if (a + b == 0) return;
        sum += (a - b) * (a - b) / (a + b);
        ++cells;
    };
    for (std::size_t i = 0; i < one.size(); ++i) {
        if (one[i] + other[i] >= 20) {
            add(one[i], other[i]);
        } else {
            rare_one += one[i];
            rare_other += other[i];
        }
    }
    add(rare_one, rare_other);
    const double freedom = cells - 1;
    if (freedom == 0) return 0;
    const double spread = 2 / (9 * freedom);
    return (std::cbrt(sum / freedom) - (1 - spread)) / std::sqrt(spread);
}

/** By chance once in three million comparisons. */
constexpr double TOO_FAR = 5;

void expectAlike(const STATE& state) {
    const double far =
        deviation(sample<RNGS_OF_THREADS>(state, DRAWS), sample<ONE_RNG>(state, DRAWS));
    EXPECT_LT(far, TOO_FAR) << state.name;
}

TEST(Distributions, MaxMin) {
    expectAlike(STATE::random(MAX_MIN, 64, 1, -9, 60, 4));
    expectAlike(STATE::random(MAX_MIN, 128, 2, -1, 1, 3, 500));
    STATE few{.name = "few eligible bits", .rule = MAX_MIN, .size = 256, .step = STEPS - 1};
    few.delta[7] = few.delta[8] = few.delta[200] = few.delta[255] = 3;
    few.barred[8] = true;
    expectAlike(few);
}

TEST(Distributions, PositiveMin) {
    expectAlike(STATE::random(POSITIVE_MIN, 64, 3, -3, 5, 4));
    // Threads of two bits, nearly all of them below m, and a power of 2 of ties: what a thread
    // takes depends on how it won.
    STATE two = STATE::random(POSITIVE_MIN, 128, 4, -5, -1, 8);
    for (std::size_t i = 0; i < 128; i += 4)
        two.delta[i] = 6;
    two.name = "a power of 2 of ties";
    expectAlike(two);
}

TEST(Distributions, PositiveMinWhereBarredBitsTie) {
    // The free ones weigh so little that most ranks are 0, and the higher thread wins.
    STATE tied{.name = "barred bits tie", .rule = POSITIVE_MIN, .size = 128, .step = 0};
    for (std::size_t i = 0; i < 100; ++i) {
        tied.delta[i] = 6;
        tied.barred[i] = i != 10 && i != 11 && i != 30 && i != 67;
    }
    expectAlike(tied);
}

TEST(Distributions, RandomMin) {
    expectAlike(STATE::random(RANDOM_MIN, 64, 5, -40, 40, 4));
    expectAlike(STATE::random(RANDOM_MIN, 128, 6, 0, 6, 3, 500));
}

TEST(Distributions, ABiasOfTwoPercentInOneBitIsFound) {
    STATE state{.name = "five bits", .rule = MAX_MIN, .size = 64, .step = STEPS - 1};
    for (std::size_t bit : {3, 20, 41, 50, 63})
        state.delta[bit] = 1;
    const COUNTS straight = sample<RNGS_OF_THREADS>(state, DRAWS);
    COUNTS biased = sample<ONE_RNG>(state, DRAWS);
    EXPECT_LT(deviation(straight, biased), TOO_FAR);
    const int more = biased[41] / 50;
    biased[41] += more;
    for (std::size_t other : {3, 20, 50, 63})
        biased[other] -= more / 4;
    EXPECT_GT(deviation(straight, biased), TOO_FAR);
}

/** Takes an hour or so: run it by hand where a selection has changed. */
TEST(Distributions, DISABLED_HundredsOfStates) {
    for (int seed = 100; seed < 200; ++seed)
        for (std::int8_t rule : {MAX_MIN, POSITIVE_MIN, RANDOM_MIN}) {
            const std::uint64_t draw = mixed(98, rule, seed);
            const int size = std::vector{64, 128, 192, 256, 384, 1024}[draw % 6];
            const D low = static_cast<D>(within(draw >> 8, -20, 1));
            const D high = low + static_cast<D>(within(draw >> 16, 0, 60));
            const unsigned one_barred_in = static_cast<unsigned>(draw >> 24) % 5;
            const std::uint32_t step = static_cast<std::uint32_t>(draw >> 32) % STEPS;
            expectAlike(STATE::random(rule, size, static_cast<std::uint64_t>(seed), low, high,
                                      one_barred_in, step));
        }
}

TEST(Distributions, DISABLED_FullBlocks) {
    for (int size : {4096, 5120, 65536})
        for (std::int8_t rule : {MAX_MIN, POSITIVE_MIN, RANDOM_MIN})
            expectAlike(STATE::random(rule, size, 9, -1, 30, 3));
}

}  // namespace
}  // namespace orvex::device::test
