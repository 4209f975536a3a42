// One block with its rings, on which a test runs instances and looks at every flip. The block may
// be of any implementation; the cycle it runs is the library's or the plain one.
#pragma once

#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "engine/device/cycle.hpp"
#include "model.hpp"
#include "reference_cycle.hpp"
#include "rings.hpp"
#include "snapshot.hpp"

namespace orvex::device::test {

/** The widths of a block's type. */
template <class BLOCK>
struct WIDTHS_OF;
template <template <class...> class BLOCK, class E, class D, class... N>
struct WIDTHS_OF<BLOCK<E, D, N...>> {
    using ELEMENT_TYPE = E;
    using ARITHMETIC = D;
    /** What the deltas are kept in; not every block has a choice of it. */
    using DELTA = std::tuple_element_t<0, std::tuple<N..., D>>;
};

/** Seeds of a block; thread 0's is 0, which the block has to replace. */
inline std::vector<unsigned long> seedsFor(std::uint64_t seed, int count) {
    std::vector<unsigned long> seeds{0};
    for (int t = 1; t < count; ++t)
        seeds.push_back(mixed(seed, 0x5EED, t));
    return seeds;
}

/** A block that tells of its flips. */
template <class BLOCK>
class TRACED : public BLOCK {
  public:
    using BLOCK::BLOCK;
    std::function<void()> before_flip = [] {};
    std::function<void()> after_flip = [] {};

    void flipBit(bool searching) {
        before_flip();
        BLOCK::flipBit(searching);
        after_flip();
    }
};

enum class CYCLE { LIBRARY, PLAIN };

/** What a bench starts from. */
struct SETUP {
    std::uint64_t seed = 1;
    std::uint32_t tabu_cycles = 8;
    CYCLE cycle = CYCLE::LIBRARY;
    /** Keeps the rows in this form too; else they are the record's, every sum tested. */
    std::optional<ROW_FORM> form = std::nullopt;
};

template <class BLOCK>
class BENCH {
  public:
    using E = typename WIDTHS_OF<BLOCK>::ELEMENT_TYPE;
    using D = typename WIDTHS_OF<BLOCK>::ARITHMETIC;
    static constexpr unsigned RING_SIZE = 4;

    BENCH(TEST_MODEL<E>& searched, const SETUP& setup = {})
        : model(searched),
          rings(searched.size(), 1, RING_SIZE),
          seeds(seedsFor(setup.seed, searched.shape.threads)),
          rows(makeRows(searched, setup)),
          block(0, rings.launch(searched, seeds, rows.get())),
          cycle_(setup.cycle) {
        rings.params.tabu_cycles = setup.tabu_cycles;
        block.before_flip = [this] { model.needRow(block.record.selected); };
        block.after_flip = [this] { afterFlip(); };
    }

    /** Sends an instance and lets the block work on it. Nothing comes back if it was killed. */
    std::optional<RESULT> run(const INSTANCE& instance) {
        rings.send(0, instance);
        EXPECT_EQ(block.takeInstance(), BLOCK::TAKEN::INSTANCE);
        flips_in_instance_ = 0;
        if (kill_at == 0) rings.kill();
        if (!work()) return std::nullopt;
        const std::optional<RESULT> result = rings.receive(0);
        EXPECT_TRUE(result.has_value());
        if (scored && !result->tail.overflow) {
            EXPECT_EQ(result->energy, model.energy(result->bits));
        }
        return result;
    }

    /** Sends an instance and lets the block take and load it, no more. */
    void load(const INSTANCE& instance) {
        rings.send(0, instance);
        EXPECT_EQ(block.takeInstance(), BLOCK::TAKEN::INSTANCE);
        block.loadTarget();
    }

    /** Flips one bit outside of any instance. */
    void flip(int bit) {
        block.select(bit);
        block.flipBit(false);
    }

    SNAPSHOT<D> snapshot() { return snapshotOf<D>(block, model.shape); }
    BITS current() { return snapshot().ones; }

    /** The energy and every delta are what the model says of the current solution. */
    void expectExactState() {
        BITS solution = current();
        const std::int64_t energy = model.energy(solution);
        EXPECT_EQ(block.record.energy, energy);
        for (int bit = 0; bit < model.size(); ++bit) {
            std::uint8_t& value = solution[static_cast<std::size_t>(bit)];
            value ^= 1;
            EXPECT_EQ(deltaOf(block, bit), model.energy(solution) - energy) << "bit " << bit;
            value ^= 1;
        }
    }

    /** The kill byte is set after this many flips of an instance. */
    int kill_at = -1;
    /** Called after each flip of an instance. */
    std::function<void()> on_flip = [] {};
    /** Results are held against the model; not for models whose sums wrap unnoticed. */
    bool scored = true;

    long flips = 0;            ///< of all instances
    std::vector<int> flipped;  ///< the bits, in order

    TEST_MODEL<E>& model;
    TEST_RINGS rings;
    const std::vector<unsigned long> seeds;
    const std::unique_ptr<CPU_ROWS<E>> rows;
    TRACED<BLOCK> block;

  private:
    static std::unique_ptr<CPU_ROWS<E>> makeRows(TEST_MODEL<E>& searched, const SETUP& setup) {
        if (!setup.form) return nullptr;
        searched.needAllRows();
        return std::make_unique<CPU_ROWS<E>>(searched.weights(), searched.size(), *setup.form);
    }

    bool work() { return cycle_ == CYCLE::LIBRARY ? runInstance(block) : runPlainly(block); }

    void afterFlip() {
        ++flips;
        flipped.push_back(block.record.selected);
        on_flip();
        if (++flips_in_instance_ == kill_at) rings.kill();
    }

    const CYCLE cycle_;
    int flips_in_instance_ = 0;
};

// ---- the implementations -------------------------------------------------------------------

/** Names of typed tests: the implementation and its widths. */
struct NAMES {
    template <class BLOCK>
    static std::string GetName(int) {
        using E = typename WIDTHS_OF<BLOCK>::ELEMENT_TYPE;
        using D = typename WIDTHS_OF<BLOCK>::ARITHMETIC;
        using N = typename WIDTHS_OF<BLOCK>::DELTA;
        const bool plain = std::is_same_v<BLOCK, REFERENCE_BLOCK<E, D>>;
        const bool one = std::is_same_v<BLOCK, ONE_RNG_BLOCK<E, D>>;
        return (plain ? "Plain_"
                : one ? "OneRng_"
                      : "Cpu_") +
               std::to_string(8 * sizeof(E)) + "_" + std::to_string(8 * sizeof(D)) +
               (sizeof(N) == sizeof(D) ? "" : "_in_" + std::to_string(8 * sizeof(N)));
    }
};

/** Several block types. Builds with sanitizers, to which these tests are the longest part of all,
 * take the first alone: widths differ in numbers, and hardly in what memory is touched. */
#ifdef ORVEX_FIRST_WIDTHS_ALONE
template <class FIRST, class...>
using BLOCK_TYPES = ::testing::Types<FIRST>;
#else
template <class... BLOCKS>
using BLOCK_TYPES = ::testing::Types<BLOCKS...>;
#endif

using CPU_BLOCKS =
    BLOCK_TYPES<CPU_BLOCK<std::int32_t, std::int64_t>, CPU_BLOCK<std::int32_t, std::int32_t>,
                CPU_BLOCK<std::int64_t, std::int64_t>>;

/** Blocks that keep 16-bit deltas, for models whose rows add up to little. */
using BLOCKS_OF_16_BIT_DELTAS = BLOCK_TYPES<CPU_BLOCK<std::int32_t, std::int32_t, std::int16_t>,
                                            CPU_BLOCK<std::int32_t, std::int64_t, std::int16_t>>;

/** Blocks with an RNG for each thread, of which these are the plain one. */
using BLOCKS_OF_RNGS = BLOCK_TYPES<REFERENCE_BLOCK<std::int32_t, std::int64_t>,
                                   REFERENCE_BLOCK<std::int32_t, std::int32_t>,
                                   REFERENCE_BLOCK<std::int64_t, std::int64_t>>;

/** The examples of a block's behaviour run over all of these. */
using ALL_BLOCKS =
    BLOCK_TYPES<CPU_BLOCK<std::int32_t, std::int64_t>, CPU_BLOCK<std::int32_t, std::int32_t>,
                CPU_BLOCK<std::int64_t, std::int64_t>, REFERENCE_BLOCK<std::int32_t, std::int32_t>,
                REFERENCE_BLOCK<std::int32_t, std::int64_t>,
                REFERENCE_BLOCK<std::int64_t, std::int64_t>>;

/** Those of them whose elements are as wide as their deltas. */
using SAME_WIDTHS_BLOCKS =
    BLOCK_TYPES<CPU_BLOCK<std::int32_t, std::int32_t>, CPU_BLOCK<std::int64_t, std::int64_t>,
                REFERENCE_BLOCK<std::int32_t, std::int32_t>,
                REFERENCE_BLOCK<std::int64_t, std::int64_t>>;

/** Gives each example the types of its block. */
template <class BLOCK>
class BLOCK_TEST : public ::testing::Test {
  public:
    using E = typename WIDTHS_OF<BLOCK>::ELEMENT_TYPE;
    using D = typename WIDTHS_OF<BLOCK>::ARITHMETIC;
    using MODEL = TEST_MODEL<E>;
    using ON_BENCH = BENCH<BLOCK>;

    static constexpr D MAX = std::numeric_limits<D>::max();
    static constexpr D LOWEST = std::numeric_limits<D>::min();
    static constexpr E ELEMENT_MAX = std::numeric_limits<E>::max();
    static constexpr E ELEMENT_LOWEST = std::numeric_limits<E>::min();
    static constexpr bool SAME_WIDTHS = sizeof(E) == sizeof(D);
};

/** The target with these bits set. */
inline BITS bits(int size, const std::vector<int>& ones) {
    BITS target(static_cast<std::size_t>(size));
    for (int bit : ones)
        target[static_cast<std::size_t>(bit)] = 1;
    return target;
}

}  // namespace orvex::device::test
