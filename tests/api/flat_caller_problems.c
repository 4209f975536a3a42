/* What the build says of itself, and the stating of problems: accepted, refused, destroyed. */
#include <inttypes.h>
#include <stdio.h>
#include <string.h>

#include "flat_caller.h"

static void the_build_is_described(void) {
    char largest[16];
    const char* sizes = tarvik_orvex_kernel_sizes();
    snprintf(largest, sizeof largest, "%d", tarvik_orvex_max_size());
    CHECK_TEXT(tarvik_orvex_version(), "2024-12-29");
    CHECK(tarvik_orvex_max_size() >= 64);
    CHECK(strncmp(sizes, "64,", 3) == 0);
    CHECK(strcmp(sizes + strlen(sizes) - strlen(largest), largest) == 0);
    CHECK_TEXT(tarvik_orvex_arith_bits(), "32, 64");
    CHECK(tarvik_orvex_version() == tarvik_orvex_version());
    CHECK(tarvik_orvex_kernel_sizes() == sizes);
    CHECK(tarvik_orvex_arith_bits() == tarvik_orvex_arith_bits());
}

static void no_variables_are_refused(void) {
    CHECK_TEXT(tarvik_orvex_last_error(), "");
    CHECK(zeros_of(0) == NULL);
    CHECK_TEXT(tarvik_orvex_last_error(), "ORVEX: model has no variables");
}

static void too_many_variables_are_refused(void) {
    char expected[256];
    const uint32_t least = (uint32_t)tarvik_orvex_max_size() + 1;
    const uint32_t refused[] = {least, 2147483648u, 4294967295u};
    for (size_t k = 0; k < 3; ++k) {
        snprintf(expected, sizeof expected,
                 "ORVEX: model has %" PRIu32
                 " variables but the largest kernel in this build is %d",
                 refused[k], tarvik_orvex_max_size());
        CHECK(zeros_of(refused[k]) == NULL);
        CHECK_TEXT(tarvik_orvex_last_error(), expected);
    }
}

static void the_most_variables_are_accepted(void) {
    tarvik_orvex_handle* handle;
    if (tarvik_orvex_max_size() > 4096) return; /* many GiB in a build of all sizes */
    handle = zeros_of((uint32_t)tarvik_orvex_max_size());
    CHECK(handle != NULL);
    tarvik_orvex_destroy(handle);
}

static void indices_that_are_not_there_are_refused(void) {
    const uint32_t index[] = {0, 4, 5};
    const uint32_t pairs[] = {0, 1, 4, 7};
    const int64_t value[] = {1, 1, 1};
    CHECK(tarvik_orvex_create(5, 3, index, value, 0, NULL, NULL, 0) == NULL);
    CHECK_TEXT(tarvik_orvex_last_error(),
               "ORVEX: linear_index[2] is 5 but the model has 5 variables");
    CHECK(tarvik_orvex_create(5, 2, index, value, 2, pairs, value, 0) == NULL);
    CHECK_TEXT(tarvik_orvex_last_error(),
               "ORVEX: quadratic_pairs[3] is 7 but the model has 5 variables");
}

static void arrays_that_are_missing_are_refused(void) {
    const uint32_t index[] = {0, 1};
    const int64_t value[] = {1, 1};
    CHECK(tarvik_orvex_create(5, 2, NULL, value, 0, NULL, NULL, 0) == NULL);
    CHECK_TEXT(tarvik_orvex_last_error(), "ORVEX: linear_index is null but linear_count is 2");
    CHECK(tarvik_orvex_create(5, 2, index, NULL, 0, NULL, NULL, 0) == NULL);
    CHECK_TEXT(tarvik_orvex_last_error(), "ORVEX: linear_value is null but linear_count is 2");
    CHECK(tarvik_orvex_create(5, 0, NULL, NULL, 1, NULL, value, 0) == NULL);
    CHECK_TEXT(tarvik_orvex_last_error(),
               "ORVEX: quadratic_pairs is null but quadratic_count is 1");
    CHECK(tarvik_orvex_create(5, 0, NULL, NULL, 1, index, NULL, 0) == NULL);
    CHECK_TEXT(tarvik_orvex_last_error(),
               "ORVEX: quadratic_value is null but quadratic_count is 1");
}

static void a_problem_that_is_accepted_clears_the_error(void) {
    tarvik_orvex_handle* handle;
    CHECK(zeros_of(0) == NULL);
    handle = zeros_of(5);
    CHECK(handle != NULL);
    CHECK_TEXT(tarvik_orvex_last_error(), "");
    tarvik_orvex_destroy(handle);
}

/* Weights (0) = -3, (1) = 6 by the last of two values, (0, 1) = -8 by the last of two values, and
   (2) = -2 by a pair of one variable: the optimum is 1, 1, 1 with -7. */
static void terms_are_stored_and_not_added_up(void) {
    const uint32_t index[] = {0, 1, 1, 2};
    const int64_t linear[] = {-3, -100, 6, 50};
    const uint32_t pairs[] = {0, 1, 1, 0, 2, 2};
    const int64_t quadratic[] = {100, -8, -2};
    const char* const settings[] = {"target_energy", "-7", "time_limit", "60", NULL};
    uint64_t solution = 0;
    tarvik_orvex_handle* handle = tarvik_orvex_create(3, 4, index, linear, 3, pairs, quadratic, 0);
    CHECK(handle != NULL);
    CHECK(search(handle, &solution, settings) == 0);
    CHECK(solution == 7);
    tarvik_orvex_destroy(handle);
}

static void a_number_of_gpus_goes_with_the_problem(void) {
    const char* const settings[] = {"trial_limit", "10", NULL};
    uint64_t solution = 0;
    tarvik_orvex_handle* handle = tarvik_orvex_create(5, 0, NULL, NULL, 0, NULL, NULL, 1);
    CHECK(search(handle, &solution, settings) == 0);
    tarvik_orvex_destroy(handle);
}

void test_problems(void) {
    the_build_is_described();
    no_variables_are_refused();
    too_many_variables_are_refused();
    the_most_variables_are_accepted();
    indices_that_are_not_there_are_refused();
    arrays_that_are_missing_are_refused();
    a_problem_that_is_accepted_clears_the_error();
    terms_are_stored_and_not_added_up();
    a_number_of_gpus_goes_with_the_problem();
    tarvik_orvex_destroy(NULL);
}
