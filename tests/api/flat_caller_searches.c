/* Searches: how settings are read, what is refused and what that leaves behind, results. */
#include <string.h>

#include "flat_caller.h"

static const char* const FEW_TRIALS[] = {"trial_limit", "20", NULL};

static void a_model_of_zeros_gives_some_vector_of_its_variables(void) {
    uint64_t solution[2] = {7, 7};
    tarvik_orvex_handle* handle = zeros_of(5);
    CHECK(search(handle, solution, FEW_TRIALS) == 0);
    CHECK(solution[0] < 32);
    CHECK(solution[1] == 7);
    tarvik_orvex_destroy(handle);
}

/* All bits set are the optimum, so that those above the last variable would show. */
static void bits_above_the_last_variable_are_zero(void) {
    const char* const settings[] = {"target_energy", "-70", "time_limit", "60", NULL};
    uint32_t index[70];
    int64_t value[70];
    uint64_t solution[3] = {0, ~UINT64_C(0), 7};
    tarvik_orvex_handle* handle;
    for (uint32_t i = 0; i < 70; ++i) {
        index[i] = i;
        value[i] = -1;
    }
    handle = tarvik_orvex_create(70, 70, index, value, 0, NULL, NULL, 0);
    CHECK(search(handle, solution, settings) == 0);
    CHECK(solution[0] == ~UINT64_C(0));
    CHECK(solution[1] == 0x3f);
    CHECK(solution[2] == 7);
    tarvik_orvex_destroy(handle);
}

/* A list that ends early leaves out the setting after, which would be refused. */
static void lists_end_at_a_null_key_or_value(void) {
    const char* const one_pair[] = {"trial_limit", "20", NULL, "gpus", "1", NULL};
    const char* const null_value[] = {"trial_limit", "20", "verbose", NULL, "gpus", "1", NULL};
    const char* const gpus_null[] = {"trial_limit", "20", "gpus", NULL};
    const char* const last_counts[] = {"trial_limit", "0", "trial_limit", "20", NULL};
    uint64_t solution;
    tarvik_orvex_handle* handle = zeros_of(5);
    CHECK(search(handle, &solution, one_pair) == 0);
    CHECK(search(handle, &solution, null_value) == 0);
    CHECK(search(handle, &solution, gpus_null) == 0);
    CHECK(search(handle, &solution, last_counts) == 0);
    tarvik_orvex_destroy(handle);
}

static void end_at_once(void* user, int event, const uint64_t* bits, double value) {
    (void)event, (void)bits, (void)value;
    tarvik_orvex_cb_terminate(user);
}

static void no_list_at_all_is_an_empty_one(void) {
    const char* const nothing_taken[] = {"trial_limit", NULL, "gpus", "1", NULL};
    uint64_t solution;
    tarvik_orvex_handle* handle = zeros_of(5);
    tarvik_orvex_set_callback(handle, end_at_once, handle);
    CHECK(tarvik_orvex_search(handle, NULL, NULL, &solution) == 0);
    CHECK(search(handle, &solution, nothing_taken) == 0);
    tarvik_orvex_destroy(handle);
}

static void gpus_are_refused_whatever_their_value(void) {
    const char* const settings[][5] = {
        {"gpus", "1", NULL}, {"gpus", "", NULL}, {"trial_limit", "20", "gpus", "0", NULL}};
    uint64_t solution = 7;
    tarvik_orvex_handle* handle = zeros_of(5);
    for (size_t k = 0; k < 3; ++k) {
        CHECK(search(handle, &solution, settings[k]) == 1);
        CHECK_TEXT(tarvik_orvex_last_error(),
                   "ORVEX: 'gpus' cannot be set per search; pass it to the constructor");
    }
    CHECK(solution == 7);
    tarvik_orvex_destroy(handle);
}

static void widths_that_are_not_offered_are_refused(void) {
    const char* const of_16[] = {"arithmetic_bits", "16", NULL};
    const char* const of_no_number[] = {"arithmetic_bits", "wide", NULL};
    uint64_t solution = 7;
    tarvik_orvex_handle* handle = zeros_of(5);
    CHECK(search(handle, &solution, of_16) == 1);
    CHECK_TEXT(tarvik_orvex_last_error(),
               "ORVEX: arithmetic_bits = 16 is not available in this build (has 32, 64)");
    CHECK(search(handle, &solution, of_no_number) == 1);
    CHECK_TEXT(tarvik_orvex_last_error(),
               "ORVEX: arithmetic_bits = wide is not available in this build (has 32, 64)");
    CHECK(solution == 7);
    tarvik_orvex_destroy(handle);
}

static void nothing_to_search_or_to_write_to_is_refused(void) {
    uint64_t solution = 7;
    tarvik_orvex_handle* handle = zeros_of(5);
    CHECK(search(NULL, &solution, FEW_TRIALS) == 1);
    CHECK_TEXT(tarvik_orvex_last_error(), "ORVEX: handle is null");
    CHECK(search(handle, NULL, FEW_TRIALS) == 1);
    CHECK_TEXT(tarvik_orvex_last_error(), "ORVEX: solution is null");
    CHECK(search(handle, &solution, FEW_TRIALS) == 0);
    tarvik_orvex_destroy(handle);
}

static void a_refused_search_leaves_no_results_and_the_handle_usable(void) {
    const char* const refused[] = {"arithmetic_bits", "16", NULL};
    uint64_t solution = 0;
    tarvik_orvex_handle* handle = zeros_of(5);
    CHECK(search(handle, &solution, FEW_TRIALS) == 0);
    CHECK(strlen(tarvik_orvex_info(handle, "runtime")) > 0);
    CHECK(search(handle, &solution, refused) == 1);
    CHECK_TEXT(tarvik_orvex_info(handle, "runtime"), "");
    CHECK(search(handle, &solution, FEW_TRIALS) == 0);
    CHECK_TEXT(tarvik_orvex_last_error(), "");
    CHECK(strlen(tarvik_orvex_info(handle, "runtime")) > 0);
    tarvik_orvex_destroy(handle);
}

static void results_are_those_nine(void) {
    const char* const known[] = {"solver",  "gpu",           "solver_size", "solver_bits",
                                 "runtime", "search_cycles", "total_flips", "arithmetic_bits",
                                 "tts"};
    const char* const unknown[] = {"energy", "size", "kernel_time", "version", "colour", ""};
    uint64_t solution;
    tarvik_orvex_handle* handle = pair_of(-1, 1);
    for (size_t k = 0; k < sizeof known / sizeof known[0]; ++k)
        CHECK_TEXT(tarvik_orvex_info(handle, known[k]), "");
    CHECK(search(handle, &solution, FEW_TRIALS) == 0);
    for (size_t k = 0; k < sizeof known / sizeof known[0]; ++k)
        CHECK(strlen(tarvik_orvex_info(handle, known[k])) > 0);
    for (size_t k = 0; k < sizeof unknown / sizeof unknown[0]; ++k)
        CHECK_TEXT(tarvik_orvex_info(handle, unknown[k]), "");
    CHECK_TEXT(tarvik_orvex_info(handle, "solver"), "orvex");
    CHECK_TEXT(tarvik_orvex_info(handle, "solver_size"), "64");
    CHECK_TEXT(tarvik_orvex_info(NULL, "solver"), "");
    tarvik_orvex_destroy(handle);
}

/* The width in which energies of these two were computed, and that the best of them was found. */
static const char* width_for(int64_t first, int64_t second, const char* target, int asks_for_32) {
    static char width[8];
    const char* settings[] = {"target_energy", NULL, "time_limit", "60", NULL, "32", NULL};
    uint64_t solution = 0;
    tarvik_orvex_handle* handle = pair_of(first, second);
    settings[1] = target;
    if (asks_for_32) settings[4] = "arithmetic_bits";
    CHECK(search(handle, &solution, settings) == 0);
    CHECK(solution == (uint64_t)((first < 0) + 2 * (second < 0)));
    width[0] = '\0';
    strncat(width, tarvik_orvex_info(handle, "arithmetic_bits"), sizeof width - 1);
    tarvik_orvex_destroy(handle);
    return width;
}

static void sums_above_2000000000_are_computed_in_64_bits(void) {
    CHECK_TEXT(width_for(-1000000000, -1000000000, "-2000000000", 0), "32");
    CHECK_TEXT(width_for(-1000000000, -1000000001, "-2000000001", 0), "64");
    CHECK_TEXT(width_for(-1000000000, 1000000000, "-1000000000", 0), "32");
    CHECK_TEXT(width_for(-1000000000, 1000000001, "-1000000000", 0), "64");
    CHECK_TEXT(width_for(-2000000000, -2000000000, "-4000000000", 0), "64");
    CHECK_TEXT(width_for(-1000000000, -1000000001, "-2000000001", 1), "32");
}

static void two_handles_live_side_by_side(void) {
    const char* const settings[] = {"target_energy", "-3", "time_limit", "60", NULL};
    uint64_t solution = 0;
    tarvik_orvex_handle* first = pair_of(-3, 1);
    tarvik_orvex_handle* second = pair_of(1, -3);
    for (int k = 0; k < 2; ++k) {
        CHECK(search(first, &solution, settings) == 0);
        CHECK(solution == 1);
        CHECK(search(second, &solution, settings) == 0);
        CHECK(solution == 2);
    }
    tarvik_orvex_destroy(first);
    CHECK(search(second, &solution, settings) == 0); /* loaded afresh */
    CHECK(solution == 2);
    tarvik_orvex_destroy(second);
}

void test_searches(void) {
    a_model_of_zeros_gives_some_vector_of_its_variables();
    bits_above_the_last_variable_are_zero();
    lists_end_at_a_null_key_or_value();
    no_list_at_all_is_an_empty_one();
    gpus_are_refused_whatever_their_value();
    widths_that_are_not_offered_are_refused();
    nothing_to_search_or_to_write_to_is_refused();
    a_refused_search_leaves_no_results_and_the_handle_usable();
    results_are_those_nine();
    sums_above_2000000000_are_computed_in_64_bits();
    two_handles_live_side_by_side();
}
