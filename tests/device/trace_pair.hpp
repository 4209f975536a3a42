// Two blocks side by side on the same instances: the plain one records its state after every flip,
// then the tested one is held to that record, flip by flip, and at last the two results. Also the
// random instances on which this is done.
#pragma once

#include <limits>
#include <numeric>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bench.hpp"
#include "every_rule.hpp"

namespace orvex::device::test {

/** The plain block that draws as the tested one does. */
template <class TESTED>
struct PLAIN_OF {
    using BLOCK = REFERENCE_BLOCK<typename WIDTHS_OF<TESTED>::ELEMENT_TYPE,
                                  typename WIDTHS_OF<TESTED>::ARITHMETIC>;
};
template <class E, class D, class N>
struct PLAIN_OF<CPU_BLOCK<E, D, N>> {
    using BLOCK = ONE_RNG_BLOCK<E, D>;
};

template <class TESTED>
class TRACE_PAIR {
  public:
    using E = typename WIDTHS_OF<TESTED>::ELEMENT_TYPE;
    using D = typename WIDTHS_OF<TESTED>::ARITHMETIC;

    TRACE_PAIR(TEST_MODEL<E>& model, SETUP setup = {})
        : tested(model, setup), plain(model, withPlainCycle(setup)) {}

    /** Runs the instance on both. With `kill_at` the run is killed after that many flips. */
    void run(const INSTANCE& instance, int kill_at = -1) {
        if (!difference_.empty()) return;  // one report is enough
        plain.kill_at = tested.kill_at = kill_at;
        std::vector<SNAPSHOT<D>> expected;
        plain.on_flip = [&] { expected.push_back(plain.snapshot()); };
        const std::optional<RESULT> plain_result = plain.run(instance);

        std::size_t flip = 0;
        tested.on_flip = [&] {
            if (flip >= expected.size() || !difference_.empty()) return;
            difference_ = difference(expected[flip], tested.snapshot());
            EXPECT_EQ(difference_, "") << "after flip " << flip << " of the instance";
            ++flip;
        };
        const std::optional<RESULT> tested_result = tested.run(instance);
        EXPECT_EQ(expected.size(), flip);
        EXPECT_EQ(plain.flips, tested.flips);
        if (difference_.empty()) difference_ = difference(plain.snapshot(), tested.snapshot());
        EXPECT_EQ(difference_, "") << "at the end of the instance";
        compareResults(plain_result, tested_result);
    }

    long flips() const { return tested.flips; }

    BENCH<TESTED> tested;
    BENCH<typename PLAIN_OF<TESTED>::BLOCK> plain;

  private:
    static SETUP withPlainCycle(SETUP setup) {
        setup.cycle = CYCLE::PLAIN;
        setup.form.reset();  // the plain block knows the record alone
        return setup;
    }

    static void compareResults(const std::optional<RESULT>& expected,
                               const std::optional<RESULT>& seen) {
        ASSERT_EQ(expected.has_value(), seen.has_value());
        if (!expected) return;
        EXPECT_EQ(expected->energy, seen->energy);
        EXPECT_EQ(expected->bits, seen->bits);
        EXPECT_EQ(expected->tail.ticket, seen->tail.ticket);
        EXPECT_EQ(expected->tail.cycles, seen->tail.cycles);
        EXPECT_EQ(expected->tail.inst, seen->tail.inst);
        EXPECT_EQ(expected->tail.algorithm, seen->tail.algorithm);
        EXPECT_EQ(expected->tail.param, seen->tail.param);
        EXPECT_EQ(expected->tail.flag, seen->tail.flag);
        EXPECT_EQ(expected->tail.generation, seen->tail.generation);
        EXPECT_EQ(expected->tail.wait_exponent, seen->tail.wait_exponent);
        EXPECT_EQ(expected->tail.block, seen->tail.block);
        EXPECT_EQ(expected->tail.overflow, seen->tail.overflow);
    }

    std::string difference_;
};

/** Draws instances as a host might send them, and some that it would not. */
class INSTANCE_MAKER {
  public:
    INSTANCE_MAKER(int size, std::uint64_t seed) : size_(size), seed_(seed) {}

    INSTANCE next(int rule, std::uint32_t max_steps) {
        INSTANCE instance;
        instance.algorithm = static_cast<std::int8_t>(rule);
        instance.target = target();
        instance.steps = static_cast<std::uint32_t>(draw() % (max_steps + 1));
        instance.budget = static_cast<std::uint32_t>(draw() % (2 * max_steps + 1));
        if (draw() % 4 == 0) ++generation_;
        const bool stale = generation_ > 1 && draw() % 8 == 0;
        instance.generation = static_cast<std::uint16_t>(stale ? generation_ - 1 : generation_);
        instance.inst = static_cast<std::int8_t>(draw() % 10);
        instance.param = static_cast<std::int8_t>(-static_cast<int>(draw() % 10));
        instance.flag = static_cast<std::uint8_t>(draw());
        return instance;
    }

    /** At most this many ones in a target; none by default. */
    int most_ones = -1;

    std::uint64_t draw() { return mixed(seed_, 0x1257, static_cast<int>(drawn_++ % 65536)); }

  private:
    /** Half of the bits, few of them, none, or the last target again. */
    BITS target() {
        const std::uint64_t kind = most_ones >= 0 ? 1 : draw() % 5;
        if (kind == 4 && !last_.empty()) return last_;
        last_ = BITS(static_cast<std::size_t>(size_));
        if (kind == 2) return last_;
        const int ones = most_ones >= 0 ? most_ones : kind == 1 ? 5 : size_ / 2;
        for (int i = 0; i < ones; ++i)
            last_[draw() % last_.size()] = 1;
        return last_;
    }

    int size_;
    std::uint64_t seed_;
    std::uint64_t drawn_ = 0;
    int generation_ = 1;
    BITS last_;
};

// ---- plays ---------------------------------------------------------------------------------

/** Random instances for one block: how many, how long, from what setup. */
struct PLAY {
    int instances;
    std::uint32_t max_steps;
    int most_ones = -1;
    SETUP setup = {};
};

/** Runs them on a pair of blocks; `rule_of(i)` is the rule of instance i. Returns the flips. */
template <class BLOCK, class MODEL, class RULE_OF>
long play(MODEL& model, const PLAY& plan, RULE_OF rule_of) {
    TRACE_PAIR<BLOCK> pair(model, plan.setup);
    INSTANCE_MAKER maker(model.size(), plan.max_steps);
    maker.most_ones = plan.most_ones;
    for (int i = 0; i < plan.instances; ++i) {
        SCOPED_TRACE("band " + std::to_string(model.size()) + ", instance " + std::to_string(i));
        pair.run(maker.next(rule_of(i), plan.max_steps));
    }
    return pair.flips();
}

/** Each rule on a block of its own, then all rules in turn on one block. Returns the flips. */
template <class BLOCK, class MODEL>
long playEveryRule(MODEL& model, PLAY one_rule) {
    const std::vector<std::int8_t> rules = everyRule();
    long flips = 0;
    for (std::int8_t rule : rules) {
        SCOPED_TRACE("rule " + std::to_string(rule));
        flips += play<BLOCK>(model, one_rule, [=](int) { return rule; });
    }
    SCOPED_TRACE("rules in turn");
    one_rule.instances *= 2;
    // Not in the order of the table, and yet all of them.
    const std::size_t stride = std::gcd(3, rules.size()) == 1 ? 3 : 1;
    return flips + play<BLOCK>(model, one_rule, [&](int i) {
               return rules[static_cast<std::size_t>(i) * stride % rules.size()];
           });
}

/**
 * The same with every rule on models of 64 bits whose weights come ever nearer to the limit of an
 * element's range. Returns how many of the blocks overflow.
 */
template <class BLOCK>
int overflowsNearTheLimit(const PLAY& plan) {
    using E = typename WIDTHS_OF<BLOCK>::ELEMENT_TYPE;
    int overflows = 0;
    for (int shift = 1; shift <= 6; ++shift) {
        const std::int64_t limit = std::numeric_limits<E>::max() >> shift;
        TEST_MODEL<E> model(64, dense(23, -limit, limit));
        for (std::int8_t rule : everyRule()) {
            TRACE_PAIR<BLOCK> pair(model, plan.setup);
            INSTANCE_MAKER maker(64, 24);
            for (int i = 0; i < plan.instances; ++i)
                pair.run(maker.next(rule, plan.max_steps));
            overflows += pair.tested.block.record.overflow;
        }
    }
    return overflows;
}

/** Every thread of both blocks prints a rule that there is not, and none searches by it. */
template <class BLOCK, class MODEL>
void expectDiagnostic(MODEL& model, std::int8_t wrong_rule) {
    TRACE_PAIR<BLOCK> pair(model);
    testing::internal::CaptureStdout();
    pair.run({.target = bits(model.size(), {1, 2, 3}),
              .algorithm = wrong_rule,
              .budget = 0,
              .steps = 100});
    std::string expected;
    for (int t = 0; t < 2 * model.shape.threads; ++t)
        expected += "Type.A=" + std::to_string(wrong_rule) + "\n";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
}

}  // namespace orvex::device::test
