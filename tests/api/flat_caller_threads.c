/* Several threads: a last error for each, descriptions for all, and an end from outside. */
#define _POSIX_C_SOURCE 200809L
#include <pthread.h>
#include <string.h>

#include "flat_caller.h"

/* Runs an action on a thread of its own, and keeps what that thread's last error is then. */
struct errand {
    void (*act)(void);
    char error[256];
};

static void* run_errand(void* argument) {
    struct errand* errand = argument;
    if (errand->act != NULL) errand->act();
    errand->error[0] = '\0';
    strncat(errand->error, tarvik_orvex_last_error(), sizeof errand->error - 1);
    return NULL;
}

static const char* error_of_a_thread_that(void (*act)(void)) {
    static struct errand errand;
    pthread_t thread;
    errand.act = act;
    CHECK(pthread_create(&thread, NULL, run_errand, &errand) == 0);
    CHECK(pthread_join(thread, NULL) == 0);
    return errand.error;
}

/* Nothing is checked on these threads: the checks are counted without a lock. */
static void is_refused(void) {
    tarvik_orvex_destroy(tarvik_orvex_create(5, 1, NULL, NULL, 0, NULL, NULL, 0));
}

static void is_served(void) {
    tarvik_orvex_destroy(zeros_of(5));
}

static void each_thread_has_its_own_last_error(void) {
    CHECK(zeros_of(0) == NULL);
    CHECK_TEXT(error_of_a_thread_that(NULL), "");
    CHECK_TEXT(error_of_a_thread_that(is_refused),
               "ORVEX: linear_index is null but linear_count is 1");
    CHECK_TEXT(error_of_a_thread_that(is_served), "");
    CHECK_TEXT(tarvik_orvex_last_error(), "ORVEX: model has no variables");
}

static void* describe(void* argument) {
    const char** texts = argument;
    texts[0] = tarvik_orvex_version();
    texts[1] = tarvik_orvex_kernel_sizes();
    texts[2] = tarvik_orvex_arith_bits();
    return NULL;
}

static void all_threads_are_given_the_same_descriptions(void) {
    enum { THREADS = 4 };
    pthread_t threads[THREADS];
    const char* texts[THREADS][3];
    const char* expected[3];
    for (int k = 0; k < THREADS; ++k)
        CHECK(pthread_create(&threads[k], NULL, describe, texts[k]) == 0);
    for (int k = 0; k < THREADS; ++k)
        CHECK(pthread_join(threads[k], NULL) == 0);
    describe(expected);
    for (int k = 0; k < THREADS; ++k)
        CHECK(memcmp(texts[k], expected, sizeof expected) == 0);
}

/* A search that is ended by another thread, once that thread has seen it begin. */
struct ended_search {
    tarvik_orvex_handle* handle;
    pthread_mutex_t mutex;
    pthread_cond_t changed;
    int begun;
};

static void keep_events_coming(void* user, int event, const uint64_t* bits, double value) {
    struct ended_search* ended = user;
    (void)bits, (void)value;
    tarvik_orvex_cb_timer(ended->handle, 0.001);
    if (event != 2) return;
    pthread_mutex_lock(&ended->mutex);
    ended->begun = 1;
    pthread_cond_signal(&ended->changed);
    pthread_mutex_unlock(&ended->mutex);
}

static void* end_once_begun(void* argument) {
    struct ended_search* ended = argument;
    pthread_mutex_lock(&ended->mutex);
    while (!ended->begun)
        pthread_cond_wait(&ended->changed, &ended->mutex);
    pthread_mutex_unlock(&ended->mutex);
    tarvik_orvex_cb_terminate(ended->handle);
    return NULL;
}

static void another_thread_may_end_a_search(void) {
    struct ended_search ended = {NULL, PTHREAD_MUTEX_INITIALIZER, PTHREAD_COND_INITIALIZER, 0};
    pthread_t thread;
    uint64_t solution;
    ended.handle = pair_of(-1, 1);
    tarvik_orvex_set_callback(ended.handle, keep_events_coming, &ended);
    CHECK(pthread_create(&thread, NULL, end_once_begun, &ended) == 0);
    CHECK(tarvik_orvex_search(ended.handle, NULL, NULL, &solution) == 0);
    CHECK(pthread_join(thread, NULL) == 0);
    CHECK(solution == 1);
    tarvik_orvex_destroy(ended.handle);
}

void test_threads(void) {
    all_threads_are_given_the_same_descriptions();
    each_thread_has_its_own_last_error();
    another_thread_may_end_a_search();
}
