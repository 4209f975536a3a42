/*
 * Solutions that a caller gives to a search, as its start or as a hint. What shows that one was
 * taken is a search so short that it finds nothing as good of its own.
 */
#include <stdlib.h>
#include <string.h>

#include "flat_caller.h"

enum { N = 200, WORDS = (N + 63) / 64, PAIRS = N * (N + 1) / 2 };

/* A dense problem of random weights, and a good solution of it. */
struct problem {
    uint32_t pairs[2 * PAIRS];
    int64_t values[PAIRS];
    tarvik_orvex_handle* handle;
    uint64_t good[WORDS];
};

static int is_set(const uint64_t* bits, uint32_t i) {
    return (int)(bits[i / 64] >> (i % 64) & 1);
}

static int64_t energy_of(const struct problem* problem, const uint64_t* bits) {
    int64_t energy = 0;
    for (size_t k = 0; k < PAIRS; ++k)
        if (is_set(bits, problem->pairs[2 * k]) && is_set(bits, problem->pairs[2 * k + 1]))
            energy += problem->values[k];
    return energy;
}

static struct problem* new_problem(void) {
    const char* const settings[] = {"trial_limit", "1000", NULL};
    struct problem* problem = calloc(1, sizeof *problem);
    uint64_t random = 88172645463325252u;
    size_t k = 0;
    for (uint32_t i = 0; i < N; ++i)
        for (uint32_t j = i; j < N; ++j, ++k) {
            random ^= random << 13;
            random ^= random >> 7;
            random ^= random << 17;
            problem->pairs[2 * k] = i;
            problem->pairs[2 * k + 1] = j;
            problem->values[k] = (int64_t)(random % 2001) - 1000;
        }
    problem->handle =
        tarvik_orvex_create(N, 0, NULL, NULL, PAIRS, problem->pairs, problem->values, 0);
    CHECK(search(problem->handle, problem->good, settings) == 0);
    return problem;
}

static void delete_problem(struct problem* problem) {
    tarvik_orvex_destroy(problem->handle);
    free(problem);
}

/* What a very short search finds. */
static int64_t energy_found(struct problem* problem, const uint64_t* start) {
    const char* const settings[] = {
        "trial_limit", "5", "search_cycles", "100 20", "blocks_per_island", "1", "islands_per_gpu",
        "1",           NULL};
    uint64_t solution[WORDS];
    CHECK(tarvik_orvex_search(problem->handle, settings, start, solution) == 0);
    return energy_of(problem, solution);
}

/* Whether a search that is given nothing misses the good energy at least once: chance may find it.
 */
static int is_hard(struct problem* problem) {
    int tries;
    for (tries = 0; tries < 20; ++tries)
        if (energy_found(problem, NULL) > energy_of(problem, problem->good)) return 1;
    return 0;
}

static void a_start_counts_as_found(void) {
    struct problem* problem = new_problem();
    uint64_t start[WORDS];
    memcpy(start, problem->good, sizeof start);
    start[WORDS - 1] |= ~UINT64_C(0) << (N % 64); /* these are no variables */
    CHECK(energy_found(problem, start) <= energy_of(problem, problem->good));
    CHECK(is_hard(problem));
    delete_problem(problem);
}

static void give_in_init(void* user, int event, const uint64_t* bits, double value) {
    struct problem* problem = user;
    uint64_t words[WORDS];
    (void)bits, (void)value;
    if (event != 0) return;
    memcpy(words, problem->good, sizeof words);
    tarvik_orvex_cb_hint(problem->handle, words);
    memset(words, 0, sizeof words); /* it was copied */
    tarvik_orvex_cb_hint(problem->handle, NULL);
}

static void a_hint_is_searched_from(void) {
    struct problem* problem = new_problem();
    tarvik_orvex_set_callback(problem->handle, give_in_init, problem);
    CHECK(energy_found(problem, NULL) <= energy_of(problem, problem->good));
    delete_problem(problem);
}

void test_given_solutions(void) {
    a_start_counts_as_found();
    a_hint_is_searched_from();
}
