// The loops of a CPU block are compiled once for each instruction set. Each set that this processor
// has must give the plain block's trace, not only the best one.
#include <set>

#include <gtest/gtest.h>
#include <hwy/highway.h>

#include "trace_pair.hpp"

namespace orvex::device::test {
namespace {

/** Makes this the only instruction set that blocks made from now on may use. */
class ONLY_TARGET {
  public:
    explicit ONLY_TARGET(std::int64_t target) { set(target); }
    ~ONLY_TARGET() { set(0); }
    ONLY_TARGET(const ONLY_TARGET&) = delete;
    ONLY_TARGET& operator=(const ONLY_TARGET&) = delete;

  private:
    static void set(std::int64_t targets) {
        hwy::SetSupportedTargetsForTest(targets);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    }
};

template <class BLOCK>
class TARGETS_TEST : public BLOCK_TEST<BLOCK> {
  public:
    /** One of the loops that a block made now would use. */
    static auto addRow() {
        using TEST = BLOCK_TEST<BLOCK>;
        return block_ops<typename TEST::E, typename TEST::D>().addRow;
    }

    void playOn(typename BLOCK_TEST<BLOCK>::MODEL& model, const PLAY& plan) {
        for (std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
            SCOPED_TRACE(hwy::TargetName(target));
            const ONLY_TARGET only(target);
            EXPECT_GT(playEveryRule<BLOCK>(model, plan), 200);
        }
    }
};
TYPED_TEST_SUITE(TARGETS_TEST, CPU_BLOCKS, NAMES);

TYPED_TEST(TARGETS_TEST, EachInstructionSetHasLoopsOfItsOwn) {
    const auto targets = hwy::SupportedAndGeneratedTargets();
    std::set<const void*> loops;
    for (std::int64_t target : targets) {
        const ONLY_TARGET only(target);
        loops.insert(reinterpret_cast<const void*>(this->addRow()));
    }
    EXPECT_EQ(loops.size(), targets.size());
}

TYPED_TEST(TARGETS_TEST, DenseModels) {
    for (int size : {64, 128, 192, 384}) {
        typename TestFixture::MODEL model(size, dense(91, -100, 100));
        this->playOn(model, {.instances = 4, .max_steps = 150});
    }
}

TYPED_TEST(TARGETS_TEST, Ties) {
    for (int size : {64, 256}) {
        typename TestFixture::MODEL model(size, ties(92));
        this->playOn(model, {.instances = 4, .max_steps = 150});
    }
}

TYPED_TEST(TARGETS_TEST, WeightsNearTheLimitOfTheRange) {
    const std::int64_t limit = TestFixture::ELEMENT_MAX >> 9;
    typename TestFixture::MODEL model(64, dense(93, -limit, limit));
    this->playOn(model, {.instances = 4, .max_steps = 150});
}

TYPED_TEST(TARGETS_TEST, AFullBlockOfFiveBitsPerThread) {
    typename TestFixture::MODEL model(5120, 50, dense(94, -100, 100));
    this->playOn(model, {.instances = 2, .max_steps = 30, .most_ones = 10});
}

// ---- sweeps over the forms of rows, by the width of the deltas -----------------------------

template <class BLOCK>
class TARGETS_ROW_FORMS_TEST : public TARGETS_TEST<BLOCK> {
  public:
    void playForms(typename BLOCK_TEST<BLOCK>::MODEL& model) {
        for (ROW_FORM form : {ROW_FORM::BYTES, ROW_FORM::LISTS}) {
            SCOPED_TRACE(form_name(form, 32));
            this->playOn(model, {.instances = 3, .max_steps = 100, .setup = {.form = form}});
        }
    }
};
using BLOCKS_BY_DELTAS =
    BLOCK_TYPES<CPU_BLOCK<std::int32_t, std::int32_t, std::int16_t>,
                CPU_BLOCK<std::int32_t, std::int32_t>, CPU_BLOCK<std::int32_t, std::int64_t>>;
TYPED_TEST_SUITE(TARGETS_ROW_FORMS_TEST, BLOCKS_BY_DELTAS, NAMES);

TYPED_TEST(TARGETS_ROW_FORMS_TEST, DenseModels) {
    for (int size : {128, 384}) {
        typename TestFixture::MODEL model(size, dense(95, -20, 20));
        this->playForms(model);
    }
}

TYPED_TEST(TARGETS_ROW_FORMS_TEST, ShortRows) {
    typename TestFixture::MODEL model(640, sparse(97, 400, 2));
    this->playOn(model, {.instances = 3, .max_steps = 150, .setup = {.form = ROW_FORM::LISTS}});
}

TYPED_TEST(TARGETS_ROW_FORMS_TEST, Ties) {
    typename TestFixture::MODEL model(256, ties(96));
    this->playForms(model);
}

}  // namespace
}  // namespace orvex::device::test
