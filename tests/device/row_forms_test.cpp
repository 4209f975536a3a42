// The forms in which a CPU block reads rows: which one a matrix gets, what it holds, and that a
// search on any of them is the plain block's search, flip by flip.
#include <algorithm>
#include <cstring>

#include <gtest/gtest.h>

#include "engine/device/model_rows.hpp"
#include "trace_pair.hpp"

namespace orvex::device::test {
namespace {

// ---- the choice ----------------------------------------------------------------------------

ROW_FORM formOf(ELEMENT element, int size = 64) {
    TEST_MODEL<std::int32_t> model(size, std::move(element));
    model.needAllRows();
    return CPU_ROWS<std::int32_t>(model.weights(), size).form();
}

TEST(RowForms, TheNarrowestThatHoldsTheElementsIsTaken) {
    EXPECT_EQ(formOf(dense(1, -127, 127)), ROW_FORM::BYTES);
    EXPECT_EQ(formOf(dense(1, 100, 128)), ROW_FORM::WORDS);
    EXPECT_EQ(formOf(dense(1, -128, -100)), ROW_FORM::WORDS) << "-128 cannot change its sign in 8";
    EXPECT_EQ(formOf(dense(1, 30000, 32767)), ROW_FORM::WORDS);
    EXPECT_EQ(formOf(dense(1, 32760, 32768)), ROW_FORM::RECORD);
}

TEST(RowForms, TheDiagonalDoesNotCount) {
    const ELEMENT couplings = dense(1, -127, 127);
    EXPECT_EQ(formOf([=](int i, int j) { return i == j ? 1000000 : couplings(i, j); }),
              ROW_FORM::BYTES);
}

TEST(RowForms, FewElementsAreListed) {
    EXPECT_EQ(formOf(sparse(1, 100, 1000000), 256), ROW_FORM::LISTS);
    EXPECT_EQ(formOf(uncoupled({}, 5)), ROW_FORM::LISTS);
    EXPECT_EQ(formOf(sparse(1, 4, 100), 256), ROW_FORM::BYTES);
}

TEST(RowForms, TheReachIsTheLargestRow) {
    TEST_MODEL<std::int32_t> model(64, [](int i, int j) { return i == 5 || j == 5 ? -3 : 1; });
    model.needAllRows();
    EXPECT_EQ(CPU_ROWS<std::int32_t>(model.weights(), 64).statistics().reach, 64u * 3);
}

TEST(RowForms, TheReachOfWideElementsIsNeverTooSmall) {
    const std::int64_t large = std::int64_t{1} << 62;
    TEST_MODEL<std::int64_t> model(64, uncoupled({-large, -large - 1}, 1));
    model.needAllRows();
    const ROW_STATISTICS statistics = CPU_ROWS<std::int64_t>(model.weights(), 64).statistics();
    EXPECT_GT(statistics.reach, static_cast<std::uint64_t>(large));
    TEST_MODEL<std::int64_t> lowest(
        64, [](int, int) { return std::numeric_limits<std::int64_t>::min(); });
    lowest.needAllRows();
    EXPECT_EQ(CPU_ROWS<std::int64_t>(lowest.weights(), 64).statistics().reach,
              std::numeric_limits<std::uint64_t>::max());
}

TEST(RowForms, DeltasAreAsNarrowAsTheLargestRowAllows) {
    ROW_STATISTICS statistics;
    statistics.reach = CALM_REACH<std::int16_t> - 1;
    EXPECT_EQ(statistics.delta_bits(ROW_FORM::BYTES, 128, 64), 16);
    EXPECT_EQ(statistics.delta_bits(ROW_FORM::LISTS, 192, 64), 32) << "not whole groups of vectors";
    EXPECT_EQ(statistics.delta_bits(ROW_FORM::RECORD, 128, 64), 32) << "rows of 32-bit elements";
    statistics.reach = CALM_REACH<std::int16_t>;
    EXPECT_EQ(statistics.delta_bits(ROW_FORM::BYTES, 128, 64), 32);
    statistics.reach = CALM_REACH<std::int32_t> - 1;
    EXPECT_EQ(statistics.delta_bits(ROW_FORM::WORDS, 128, 64), 32);
    statistics.reach = CALM_REACH<std::int32_t>;
    EXPECT_EQ(statistics.delta_bits(ROW_FORM::WORDS, 128, 64), 64);
    EXPECT_EQ(statistics.delta_bits(ROW_FORM::WORDS, 128, 32), 32);
}

template <class D, class N>
bool blockKeepsDeltasIn(ELEMENT element) {
    TEST_MODEL<std::int32_t> model(128, std::move(element));
    model.needAllRows();
    const CPU_ROWS<std::int32_t> rows(model.weights(), 128);
    TEST_RINGS rings(128, 1, 4);
    const std::vector<unsigned long> seeds = seedsFor(1, model.shape.threads);
    const auto block = make_block<std::int32_t, D>(0, rings.launch(model, seeds, &rows));
    return dynamic_cast<CPU_BLOCK<std::int32_t, D, N>*>(block.get()) != nullptr;
}

TEST(RowForms, ALaunchMakesTheBlockOfTheNarrowestDeltas) {
    using std::int16_t, std::int32_t, std::int64_t;
    EXPECT_TRUE((blockKeepsDeltasIn<int32_t, int16_t>(ties(1))));
    EXPECT_TRUE((blockKeepsDeltasIn<int32_t, int32_t>(dense(1, 100, 120))));
    EXPECT_TRUE((blockKeepsDeltasIn<int64_t, int16_t>(ties(1))));
    EXPECT_TRUE((blockKeepsDeltasIn<int64_t, int32_t>(dense(1, 100, 120))));
    EXPECT_TRUE((blockKeepsDeltasIn<int64_t, int64_t>(dense(1, 1 << 28, 1 << 29))));
}

// ---- the contents --------------------------------------------------------------------------

TEST(RowForms, ARowHoldsTheElementsInRowOrderButItsOwn) {
    TEST_MODEL<std::int32_t> model(128, sparse(9, 3, 100));
    model.needAllRows();
    const CPU_ROWS<std::int32_t> bytes(model.weights(), 128, ROW_FORM::BYTES);
    const CPU_ROWS<std::int32_t> words(model.weights(), 128, ROW_FORM::WORDS);
    const CPU_ROWS<std::int32_t> lists(model.weights(), 128, ROW_FORM::LISTS);
    for (int i = 0; i < 128; ++i) {
        std::vector<int> listed(128);
        for (auto entry = lists.begin(i); entry != lists.end(i); ++entry)
            listed[entry->place] = entry->value;
        for (int j = 0; j < 128; ++j) {
            const std::size_t place = static_cast<std::size_t>(model.shape.place(j));
            const int expected = i == j ? 0 : model.at(i, j);
            ASSERT_EQ(static_cast<const std::int8_t*>(bytes.row(i))[place], expected);
            ASSERT_EQ(static_cast<const std::int16_t*>(words.row(i))[place], expected);
            ASSERT_EQ(listed[place], expected);
        }
    }
}

/** A model of few or many elements that the band has more variables than. */
Model random_model(int n, int bits, int one_in, std::uint64_t seed) {
    Model model(n, bits);
    const std::int64_t limit =
        bits == 64 ? std::int64_t{1} << 40 : (std::int64_t{1} << (bits - 1)) - 1;
    for (int i = 0; i < n; ++i)
        for (int j = i; j < n; ++j)
            if (mixed(seed, i, j) % static_cast<unsigned>(one_in) == 0)
                model.set(i, j, within(mixed(seed + 1, i, j), -limit, limit));
    return model;
}

template <class E>
void expectRowsOfModel(const Model& model, int size) {
    const SHAPE shape(size);
    const std::size_t length = static_cast<std::size_t>(size);
    std::vector<E> record(length * length);
    std::vector<E> diagonal(length);
    write_rows(record.data(), diagonal.data(), shape, model.impl(), true);
    const CPU_ROWS<E> of_record(record.data(), size);
    const CPU_ROWS<E> of_model(record.data(), size, model.impl());
    EXPECT_EQ(of_model.statistics().widest, of_record.statistics().widest);
    EXPECT_EQ(of_model.statistics().entries, of_record.statistics().entries);
    EXPECT_LE(of_model.statistics().reach, of_record.statistics().reach);
    if (sizeof(E) == 4) {
        EXPECT_EQ(of_model.statistics().reach, of_record.statistics().reach);
    }
    ASSERT_EQ(of_model.form(), of_record.form());
    for (int i = 0; i < size; ++i) {
        if (of_model.form() == ROW_FORM::LISTS) {
            ASSERT_EQ(of_model.end(i) - of_model.begin(i), of_record.end(i) - of_record.begin(i));
            for (auto a = of_model.begin(i), b = of_record.begin(i); a != of_model.end(i);
                 ++a, ++b) {
                ASSERT_EQ(a->place, b->place);
                ASSERT_EQ(a->value, b->value);
            }
        } else {
            const std::size_t bytes = of_model.form() == ROW_FORM::BYTES   ? length
                                      : of_model.form() == ROW_FORM::WORDS ? 2 * length
                                                                           : length * sizeof(E);
            ASSERT_EQ(std::memcmp(of_model.row(i), of_record.row(i), bytes), 0) << "row " << i;
        }
    }
}

TEST(RowForms, AreTheSameFromTheModelAsFromTheRecord) {
    for (const int bits : {8, 16, 32, 64})
        for (const int one_in : {1, 3, 60})
            for (const int n : {1, 130, 191, 256}) {
                SCOPED_TRACE(std::to_string(bits) + " bits, one in " + std::to_string(one_in) +
                             ", " + std::to_string(n) + " variables");
                const Model model = random_model(n, bits, one_in, 1);
                if (bits < 64) expectRowsOfModel<std::int32_t>(model, 256);
                expectRowsOfModel<std::int64_t>(model, 256);
            }
    expectRowsOfModel<std::int32_t>(random_model(2900, 8, 500, 2), 3072);  // by several threads
}

TEST(RowForms, OfALargeModelAreReadFromThePagesThatWereWritten) {
    Model model(9000, 8);  // 81 MB, of which nearly all pages are left alone
    for (int i = 0; i < 9000; i += 1000)
        model.set(i, 8999 - i, -5);
    model.set(8999, 8999, 7);
    std::vector<std::int32_t> none(1);
    const CPU_ROWS<std::int32_t> rows(none.data(), 10240, model.impl());
    EXPECT_EQ(rows.statistics().entries, 18u);
    EXPECT_EQ(rows.statistics().reach, 255u) << "of a filler";
    ASSERT_EQ(rows.form(), ROW_FORM::LISTS);
    const SHAPE shape(10240);
    for (int i = 0; i < 9000; i += 1000) {
        ASSERT_EQ(rows.end(i) - rows.begin(i), 1);
        EXPECT_EQ(rows.begin(i)->place, shape.place(8999 - i));
        EXPECT_EQ(rows.begin(i)->value, -5);
        EXPECT_EQ(rows.begin(8999 - i)->place, shape.place(i));
    }
}

// ---- searches ------------------------------------------------------------------------------

template <class BLOCK>
class ROW_FORMS_TEST : public BLOCK_TEST<BLOCK> {
  public:
    using MODEL = typename BLOCK_TEST<BLOCK>::MODEL;

    static void play(MODEL& model, ROW_FORM form, int instances, std::uint32_t max_steps,
                     int most_ones = -1) {
        SCOPED_TRACE(form_name(form, 32));
        const long flips = playEveryRule<BLOCK>(model, {.instances = instances,
                                                        .max_steps = max_steps,
                                                        .most_ones = most_ones,
                                                        .setup = {.form = form}});
        EXPECT_GT(flips, instances * 10);
    }

    /** On all forms; the elements fit in any. */
    static void playAllForms(MODEL& model, int instances, std::uint32_t max_steps) {
        for (ROW_FORM form : {ROW_FORM::RECORD, ROW_FORM::BYTES, ROW_FORM::WORDS, ROW_FORM::LISTS})
            play(model, form, instances, max_steps);
    }

    /** Rows are short on average, so words are kept; a few rows touch all of them. */
    static void playShortRowsAndHubs() {
        constexpr int SIZE = 2176;  // the words fill no whole number of vectors
        const ELEMENT couplings = sparse(7, 700, 20);
        const ELEMENT with_hubs = [=](int i, int j) {
            const bool of_hub = i != j && i % 600 == 0 && mixed(8, i, j) % 8 == 0;
            return of_hub ? within(mixed(9, i, j), -20, 20) : couplings(i, j);
        };
        MODEL model(SIZE, with_hubs);
        model.needAllRows();
        const CPU_ROWS<typename BLOCK_TEST<BLOCK>::E> rows(model.weights(), SIZE);
        ASSERT_TRUE(touches_few_words(rows.statistics().entries, SIZE));
        std::ptrdiff_t longest = 0;
        for (int i = 0; i < SIZE; ++i)
            longest = std::max(longest, rows.end(i) - rows.begin(i));
        ASSERT_GT(longest, 200);
        play(model, ROW_FORM::LISTS, 2, 60, 300);
    }
};

using BLOCKS_OF_WIDE_DELTAS =
    BLOCK_TYPES<CPU_BLOCK<std::int32_t, std::int64_t, std::int32_t>,
                CPU_BLOCK<std::int32_t, std::int32_t>, CPU_BLOCK<std::int32_t, std::int64_t>,
                CPU_BLOCK<std::int64_t, std::int64_t>>;
TYPED_TEST_SUITE(ROW_FORMS_TEST, BLOCKS_OF_WIDE_DELTAS, NAMES);

TYPED_TEST(ROW_FORMS_TEST, DenseModels) {
    for (int size : {64, 192, 384}) {
        typename TestFixture::MODEL model(size, dense(1, -127, 127));
        this->playAllForms(model, 3, 100);
    }
}

TYPED_TEST(ROW_FORMS_TEST, ModelsInWhichNearlyEverythingTies) {
    for (int size : {64, 256}) {
        typename TestFixture::MODEL model(size, ties(3));
        this->playAllForms(model, 4, 100);
    }
}

TYPED_TEST(ROW_FORMS_TEST, SparseModelsSmallerThanTheirBand) {
    typename TestFixture::MODEL model(384, 300, sparse(2, 30, 100));
    this->playAllForms(model, 4, 100);
}

TYPED_TEST(ROW_FORMS_TEST, LargeModelsOfShortRowsAndHubs) {
    this->playShortRowsAndHubs();
}

TYPED_TEST(ROW_FORMS_TEST, LargeModelsOfShortRowsThatTie) {
    typename TestFixture::MODEL model(1024, sparse(17, 600, 1));
    this->play(model, ROW_FORM::LISTS, 6, 400);
}

TYPED_TEST(ROW_FORMS_TEST, BandsWithManyBitsPerThread) {
    typename TestFixture::MODEL model(5120, shallow(4));
    this->play(model, ROW_FORM::BYTES, 1, 20, 5);
}

TYPED_TEST(ROW_FORMS_TEST, WideElementsFromTheRecord) {
    typename TestFixture::MODEL model(128, dense(5, -40000, 40000));
    this->play(model, ROW_FORM::RECORD, 8, 200);
    typename TestFixture::MODEL words(128, dense(6, -32767, 32767));
    this->play(words, ROW_FORM::WORDS, 8, 200);
}

template <class BLOCK>
class TESTED_SUMS_TEST : public ROW_FORMS_TEST<BLOCK> {};
TYPED_TEST_SUITE(TESTED_SUMS_TEST, CPU_BLOCKS, NAMES);

/** Rows whose sums might leave the range are read from the record and tested, whatever the form. */
TYPED_TEST(TESTED_SUMS_TEST, SumsThatMightLeaveTheRangeAreTested) {
    using WIDTHS = WIDTHS_OF<TypeParam>;
    using ELEMENT_OF = typename WIDTHS::ELEMENT_TYPE;
    using DELTA = typename WIDTHS::DELTA;
    const std::int64_t limit = sizeof(ELEMENT_OF) == 8 ? std::int64_t{1} << 58 : 1 << 26;
    typename TestFixture::MODEL model(128, dense(7, -limit, limit));
    model.needAllRows();
    const CPU_ROWS<ELEMENT_OF> rows(model.weights(), 128);
    EXPECT_EQ(rows.statistics().reach<CALM_REACH<DELTA>, sizeof(DELTA)> sizeof(ELEMENT_OF));
    this->play(model, ROW_FORM::RECORD, 8, 200);
}

// ---- searches with deltas of 16 bits -------------------------------------------------------

template <class BLOCK>
class NARROW_DELTAS_TEST : public ROW_FORMS_TEST<BLOCK> {
  public:
    using MODEL = typename BLOCK_TEST<BLOCK>::MODEL;

    static void playAllForms(MODEL& model, int instances, std::uint32_t max_steps) {
        for (ROW_FORM form : {ROW_FORM::BYTES, ROW_FORM::WORDS, ROW_FORM::LISTS})
            ROW_FORMS_TEST<BLOCK>::play(model, form, instances, max_steps);
    }
};
TYPED_TEST_SUITE(NARROW_DELTAS_TEST, BLOCKS_OF_16_BIT_DELTAS, NAMES);

TYPED_TEST(NARROW_DELTAS_TEST, DenseModels) {
    for (int size : {128, 256, 384}) {
        typename TestFixture::MODEL model(size, dense(1, -20, 20));
        this->playAllForms(model, 3, 100);
    }
}

TYPED_TEST(NARROW_DELTAS_TEST, ModelsInWhichNearlyEverythingTies) {
    for (int size : {128, 640}) {
        typename TestFixture::MODEL model(size, ties(3));
        this->playAllForms(model, 4, 100);
    }
}

TYPED_TEST(NARROW_DELTAS_TEST, SparseModelsSmallerThanTheirBand) {
    typename TestFixture::MODEL model(384, 300, sparse(2, 30, 100));
    this->playAllForms(model, 4, 100);
}

TYPED_TEST(NARROW_DELTAS_TEST, DeltasNearTheEndOfTheirRange) {
    typename TestFixture::MODEL model(128, [](int i, int j) {
        return i == j ? -64 : i - j - 1 < -64 ? 63 : -63;
    });
    model.needAllRows();
    const std::uint64_t reach = CPU_ROWS<std::int32_t>(model.weights(), 128).statistics().reach;
    ASSERT_LT(reach, CALM_REACH<std::int16_t>);
    ASSERT_GT(reach, CALM_REACH<std::int16_t> * 9 / 10);
    this->playAllForms(model, 4, 100);
}

TYPED_TEST(NARROW_DELTAS_TEST, LargeModelsOfShortRowsAndHubs) {
    this->playShortRowsAndHubs();
}

TYPED_TEST(NARROW_DELTAS_TEST, LargeModelsOfShortRowsThatTie) {
    typename TestFixture::MODEL model(1024, sparse(17, 600, 1));
    this->play(model, ROW_FORM::LISTS, 6, 400);
}

TYPED_TEST(NARROW_DELTAS_TEST, BandsWithManyBitsPerThread) {
    // As shallow(), with rows that add up to less.
    typename TestFixture::MODEL model(5120, [](int i, int j) {
        if (i != j) return within(mixed(4, i, j), -1, 2);
        return mixed(4, i, i) % 512 == 0 ? std::int64_t{-7} : within(mixed(4, i, i), 4, 15);
    });
    this->play(model, ROW_FORM::BYTES, 1, 20, 5);
}

}  // namespace
}  // namespace orvex::device::test
