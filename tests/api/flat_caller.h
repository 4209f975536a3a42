/* What the files of the C caller share: checks that are counted, and a way to see a process end. */
#ifndef FLAT_CALLER_H
#define FLAT_CALLER_H

#include <stddef.h>
#include <stdint.h>

#include <orvex/tarvik_orvex.h>

/** Counts and reports a condition that does not hold. */
#define CHECK(condition) check((condition) ? 1 : 0, #condition, __FILE__, __LINE__)
void check(int holds, const char* what, const char* file, int line);

/** Counts and reports a text that is another than expected. */
#define CHECK_TEXT(text, expected) check_text((text), (expected), #text, __FILE__, __LINE__)
void check_text(const char* text, const char* expected, const char* what, const char* file,
                int line);

/** Passes if the action ends the process with status 1 and a message that begins like this. */
#define CHECK_ENDS(action, message) check_ends((action), (message), #action, __FILE__, __LINE__)
void check_ends(void (*action)(void), const char* message, const char* what, const char* file,
                int line);

/** A handle of n variables without any coefficients. */
tarvik_orvex_handle* zeros_of(uint32_t n);

/** A handle of two variables with these linear coefficients. */
tarvik_orvex_handle* pair_of(int64_t first, int64_t second);

/** A search of a handle of up to 64 variables, with the settings that follow up to a NULL. */
int search(tarvik_orvex_handle* handle, uint64_t* solution, const char* const* settings);

/* One per file, each of which tells what is tested there. */
void test_problems(void);
void test_searches(void);
void test_given_solutions(void);
void test_events(void);
void test_threads(void);
void test_ends(void);

#endif
