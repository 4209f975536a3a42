// Events: what the event function is shown, and how the requests that it makes reach the engine.
// The band raises the events one by one and looks at what the callback then holds.
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "front/flat_bands.hpp"

namespace {

using namespace flat_tests;
using orvex::Callback;
using orvex::Sol;

constexpr std::uint64_t ALL_ONES = ~std::uint64_t{0};

/** One call of the event function. */
struct EVENT {
    int code;
    WORDS bits;
    double value;
};

class FlatEvents : public FLAT_TEST {
  protected:
    /** Notes an event and then acts as the test says. */
    static void on_event(void* user, int code, const std::uint64_t* bits, double value) {
        auto& test = *static_cast<FlatEvents*>(user);
        test.events.push_back({code, WORDS(bits, bits + 2), value});
        if (test.action) test.action();
    }

    void listen() { tarvik_orvex_set_callback(handle.get(), on_event, this); }

    /** Searches; meanwhile the band raises events, or whatever the test says. */
    void search_with(std::function<void(Callback&)> band) {
        bands().on_solve = [band = std::move(band)](Sol::Impl&, const BAND_CALL& call) {
            ASSERT_NE(call.callback, nullptr);
            call.callback->impl().solution = Sol(70);
            band(*call.callback);
        };
        EXPECT_EQ(search(handle), 0);
    }

    static void show(Callback& callback, const WORDS& words) {
        for (std::size_t w = 0; w < words.size(); ++w)
            callback.impl().solution.impl().data[w] = words[w];
    }

    HANDLE handle = create(70, {{0, 1}});
    std::vector<EVENT> events;
    std::function<void()> action;
};

TEST_F(FlatEvents, InitShowsZerosAndTurnsNewEventsOn) {
    listen();
    search_with([](Callback& callback) {
        show(callback, {ALL_ONES, ALL_ONES});
        EXPECT_EQ(callback.impl().notify_new, 0);
        callback.callback("init");
        EXPECT_EQ(callback.impl().notify_new, 1);
    });
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].code, 0);
    EXPECT_EQ(events[0].bits, (WORDS{0, 0}));
    EXPECT_EQ(events[0].value, 0.0);
}

TEST_F(FlatEvents, NewAndAlarmShowTheSolutionWithZerosAboveTheLastVariable) {
    listen();
    search_with([](Callback& callback) {
        show(callback, {0x25, ALL_ONES});
        callback.callback("new");
        show(callback, {0x26, 0});
        callback.callback("alarm");
    });
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].code, 1);
    EXPECT_EQ(events[0].bits, (WORDS{0x25, 0x3f}));
    EXPECT_EQ(events[1].code, 2);
    EXPECT_EQ(events[1].bits, (WORDS{0x26, 0}));
}

TEST_F(FlatEvents, NeverTellTheEnergy) {
    listen();
    search_with([](Callback& callback) {
        callback.impl().solution.set("energy", "-17");
        for (const char* event : {"init", "new", "alarm"})
            callback.callback(event);
    });
    for (const EVENT& event : events)
        EXPECT_EQ(event.value, 0.0);
}

TEST_F(FlatEvents, WithoutRequestsAskForNothing) {
    listen();
    search_with([](Callback& callback) {
        for (const char* event : {"init", "new", "alarm"})
            callback.callback(event);
        const Callback::Impl& requests = callback.impl();
        EXPECT_EQ(requests.alarm_armed, 0);
        EXPECT_EQ(requests.hint_pending, 0);
        EXPECT_EQ(requests.abort_request, 0);
        EXPECT_EQ(requests.kill_request, 0);
    });
}

TEST_F(FlatEvents, OfEachSearchBeginWithoutRequestsOfTheOneBefore) {
    listen();
    action = [this] { tarvik_orvex_cb_timer(handle.get(), 1); };
    search_with([](Callback& callback) { callback.callback("init"); });
    search_with([](Callback& callback) {
        EXPECT_EQ(callback.impl().notify_new, 0);
        EXPECT_EQ(callback.impl().alarm_armed, 0);
    });
}

TEST_F(FlatEvents, GoToTheFunctionThatWasSetLast) {
    int calls = 0;
    listen();
    tarvik_orvex_set_callback(
        handle.get(),
        [](void* user, int, const std::uint64_t*, double) { ++*static_cast<int*>(user); }, &calls);
    search_with([](Callback& callback) { callback.callback("init"); });
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(events.empty());
}

TEST_F(FlatEvents, EndWithANullFunction) {
    listen();
    tarvik_orvex_set_callback(handle.get(), nullptr, this);
    EXPECT_EQ(search(handle), 0);
    EXPECT_EQ(bands().last_solve().callback, nullptr);
}

TEST_F(FlatEvents, EndWithANullFunctionSetDuringOne) {
    listen();
    action = [this] {
        tarvik_orvex_set_callback(handle.get(), nullptr, nullptr);
        tarvik_orvex_cb_terminate(handle.get());
    };
    search_with([](Callback& callback) {
        callback.callback("init");
        callback.impl().abort_request = 0;
        callback.callback("new");
        EXPECT_EQ(callback.impl().abort_request, 1) << "the request to end is kept";
    });
    EXPECT_EQ(events.size(), 1u);
}

TEST_F(FlatEvents, OfOneHandleDoNotReachTheFunctionOfAnother) {
    const HANDLE other = create(70);
    tarvik_orvex_set_callback(
        other.get(), [](void*, int, const std::uint64_t*, double) { ADD_FAILURE(); }, nullptr);
    listen();
    action = [&] { tarvik_orvex_cb_terminate(other.get()); };
    search_with([](Callback& callback) {
        callback.callback("init");
        EXPECT_EQ(callback.impl().abort_request, 0) << "the other's search was to end";
    });
    EXPECT_EQ(events.size(), 1u);
}

class FlatTimer : public FlatEvents {
  protected:
    /** What the callback asks for when the event function asked for a timer of these seconds. */
    std::pair<bool, double> alarm_for(double seconds) {
        listen();
        std::pair<bool, double> alarm;
        action = [this, seconds] { tarvik_orvex_cb_timer(handle.get(), seconds); };
        search_with([&](Callback& callback) {
            callback.callback("init");
            alarm = {callback.impl().alarm_armed, callback.impl().alarm_seconds};
        });
        return alarm;
    }
};

TEST_F(FlatTimer, ArmsAnAlarmToTheMicrosecond) {
    EXPECT_EQ(alarm_for(1.5), std::pair(true, 1.5));
    EXPECT_EQ(alarm_for(0.1234564), std::pair(true, 0.123456));
    EXPECT_EQ(alarm_for(1e-9), std::pair(true, 0.0));
}

TEST_F(FlatTimer, OfANegativeTimeIsDueAtOnce) {
    EXPECT_EQ(alarm_for(-3), std::pair(true, 0.0));
    EXPECT_EQ(alarm_for(0), std::pair(true, 0.0));
    EXPECT_EQ(alarm_for(-std::numeric_limits<double>::infinity()), std::pair(true, 0.0));
}

TEST_F(FlatTimer, OfAnEndlessTimeIsArmedAllTheSame) {
    const double most = std::numeric_limits<double>::max();
    EXPECT_EQ(alarm_for(most), std::pair(true, most));
    const double endless = std::numeric_limits<double>::infinity();
    EXPECT_EQ(alarm_for(endless), std::pair(true, endless));
}

TEST_F(FlatTimer, OfNoNumberIsNone) {
    EXPECT_FALSE(alarm_for(std::nan("")).first);
}

TEST_F(FlatTimer, IsAskedForAnewInEachEvent) {
    listen();
    action = [this] {
        if (events.size() == 1) tarvik_orvex_cb_timer(handle.get(), 2);
    };
    search_with([](Callback& callback) {
        callback.callback("init");
        EXPECT_EQ(callback.impl().alarm_armed, 1);
        callback.impl().alarm_armed = 0;  // as the engine does before the event
        callback.callback("alarm");
        EXPECT_EQ(callback.impl().alarm_armed, 0);
    });
}

TEST_F(FlatTimer, OfTwoInOneEventTheLastCounts) {
    listen();
    action = [this] {
        tarvik_orvex_cb_timer(handle.get(), 2);
        tarvik_orvex_cb_timer(handle.get(), 3);
    };
    search_with([](Callback& callback) {
        callback.callback("init");
        EXPECT_EQ(callback.impl().alarm_seconds, 3);
    });
}

using FlatHint = FlatEvents;

TEST_F(FlatHint, IsCopiedWithoutTheBitsAboveTheLastVariable) {
    listen();
    action = [this] {
        WORDS words = {0x25, ALL_ONES};
        tarvik_orvex_cb_hint(handle.get(), words.data());
        words = {0, 0};
    };
    search_with([](Callback& callback) {
        callback.callback("new");
        const Callback::Impl& requests = callback.impl();
        ASSERT_EQ(requests.hint_pending, 1);
        EXPECT_EQ(requests.hint.impl().bits, 70);
        EXPECT_EQ(requests.hint.impl().data[0], 0x25u);
        EXPECT_EQ(requests.hint.impl().data[1], 0x3fu);
    });
}

TEST_F(FlatHint, IsGivenAnewInEachEvent) {
    listen();
    const WORDS words = {1, 0};
    action = [&] {
        if (events.size() == 1) tarvik_orvex_cb_hint(handle.get(), words.data());
    };
    search_with([](Callback& callback) {
        callback.callback("new");
        EXPECT_EQ(callback.impl().hint_pending, 1);
        callback.impl().hint_pending = 0;  // as the engine does when it takes one
        callback.callback("new");
        EXPECT_EQ(callback.impl().hint_pending, 0);
    });
}

TEST_F(FlatHint, OfNoWordsIsNone) {
    listen();
    action = [this] { tarvik_orvex_cb_hint(handle.get(), nullptr); };
    search_with([](Callback& callback) {
        callback.callback("new");
        EXPECT_EQ(callback.impl().hint_pending, 0);
    });
}

using FlatTerminate = FlatEvents;

TEST_F(FlatTerminate, AsksForTheEndInThisEventAndEachThatStillComes) {
    listen();
    action = [this] {
        if (events.size() == 2) tarvik_orvex_cb_terminate(handle.get());
    };
    search_with([](Callback& callback) {
        callback.callback("init");
        EXPECT_EQ(callback.impl().abort_request, 0);
        for (const char* event : {"new", "alarm"}) {
            callback.callback(event);
            EXPECT_EQ(std::exchange(callback.impl().abort_request, 0), 1) << event;
        }
    });
}

TEST_F(FlatTerminate, OutsideOfAnEventIsTakenUpByTheNext) {
    listen();
    search_with([this](Callback& callback) {
        callback.callback("init");
        tarvik_orvex_cb_terminate(handle.get());
        EXPECT_EQ(callback.impl().abort_request, 0);
        callback.callback("new");
        EXPECT_EQ(callback.impl().abort_request, 1);
    });
    EXPECT_EQ(events.size(), 2u);
}

TEST_F(FlatTerminate, ConcernsOneSearch) {
    listen();
    tarvik_orvex_cb_terminate(handle.get());
    for (int k = 0; k < 2; ++k)
        search_with([this](Callback& callback) {
            callback.callback("init");
            EXPECT_EQ(callback.impl().abort_request, 0);
            tarvik_orvex_cb_terminate(handle.get());
        });
}

using FlatRequests = FlatEvents;

TEST_F(FlatRequests, OutsideOfAnEventAreForgottenButForTheEnd) {
    listen();
    const WORDS words = {1, 0};
    const auto request = [&] {
        tarvik_orvex_cb_timer(handle.get(), 1);
        tarvik_orvex_cb_hint(handle.get(), words.data());
    };
    request();
    search_with([&](Callback& callback) {
        request();
        for (const char* event : {"init", "new", "alarm"}) {
            callback.callback(event);
            EXPECT_EQ(callback.impl().alarm_armed, 0) << event;
            EXPECT_EQ(callback.impl().hint_pending, 0) << event;
            request();
        }
    });
}

TEST_F(FlatRequests, OfOneEventAreAllPassedOn) {
    listen();
    const WORDS words = {1, 0};
    action = [&] {
        tarvik_orvex_cb_terminate(handle.get());
        tarvik_orvex_cb_hint(handle.get(), words.data());
        tarvik_orvex_cb_timer(handle.get(), 1);
    };
    search_with([](Callback& callback) {
        callback.callback("init");
        EXPECT_EQ(callback.impl().alarm_armed, 1);
        EXPECT_EQ(callback.impl().hint_pending, 1);
        EXPECT_EQ(callback.impl().abort_request, 1);
    });
}

TEST_F(FlatRequests, WithoutAHandleDoNothing) {
    const WORDS words = {1, 0};
    tarvik_orvex_set_callback(nullptr, on_event, this);
    tarvik_orvex_cb_timer(nullptr, 1);
    tarvik_orvex_cb_hint(nullptr, words.data());
    tarvik_orvex_cb_terminate(nullptr);
    EXPECT_EQ(bands().of("solve").size(), 0u);
}

}  // namespace
