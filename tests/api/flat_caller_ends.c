/* What ends the process: each case in a child, which must exit with status 1 and its message. */
#define _POSIX_C_SOURCE 200809L
#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include "flat_caller.h"

/* Runs an action in a child and reads what it writes to standard error; gives its status. */
static int status_of(void (*action)(void), char* text, size_t size) {
    int ends[2], status = -1;
    size_t length = 0;
    ssize_t count;
    pid_t child;
    text[0] = '\0';
    if (pipe(ends) != 0 || (child = fork()) < 0) return -1;
    if (child == 0) {
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        action();
        _exit(0);
    }
    close(ends[1]);
    while (length + 1 < size && (count = read(ends[0], text + length, size - 1 - length)) > 0)
        length += (size_t)count;
    text[length] = '\0';
    close(ends[0]);
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void check_ends(void (*action)(void), const char* message, const char* what, const char* file,
                int line) {
    char text[1024];
    check(status_of(action, text, sizeof text) == 1, what, file, line);
    text[strlen(message) < sizeof text ? strlen(message) : 0] = '\0';
    check_text(text, message, what, file, line);
}

static void search_with(int64_t value, int32_t gpus, const char* key, const char* text) {
    const uint32_t index[] = {0, 1};
    const char* settings[] = {"time_limit", "60", NULL, NULL, NULL};
    int64_t values[2];
    uint64_t solution;
    values[0] = values[1] = value;
    settings[2] = key;
    settings[3] = text;
    search(tarvik_orvex_create(2, 2, index, values, 0, NULL, NULL, gpus), &solution, settings);
}

static void an_unknown_setting(void) {
    search_with(-1, 0, "colour", "blue");
}

static void a_value_that_is_no_number(void) {
    search_with(-1, 0, "verbose", "loud");
}

static void more_gpus_than_there_are(void) {
    search_with(-1, 1000, NULL, NULL);
}

static void an_overflow_of_the_width_asked_for(void) {
    search_with(-2000000000, 0, "arithmetic_bits", "32");
}

static void a_null_key_of_a_result(void) {
    tarvik_orvex_info(zeros_of(5), NULL);
}

static void an_exception_that_nobody_catches_ends_the_process(void) {
    char text[1024];
    CHECK(status_of(a_null_key_of_a_result, text, sizeof text) != 0);
    CHECK(strstr(text, "logic_error") != NULL);
}

void test_ends(void) {
    CHECK_ENDS(an_unknown_setting, "Error: Parameter key not found : \"colour\"\n");
    CHECK_ENDS(a_value_that_is_no_number, "Error: wrong parameter [verbose].\n");
    CHECK_ENDS(more_gpus_than_there_are, "Error: gpus(1000) is wrong");
    CHECK_ENDS(an_overflow_of_the_width_asked_for, "Error: Arithmetic overflow detected.\n");
    an_exception_that_nobody_catches_ends_the_process();
}
