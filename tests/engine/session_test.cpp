// What a band keeps between calls: the matrix of the last model, and nothing when it is released.
#include <malloc.h>
#include <memory>
#include <stdexcept>

#include "engine/globals.hpp"
#include "engine/support/band_128_32_32.hpp"
#include "engine/support/band_64_32_32.hpp"
#include "engine/support/runs.hpp"
#include "support/sanitized.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;
namespace band = qb128_32_32;

class Session : public testing::Test {
  protected:
    Session() { band::qubo_releaser(); }
    ~Session() override {
        band::qubo_releaser();
        qb64_32_32::qubo_releaser();
    }

    /** What a run of the model needed; `owned` tells whether it had to load the matrix. */
    struct NEED {
        long large_allocations;
        bool owned;
    };
    NEED run(const Model& of, SETTINGS more = {}) {
        NEED need{};
        ON_EVENT callback([&](ON_EVENT&, const std::string&) { need.owned = band::gv->owns_wmat; });
        Param param = settings(more);
        param.set("trial_limit", "5");
        param.set(callback);
        const long before = platform::large_allocations();
        solve(band::band_solve, of, param);
        need.large_allocations = platform::large_allocations() - before;
        return need;
    }

    /** The result of a short run as it comes, whatever its energy. */
    static Sol unscored(const Model& of) {
        Sol sol(of.impl().size);
        band::band_solve(sol.impl(), of.impl(), settings({{"trial_limit", "5"}}).impl(), nullptr);
        return sol;
    }

    /** Another model takes the place of this one in memory, and has been written as often. */
    static void buildAnotherInPlaceOf(Model& replaced, unsigned seed) {
        const std::uint64_t writes = replaced.impl().revision;
        const Model other = random_model(replaced.impl().size, replaced.impl().bits, 1000, seed);
        ASSERT_EQ(other.impl().revision, writes);
        std::destroy_at(&replaced.impl());
        std::construct_at(&replaced.impl(), other.impl().size, other.impl().bits);
        for (int i = 0; i < other.impl().size; ++i)
            for (int j = i; j < other.impl().size; ++j)
                replaced.set(i, j, other.get(i, j));
        ASSERT_EQ(replaced.impl().revision, writes);
    }

    static int deviceCopies() {
        return static_cast<int>(std::count_if(band::session.device_wmat.begin(),
                                              band::session.device_wmat.end(),
                                              [](const void* copy) { return copy; }));
    }

    static const band::WMAT& hostMatrix() {
        return *static_cast<const band::WMAT*>(band::session.host_wmat);
    }

    static void expectEmpty() {
        EXPECT_EQ(band::session.model, nullptr);
        EXPECT_EQ(band::session.model_stamp, 0u);
        EXPECT_EQ(band::session.host_wmat, nullptr);
        EXPECT_TRUE(band::session.device_wmat.empty());
    }

    Model model = random_model(100, 16, 1000, 1);
};

TEST_F(Session, IsEmptyAtFirst) {
    expectEmpty();
}

TEST_F(Session, ARunLeavesTheMatrixOnHostAndDevices) {
    EXPECT_TRUE(run(model).owned);
    EXPECT_EQ(band::session.model, &model.impl());
    EXPECT_EQ(band::session.model_stamp, model.impl().revision);
    ASSERT_NE(band::session.host_wmat, nullptr);
    EXPECT_EQ(hostMatrix().n, 100);
    EXPECT_EQ(deviceCopies(), 1);
}

TEST_F(Session, ASecondRunOfTheModelLoadsNothing) {
    const NEED first = run(model);
    const void* const host = band::session.host_wmat;
    const void* const on_device = band::session.device_wmat[0];
    const NEED second = run(model);
    EXPECT_FALSE(second.owned);
    EXPECT_EQ(second.large_allocations, first.large_allocations - 2)
        << "all but the matrix and its rows in 16 bits";
    EXPECT_EQ(band::session.host_wmat, host);
    EXPECT_EQ(band::session.device_wmat[0], on_device);
}

TEST_F(Session, AChangedModelIsLoadedAnew) {
    run(model);
    model.set(0, 0, 77);
    EXPECT_TRUE(run(model).owned);
    EXPECT_EQ(band::session.model_stamp, model.impl().revision);
    EXPECT_EQ(hostMatrix().diag[0], 77);
}

TEST_F(Session, AnotherModelIsLoadedInItsPlace) {
    run(model);
    const Model other = random_model(20, 16, 1000, 2);
    EXPECT_TRUE(run(other).owned);
    EXPECT_EQ(band::session.model, &other.impl());
    EXPECT_EQ(hostMatrix().n, 20);
}

TEST_F(Session, ANewModelInThePlaceOfTheOldWrittenAsOftenIsTakenForIt) {
    const Model old = model;
    run(model);
    const void* const host = band::session.host_wmat;
    buildAnotherInPlaceOf(model, 7);
    const Sol sol = unscored(model);
    EXPECT_EQ(band::session.host_wmat, host);
    expect_true_energy(old, sol);
    EXPECT_NE(energy_of(old, sol), energy_of(model, sol));
}

TEST_F(Session, ReleasingBetweenTwoModelsInOnePlaceKeepsThemApart) {
    run(model);
    buildAnotherInPlaceOf(model, 7);
    Solver(false).release();
    EXPECT_TRUE(run(model).owned) << "and its energies are its own";
}

TEST_F(Session, AnAssignmentToTheModelLeavesTheOldWeightsInPlace) {
    const Model old = model;
    run(model);
    const void* const host = band::session.host_wmat;
    model = random_model(100, 16, 1000, 7);
    const Sol sol = unscored(model);
    EXPECT_EQ(band::session.host_wmat, host);
    expect_true_energy(old, sol);
    EXPECT_NE(energy_of(old, sol), energy_of(model, sol));
}

TEST_F(Session, AWriteAfterAnAssignmentHasTheAssignedWeightsLoaded) {
    run(model);
    model = random_model(100, 16, 1000, 7);
    model.set(0, 0, model.get(0, 0));
    EXPECT_TRUE(run(model).owned) << "and its energies are those of the new weights";
    EXPECT_EQ(hostMatrix().diag[0], model.get(0, 0));
}

TEST_F(Session, ReleasingAfterAnAssignmentHasTheAssignedWeightsLoaded) {
    run(model);
    model = random_model(100, 16, 1000, 7);
    Solver(false).release();
    EXPECT_TRUE(run(model).owned);
}

TEST_F(Session, AModelThatWasAssignedToAnotherKeepsItsOwn) {
    run(model);
    Model other = random_model(100, 16, 1000, 7);
    other = model;
    EXPECT_FALSE(run(model).owned);
    EXPECT_TRUE(run(other).owned) << "the same weights at another address";
}

TEST_F(Session, ABoundThatIsNoNumberThrowsAndLeavesTheSessionSound) {
    Sol start(100);
    for (const bool loaded : {false, true}) {
        band::qubo_releaser();
        if (loaded) run(model);
        start.set("bound", "low");
        EXPECT_THROW(solve(band::band_solve, model, Param(), &start), std::invalid_argument);
        start.set("bound", "99999999999999999999");
        EXPECT_THROW(solve(band::band_solve, model, Param(), &start), std::out_of_range);
        EXPECT_EQ(deviceCopies(), loaded ? 1 : 0);
        EXPECT_EQ(run(model).owned, !loaded);
        EXPECT_EQ(deviceCopies(), 1);
    }
}

TEST_F(Session, AnEventThatThrowsInInitLeavesTheSessionSound) {
#if !defined(NDEBUG) || ORVEX_ADDRESS_SANITIZER
    GTEST_SKIP() << "an event must not throw: assertions see it, and memory of the device is lost";
#endif
    for (const bool loaded : {false, true}) {
        band::qubo_releaser();
        if (loaded) run(model);
        ON_EVENT callback(
            [](ON_EVENT&, const std::string&) { throw std::runtime_error("no more"); });
        Param param = settings({{"trial_limit", "5"}});
        param.set(callback);
        EXPECT_THROW(solve(band::band_solve, model, param), std::runtime_error);
        EXPECT_EQ(run(model).owned, !loaded);
        EXPECT_EQ(deviceCopies(), 1);
        EXPECT_FALSE(run(model).owned);
    }
}

TEST_F(Session, WhileARunUsesItsCopyTheSessionHasNone) {
    run(model);
    int during = -1;
    ON_EVENT callback([&](ON_EVENT&, const std::string&) { during = deviceCopies(); });
    Param param = settings({{"trial_limit", "1"}});
    param.set(callback);
    solve(band::band_solve, model, param);
    EXPECT_EQ(during, 0);
    EXPECT_EQ(deviceCopies(), 1);
}

TEST_F(Session, ReleasingGivesEverythingBackAndMayBeRepeated) {
    run(model);
    band::qubo_releaser();
    expectEmpty();
    band::qubo_releaser();
    expectEmpty();
    EXPECT_TRUE(run(model).owned) << "loaded afresh";
}

TEST_F(Session, APreparedModelNeedsNoLoading) {
    band::qubo_preparer(model.impl(), Param().impl());
    EXPECT_EQ(band::session.model, &model.impl());
    EXPECT_EQ(deviceCopies(), 1);
    const void* const host = band::session.host_wmat;
    EXPECT_FALSE(run(model).owned);
    EXPECT_EQ(band::session.host_wmat, host);
}

TEST_F(Session, PreparingTwiceLoadsOnce) {
    band::qubo_preparer(model.impl(), Param().impl());
    const long before = platform::large_allocations();
    const void* const host = band::session.host_wmat;
    band::qubo_preparer(model.impl(), Param().impl());
    EXPECT_EQ(platform::large_allocations(), before);
    EXPECT_EQ(band::session.host_wmat, host);
}

TEST_F(Session, PreparingAChangedModelLoadsItAnew) {
    band::qubo_preparer(model.impl(), Param().impl());
    model.set(0, 0, 78);
    band::qubo_preparer(model.impl(), Param().impl());
    EXPECT_EQ(hostMatrix().diag[0], 78);
    EXPECT_EQ(band::session.model_stamp, model.impl().revision);
}

TEST_F(Session, APreparedModelThatHasChangedSinceIsLoadedByTheRun) {
    band::qubo_preparer(model.impl(), Param().impl());
    model.set(0, 0, 79);
    EXPECT_TRUE(run(model).owned);
    EXPECT_EQ(hostMatrix().diag[0], 79);
}

TEST_F(Session, PreparingUsesTheDevicesAskedForAndAllForOtherNumbers) {
    const PRESENTED_DEVICES three(3);
    for (const auto& [value, copies] : {std::pair("2", 2), std::pair("0", 3), std::pair("-1", 3),
                                        std::pair("100", 3), std::pair("1 junk", 1)}) {
        band::qubo_releaser();
        band::qubo_preparer(model.impl(), settings({{"gpus", value}}).impl());
        EXPECT_EQ(deviceCopies(), copies) << value;
    }
}

TEST_F(Session, PreparingOnMoreDevicesAddsTheMissingCopies) {
    const PRESENTED_DEVICES three(3);
    band::qubo_preparer(model.impl(), settings({{"gpus", "1"}}).impl());
    band::qubo_preparer(model.impl(), Param().impl());
    EXPECT_EQ(deviceCopies(), 3);
}

TEST_F(Session, ARunOnMoreDevicesAddsTheMissingCopies) {
    const PRESENTED_DEVICES three(3);
    band::qubo_preparer(model.impl(), settings({{"gpus", "1"}}).impl());
    EXPECT_FALSE(run(model).owned);
    EXPECT_EQ(deviceCopies(), 3);
}

TEST_F(Session, ARunOnFewerDevicesKeepsTheOtherCopies) {
    const PRESENTED_DEVICES three(3);
    band::qubo_preparer(model.impl(), Param().impl());
    run(model, {{"gpus", "2"}});
    EXPECT_EQ(deviceCopies(), 3);
}

TEST_F(Session, PreparingLooksAtNoOtherKey) {
    band::qubo_preparer(model.impl(), settings({{"no_such_key", "x"}}).impl());
    EXPECT_EQ(deviceCopies(), 1);
}

TEST_F(Session, PreparingWithANumberOfDevicesThatIsNoneThrows) {
    try {
        band::qubo_preparer(model.impl(), settings({{"gpus", "all"}}).impl());
        FAIL() << "no exception";
    } catch (const std::invalid_argument& error) {
        EXPECT_STREQ(error.what(), "stoi");
    }
    try {
        band::qubo_preparer(model.impl(), settings({{"gpus", "99999999999"}}).impl());
        FAIL() << "no exception";
    } catch (const std::out_of_range& error) {
        EXPECT_STREQ(error.what(), "stoi");
    }
    expectEmpty();
}

TEST_F(Session, EachBandHasItsOwn) {
    run(model);
    const Model small = random_model(30, 16, 1000, 3);
    solve(qb64_32_32::band_solve, small, settings({{"trial_limit", "5"}}));
    EXPECT_EQ(qb64_32_32::session.model, &small.impl());
    EXPECT_EQ(band::session.model, &model.impl());
    EXPECT_FALSE(run(model).owned);
    qb64_32_32::qubo_releaser();
    EXPECT_EQ(band::session.model, &model.impl());
}

TEST_F(Session, OfManyRunsLeavesNothingBehind) {
    // Counted by the C library; the detectors of lost memory count for themselves, one run as well
    // as hundreds.
    const int share = orvex::test::SANITIZED ? 20 : 1;
    const auto cycles = [&](int count) {
        for (int i = 0; i < count; ++i) {
            run(model);
            band::qubo_releaser();
        }
        return mallinfo2().uordblks;
    };
    const std::size_t before = cycles(100 / share);
    EXPECT_LT(cycles(500 / share), before + 16384) << "32 bytes for each run";
}

}  // namespace
