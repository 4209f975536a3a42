/* Events and the requests that an event function makes. */
#include <string.h>

#include "flat_caller.h"

enum { N = 70, WORDS = 2 };

/* What an event function was shown, and what it does. */
struct listener {
    tarvik_orvex_handle* handle;
    int inits, news, alarms;
    int first, last;      /* codes of the first event and of the last */
    int energy;           /* of the last new best; they must fall */
    uint64_t bits[WORDS]; /* of the last event */
    void (*act)(struct listener* listener, int event);
};

static int bits_in(const uint64_t* words) {
    int count = 0;
    for (int i = 0; i < N; ++i)
        count += (int)(words[i / 64] >> (i % 64) & 1);
    return count;
}

static void listen(void* user, int event, const uint64_t* bits, double value) {
    struct listener* listener = user;
    CHECK(value == 0.0);
    CHECK(bits[1] < 64); /* nothing above the last variable */
    if (listener->inits + listener->news + listener->alarms == 0) listener->first = event;
    listener->last = event;
    memcpy(listener->bits, bits, sizeof listener->bits);
    if (event == 0) {
        ++listener->inits;
        listener->energy = 1; /* above all that may come */
        CHECK(bits_in(bits) == 0);
    } else if (event == 1) {
        CHECK(-bits_in(bits) < listener->energy);
        listener->energy = -bits_in(bits);
        ++listener->news;
    } else {
        CHECK(event == 2);
        CHECK(-bits_in(bits) == listener->energy);
        ++listener->alarms;
    }
    if (listener->act != NULL) listener->act(listener, event);
}

/* N variables of which each gains 1, with a listener. */
static struct listener listener_that(void (*act)(struct listener* listener, int event)) {
    struct listener listener;
    uint32_t index[N];
    int64_t value[N];
    memset(&listener, 0, sizeof listener);
    for (uint32_t i = 0; i < N; ++i) {
        index[i] = i;
        value[i] = -1;
    }
    listener.handle = tarvik_orvex_create(N, N, index, value, 0, NULL, NULL, 0);
    listener.act = act;
    return listener;
}

static int search_without_limit(struct listener* listener, uint64_t* solution) {
    tarvik_orvex_set_callback(listener->handle, listen, listener);
    return tarvik_orvex_search(listener->handle, NULL, NULL, solution);
}

static void end_at_the_optimum(struct listener* listener, int event) {
    if (event == 1 && listener->energy == -N) tarvik_orvex_cb_terminate(listener->handle);
}

static void events_show_each_new_best_and_a_request_ends_the_search(void) {
    struct listener listener = listener_that(end_at_the_optimum);
    uint64_t solution[WORDS] = {0, 0};
    CHECK(search_without_limit(&listener, solution) == 0);
    CHECK(bits_in(solution) == N);
    CHECK(listener.inits == 1);
    CHECK(listener.first == 0);
    CHECK(listener.news >= 1);
    CHECK(listener.alarms == 0);
    CHECK(memcmp(listener.bits, solution, sizeof solution) == 0);
    tarvik_orvex_destroy(listener.handle);
}

static void end_in_init(struct listener* listener, int event) {
    CHECK(event == 0);
    tarvik_orvex_cb_terminate(listener->handle);
}

static void the_request_to_end_holds_for_one_search(void) {
    struct listener listener = listener_that(end_in_init);
    uint64_t solution[WORDS];
    CHECK(search_without_limit(&listener, solution) == 0);
    CHECK(listener.inits == 1);
    CHECK(listener.news == 0);
    listener.act = end_at_the_optimum;
    tarvik_orvex_cb_terminate(listener.handle); /* between two searches: nothing */
    CHECK(search_without_limit(&listener, solution) == 0);
    CHECK(listener.news >= 1);
    tarvik_orvex_destroy(listener.handle);
}

static void ring_three_times(struct listener* listener, int event) {
    (void)event;
    if (listener->alarms < 3)
        tarvik_orvex_cb_timer(listener->handle, listener->alarms == 0 ? 0.01 : -1.0);
    else
        tarvik_orvex_cb_terminate(listener->handle);
}

static void a_timer_rings_once_for_each_request(void) {
    struct listener listener = listener_that(ring_three_times);
    uint64_t solution[WORDS];
    CHECK(search_without_limit(&listener, solution) == 0);
    CHECK(listener.alarms == 3);
    CHECK(listener.last == 2);
    tarvik_orvex_destroy(listener.handle);
}

/* Every event but the one that ends the search comes too early for this timer. */
static void ask_for_an_hour(struct listener* listener, int event) {
    tarvik_orvex_cb_timer(listener->handle, 3600.0);
    end_at_the_optimum(listener, event);
}

static void a_timer_that_is_not_due_does_not_ring(void) {
    struct listener listener = listener_that(ask_for_an_hour);
    uint64_t solution[WORDS];
    CHECK(search_without_limit(&listener, solution) == 0);
    CHECK(listener.alarms == 0);
    tarvik_orvex_destroy(listener.handle);
}

static void requests_outside_of_events_ask_for_nothing(void) {
    const char* const settings[] = {"trial_limit", "2000", NULL};
    const uint64_t hint[WORDS] = {1, 0};
    struct listener listener = listener_that(NULL);
    uint64_t solution[WORDS];
    tarvik_orvex_cb_timer(listener.handle, 0.0);
    tarvik_orvex_cb_hint(listener.handle, hint);
    tarvik_orvex_cb_terminate(listener.handle);
    tarvik_orvex_set_callback(listener.handle, listen, &listener);
    CHECK(tarvik_orvex_search(listener.handle, settings, NULL, solution) == 0);
    CHECK(listener.inits == 1);
    CHECK(listener.news >= 1);
    CHECK(listener.alarms == 0);
    tarvik_orvex_destroy(listener.handle);
}

static void a_null_function_means_no_events(void) {
    const char* const settings[] = {"trial_limit", "20", NULL};
    struct listener listener = listener_that(NULL);
    uint64_t solution[WORDS];
    tarvik_orvex_set_callback(listener.handle, listen, &listener);
    tarvik_orvex_set_callback(listener.handle, NULL, &listener);
    CHECK(tarvik_orvex_search(listener.handle, settings, NULL, solution) == 0);
    CHECK(listener.inits + listener.news + listener.alarms == 0);
    tarvik_orvex_destroy(listener.handle);
}

static void handles_have_functions_of_their_own(void) {
    struct listener first = listener_that(end_at_the_optimum);
    struct listener second = listener_that(end_in_init);
    uint64_t solution[WORDS];
    CHECK(search_without_limit(&second, solution) == 0);
    CHECK(search_without_limit(&first, solution) == 0);
    CHECK(second.inits == 1 && second.news == 0);
    CHECK(first.inits == 1 && first.news >= 1);
    tarvik_orvex_destroy(second.handle);
    CHECK(search_without_limit(&first, solution) == 0);
    CHECK(first.inits == 2);
    tarvik_orvex_destroy(first.handle);
}

void test_events(void) {
    events_show_each_new_best_and_a_request_ends_the_search();
    the_request_to_end_holds_for_one_search();
    a_timer_rings_once_for_each_request();
    a_timer_that_is_not_due_does_not_ring();
    requests_outside_of_events_ask_for_nothing();
    a_null_function_means_no_events();
    handles_have_functions_of_their_own();
    tarvik_orvex_set_callback(NULL, listen, NULL);
    tarvik_orvex_cb_timer(NULL, 1.0);
    tarvik_orvex_cb_hint(NULL, NULL);
    tarvik_orvex_cb_terminate(NULL);
}
