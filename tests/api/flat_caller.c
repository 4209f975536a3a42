/*
 * A caller of the installed library in plain C, compiled as C99 and as C11: everything that the
 * flat interface promises, seen from where its users stand. The first argument names a group of
 * tests; without one all are run.
 */
#include "flat_caller.h"

#include <stdio.h>
#include <string.h>

static int checks = 0;
static int failures = 0;

void check(int holds, const char* what, const char* file, int line) {
    ++checks;
    if (holds) return;
    ++failures;
    fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, what);
}

void check_text(const char* text, const char* expected, const char* what, const char* file,
                int line) {
    ++checks;
    if (text != NULL && strcmp(text, expected) == 0) return;
    ++failures;
    fprintf(stderr, "%s:%d: %s\n  is       \"%s\"\n  must be  \"%s\"\n", file, line, what,
            text == NULL ? "(NULL)" : text, expected);
}

tarvik_orvex_handle* zeros_of(uint32_t n) {
    return tarvik_orvex_create(n, 0, NULL, NULL, 0, NULL, NULL, 0);
}

tarvik_orvex_handle* pair_of(int64_t first, int64_t second) {
    const uint32_t index[] = {0, 1};
    int64_t value[2];
    value[0] = first;
    value[1] = second;
    return tarvik_orvex_create(2, 2, index, value, 0, NULL, NULL, 0);
}

int search(tarvik_orvex_handle* handle, uint64_t* solution, const char* const* settings) {
    return tarvik_orvex_search(handle, settings, NULL, solution);
}

int main(int argc, char** argv) {
    static const struct {
        const char* name;
        void (*run)(void);
    } groups[] = {{"problems", test_problems},
                  {"searches", test_searches},
                  {"given solutions", test_given_solutions},
                  {"events", test_events},
                  {"threads", test_threads},
                  {"ends", test_ends}};
    for (size_t k = 0; k < sizeof groups / sizeof groups[0]; ++k)
        if (argc < 2 || strcmp(argv[1], groups[k].name) == 0) groups[k].run();
    printf("%d checks, %d failures\n", checks, failures);
    return failures != 0 || checks == 0;
}
