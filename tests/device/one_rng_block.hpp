// The plain block with one random number generator for all its threads: the same steps as
// REFERENCE_BLOCK's, and the three selections that draw, told anew as distributions over bits. It
// is what a CPU block is held to, flip by flip. That both blocks have the same distributions is
// shown by distributions_test.cpp.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "engine/device/cpu/one_rng.hpp"
#include "reference_block.hpp"

namespace orvex::device::test {

template <class E, class D>
class ONE_RNG_BLOCK : public REFERENCE_BLOCK<E, D> {
    using PLAIN = REFERENCE_BLOCK<E, D>;
    using PLAIN::deltaOf, PLAIN::K, PLAIN::MAX, PLAIN::LOWEST, PLAIN::shape, PLAIN::T,
        PLAIN::thread;

  public:
    using PLAIN::PLAIN;
    using PLAIN::record;

    unsigned long& rng() { return thread(0).rng; }

    /** Places are tried at random before the eligible bits are counted. */
    void selectMaxMin() {
        record.maxmin_low = MAX;
        record.maxmin_high = LOWEST;
        for (const int p : places([&](int q) { return free(q) && at(q) != MAX; })) {
            record.maxmin_low = std::min(record.maxmin_low, at(p));
            record.maxmin_high = std::max(record.maxmin_high, at(p));
        }
        record.maxmin_threshold = maxmin_threshold<D>(record.maxmin_low, record.maxmin_high,
                                                      unit_draw(draw()), record.step, record.steps);
        const auto eligible = [&](int p) { return free(p) && at(p) <= record.maxmin_threshold; };

        for (int round = 0; round < rounds_of_tries(shape.size); ++round) {
            std::vector<int> tried;
            for (int i = 0; i < TRIES / 2; ++i) {
                draw();
                tried.push_back(among(low_word(rng()), shape.size));
                tried.push_back(among(high_word(rng()), shape.size));
            }
            for (const int p : tried)
                if (eligible(p)) return selectForMaxMin(p);
        }
        const std::vector<int> all = places(eligible);
        if (!all.empty()) return selectForMaxMin(oneOf(all, high_word(draw())));
        record.maxmin_bid = -1;
        if (T == 1024) record.selected = 1023 * K;
    }

    /** A bit is drawn by its weight; its thread is the winner, which then chooses for itself. */
    void selectPositiveMin() {
        record.positive_low = MAX;
        for (const int p : places([&](int q) { return free(q) && at(q) >= 1 && at(q) != MAX; }))
            record.positive_low = std::min(record.positive_low, at(p));
        const D m = record.positive_low == MAX ? 0 : record.positive_low;
        record.positive_threshold = m;
        const std::vector<int> below = places([&](int p) { return free(p) && at(p) < m; });
        const std::vector<int> tied = places([&](int p) { return free(p) && at(p) == m; });
        record.positive_count =
            static_cast<std::int32_t>(places([&](int p) { return at(p) == m; }).size());

        if (below.empty() && tied.empty()) {
            record.positive_bid = -1;
            if (T == 1024) record.selected = 1023 * K;
            return;
        }
        bool lowest_rank = false;
        const int t = drawThread(below, tied, lowest_rank);
        const int own =
            ownBitByWeight(t, m, lowest_rank, weight(std::ssize(below), std::ssize(tied)));
        record.selected = t * K + own;
        record.positive_bid = static_cast<std::int32_t>(rng() & 0x7FFFFC00) | t;
    }

    /** Free bits are looked at from the lowest on, each kept with the same chance. */
    void selectRandomMin() {
        record.random_threshold = random_threshold(record.step, record.steps);
        record.selected = (T - 1) * K;
        std::vector<int> order = places([&](int p) { return free(p) && at(p) != MAX; });
        std::sort(order.begin(), order.end(), [&](int a, int b) {
            if (at(a) != at(b)) return at(a) < at(b);
            if (a % T != b % T) return a % T > b % T;
            return a / T < b / T;
        });
        for (const int p : order)
            if (low_word(draw()) <= record.random_threshold) {
                record.selected = shape.bit(p);
                return;
            }
    }

  private:
    unsigned long draw() { return rng() = xor_shift(rng()); }

    // By place, that is, in row order: own bit 0 of all threads, then own bit 1, ...
    D at(int p) { return deltaOf(p % T, p / T); }
    bool free(int p) { return thread(p % T).free(p / T); }

    template <class COUNTS>
    std::vector<int> places(COUNTS counts) {
        std::vector<int> found;
        for (int p = 0; p < shape.size; ++p)
            if (counts(p)) found.push_back(p);
        return found;
    }

    static int among(std::uint32_t word, std::ptrdiff_t count) {
        return static_cast<int>(scaled(word, static_cast<std::uint32_t>(count)));
    }
    static int oneOf(const std::vector<int>& all, std::uint32_t word) {
        return all[static_cast<std::size_t>(among(word, std::ssize(all)))];
    }

    void selectForMaxMin(int p) {
        record.selected = shape.bit(p);
        record.maxmin_bid = static_cast<std::int32_t>(rng() & 0x7FFFFC00) | (p % T);
    }

    /** Of that many free bits below m and that many that tie. */
    double weight(std::ptrdiff_t below, std::ptrdiff_t tied) {
        const double ties = tied == 0 ? 0.0 : static_cast<double>(tied) / record.positive_count;
        return static_cast<double>(below) + ties;
    }

    int drawThread(const std::vector<int>& below, const std::vector<int>& tied, bool& lowest_rank) {
        if (below.empty()) {
            draw();
            // Weights of less than 1 together: all ranks may have been cut to 0.
            const double all = weight(0, std::ssize(tied));
            lowest_rank = all < 1 && open_unit(high_word(rng())) < lowest_rank_chance(all);
            if (!lowest_rank) return oneOf(tied, low_word(rng())) % T;
            int highest = 0;
            for (const int p : tied)
                highest = std::max(highest, p % T);
            return highest;
        }
        for (;;) {
            draw();
            const int r = among(high_word(rng()), std::ssize(below) + 1);
            if (r < std::ssize(below)) return below[static_cast<std::size_t>(r)] % T;
            const int r_tied = among(low_word(rng()), record.positive_count);
            if (r_tied < std::ssize(tied)) return tied[static_cast<std::size_t>(r_tied)] % T;
        }
    }

    int ownBitByWeight(int t, D m, bool lowest_rank, double weight_of_all) {
        int l = 0;
        int e = 0;
        int first = K;
        for (int c = K - 1; c >= 0; --c) {
            if (!thread(t).free(c) || thread(t).at(c) > m) continue;
            ++(thread(t).at(c) < m ? l : e);
            first = c;
        }
        if (l + e == 1) return first;
        const std::int64_t count = record.positive_count;
        const std::int64_t weights = count * l + e;
        std::int64_t r = -1;  // nothing weighs anything: the first bit
        if (weights != 0) {
            draw();
            const double own = weight(l, e);
            const std::uint32_t won_with =
                lowest_rank ? winning_draw(high_word(rng()), 1.0, lowest_rank_chance(own))
                            : winning_draw(high_word(rng()), own / weight_of_all, 1.0);
            r = ((low_word(rng()) & 0xFFFF0000) | won_with) % weights;
        }
        int c = 0;
        for (;; ++c) {
            if (thread(t).at(c) < m) r -= count;
            if (thread(t).at(c) == m) r -= 1;
            if (r < 0) return c;
        }
    }
};

}  // namespace orvex::device::test
