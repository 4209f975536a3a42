/*
 * The flat interface: plain functions and plain types around one opaque handle, for callers in C
 * and for languages that call C. A problem arrives as lists of coefficients, settings as a list of
 * strings, solutions as arrays of 64-bit words, and a function pointer receives a run's events.
 *
 *     tarvik_orvex_handle* h = tarvik_orvex_create(n, ...);         the problem, loaded
 *     tarvik_orvex_set_callback(h, on_event, user);                 optional
 *     tarvik_orvex_search(h, params, NULL, solution);               as often as wanted,
 *     puts(tarvik_orvex_info(h, "runtime"));                        with its results after each
 *     tarvik_orvex_destroy(h);
 *
 * Bits. Words hold 64 variables each: variable i is bit i % 64 of word i / 64, the least
 * significant bit first. A problem of n variables has (n + 63) / 64 words. In words that the
 * library reads, bits at and above n mean nothing; in words that it writes, they are 0.
 *
 * Errors. What can be foreseen is returned: tarvik_orvex_create gives NULL, tarvik_orvex_search
 * gives 1, and tarvik_orvex_last_error has the reason, without a newline at its end. Everything
 * else ends the process, with a message on standard error: a setting that the engine does not know
 * or a value that it cannot read (status 1), more GPUs wanted than there are (status 1), energies
 * that overflow the width of the arithmetic (status 1), memory that runs out on a device
 * (status 1), a thread that cannot be started (status 1), or any other operation of a device that
 * fails, looking for one included (the status that it reports). No exception is caught: those of
 * the C++ library, such as std::bad_alloc for a model that does not fit into memory, pass through
 * these functions, and a caller that cannot catch them ends by std::terminate, as does memory that
 * runs out in a thread of the engine.
 *
 * Threads. A handle belongs to one thread at a time. tarvik_orvex_create, tarvik_orvex_search and
 * tarvik_orvex_destroy, of all handles together and of the C++ interface too, must be called one
 * after the other: one search at a time in a process. The five functions without a handle may be
 * called from any thread, also while a search runs. tarvik_orvex_cb_terminate alone may be called
 * from any thread while a search of its handle runs.
 *
 * Text. Every string that is returned is zero-terminated, is owned by the library and must not be
 * freed or changed.
 */
#ifndef TARVIK_ORVEX_H
#define TARVIK_ORVEX_H

#include <stdint.h>

/** Marks a function as part of the library's public interface. */
#if defined(__GNUC__) || defined(__clang__)
#define TARVIK_ORVEX_API __attribute__((visibility("default")))
#else
#define TARVIK_ORVEX_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** A problem that is ready to be searched, the caller's event function and the last results. */
typedef struct tarvik_orvex_handle tarvik_orvex_handle;

/**
 * The caller's event function.
 *
 * Events come one at a time: 0 on the thread that called tarvik_orvex_search, the others on threads
 * of the engine. The search goes on meanwhile, but the thread that brings the event, and any other
 * that has one to bring, waits. Requests are made with the functions whose names begin with
 * tarvik_orvex_cb_, and are carried out when the function has returned. The function must not
 * throw, must not jump out, and must not call tarvik_orvex_create, tarvik_orvex_search or
 * tarvik_orvex_destroy.
 *
 * @param user what was given to tarvik_orvex_set_callback
 * @param event 0: the search is about to begin; comes once, before all others.
 *     1: there is a new best solution.
 *     2: a timer has run out; see tarvik_orvex_cb_timer.
 * @param bits (n + 63) / 64 words, valid until the function returns. In event 0 all bits are 0, in
 *     1 they are the new best solution, in 2 the best solution so far.
 * @param value always 0.0. The energy of the solution is for the caller to compute.
 */
typedef void (*tarvik_orvex_event_function)(void* user, int event, const uint64_t* bits,
                                            double value);

/* ---- What this build is. From any thread; never fails. */

/** The release: a date, as "2024-12-29". The pointer is valid until the process ends. */
TARVIK_ORVEX_API const char* tarvik_orvex_version(void);

/** The most variables that a problem may have. */
TARVIK_ORVEX_API int tarvik_orvex_max_size(void);

/**
 * The sizes that engines were built for, ascending, joined by ",": a problem runs on the smallest
 * that holds its variables. The pointer is valid until the process ends.
 */
TARVIK_ORVEX_API const char* tarvik_orvex_kernel_sizes(void);

/**
 * The widths of arithmetic that the setting "arithmetic_bits" may ask for, ascending, joined by
 * ", ": "32, 64" in a full build. The pointer is valid until the process ends.
 */
TARVIK_ORVEX_API const char* tarvik_orvex_arith_bits(void);

/**
 * Why the last tarvik_orvex_create or tarvik_orvex_search of the calling thread was refused; empty
 * when it succeeded, or when there was none. Each thread has a text of its own.
 *
 * The pointer is valid until the next tarvik_orvex_create or tarvik_orvex_search of this thread, or
 * its end.
 */
TARVIK_ORVEX_API const char* tarvik_orvex_last_error(void);

/* ---- Problems. */

/**
 * States a problem and loads it: minimise the sum of the linear terms, value * x[i], and of the
 * quadratic terms, value * x[i] * x[j], over all vectors x of n bits.
 *
 * Terms are stored, not added up: of a repeated pair the last value stays, (i, j) and (j, i) are
 * the same pair, and a quadratic term of i and i takes the place of the linear term of i. The
 * matrix is dense, n * n elements of 8, 16, 32 or 64 bits, whichever is the least that holds the
 * smallest and the largest value given; the engine keeps copies of its own, with elements of 32 or
 * 64 bits. The lists are only read during the call.
 *
 * Refused with NULL, and nothing allocated:
 * - n is 0: "ORVEX: model has no variables"
 * - n is above tarvik_orvex_max_size():
 *   "ORVEX: model has <n> variables but the largest kernel in this build is <size>"
 * - an array is NULL though its count is not 0:
 *   "ORVEX: <array> is null but <count's name> is <count>"
 * - an index is not below n: "ORVEX: <array>[<k>] is <index> but the model has <n> variables"
 *
 * @param n number of variables, from 1 to tarvik_orvex_max_size()
 * @param linear_count number of linear terms; 0 is allowed
 * @param linear_index linear_count variables, each from 0 to n - 1; may be NULL without terms
 * @param linear_value linear_count coefficients; may be NULL without terms
 * @param quadratic_count number of quadratic terms; 0 is allowed
 * @param quadratic_pairs 2 * quadratic_count variables, i and j of each term side by side, each
 *     from 0 to n - 1; may be NULL without terms
 * @param quadratic_value quadratic_count coefficients; may be NULL without terms
 * @param gpus how many GPUs searches use; 0 or less leaves that to the engine, which takes all.
 *     More than there are end the process at the first search.
 * @return the handle, for tarvik_orvex_destroy to free, or NULL
 */
TARVIK_ORVEX_API tarvik_orvex_handle* tarvik_orvex_create(
    uint32_t n, uint64_t linear_count, const uint32_t* linear_index, const int64_t* linear_value,
    uint64_t quadratic_count, const uint32_t* quadratic_pairs, const int64_t* quadratic_value,
    int32_t gpus);

/**
 * Frees a handle, and with it every pointer that tarvik_orvex_info gave.
 *
 * It also gives back what engines keep loaded for any handle of the process. Other handles stay
 * usable: the next search of each loads its problem again.
 *
 * @param handle a handle, which is not used any more; NULL does nothing
 */
TARVIK_ORVEX_API void tarvik_orvex_destroy(tarvik_orvex_handle* handle);

/**
 * Sets the function that receives the events of searches from now on, in place of any other.
 *
 * A search that began with an event function asks for the present one at each event: set within
 * one, another function receives the next event, and NULL ends them. Both pointers are kept until
 * they are replaced or the handle is destroyed.
 *
 * @param handle a handle; NULL does nothing
 * @param function the event function; NULL for no events
 * @param user handed to the function unchanged; may be NULL
 */
TARVIK_ORVEX_API void tarvik_orvex_set_callback(tarvik_orvex_handle* handle,
                                                tarvik_orvex_event_function function, void* user);

/* ---- Searches and results. */

/**
 * Searches for the bits of lowest energy, and returns when the search has ended: by the settings
 * "time_limit" (in seconds), "target_energy" or "trial_limit", or by tarvik_orvex_cb_terminate.
 * Without any of these it does not end.
 *
 * When the settings do not say "arithmetic_bits", and the magnitudes of all coefficients that were
 * given sum up to more than 2000000000, energies are computed in 64 bits. A caller who asks for 32
 * gets them, and an energy that does not fit then ends the process.
 *
 * Refused with 1; the solution is not written, tarvik_orvex_info has nothing, and the handle stays
 * usable:
 * - the key "gpus", whatever its value:
 *   "ORVEX: 'gpus' cannot be set per search; pass it to the constructor"
 * - the key "arithmetic_bits" with a width that this build does not have:
 *   "ORVEX: arithmetic_bits = <value> is not available in this build (has <list>)", with the list
 *   of tarvik_orvex_arith_bits()
 * - no handle: "ORVEX: handle is null"
 * - no place for the solution: "ORVEX: solution is null"
 *
 * Any other key and value is the engine's to judge, which ends the process when it does not know
 * the key ("Error: Parameter key not found : ...") or cannot read the value
 * ("Error: wrong parameter ...").
 *
 * @param handle the problem
 * @param params NULL, or strings in pairs: key, value, key, value, ... The list ends at the first
 *     key that is NULL or whose value is NULL. Of a repeated key the last value counts. Only read
 *     during the call.
 * @param start NULL, or a solution of (n + 63) / 64 words that counts as found when the search
 *     begins. Only read during the call.
 * @param solution receives the best solution found, (n + 63) / 64 words
 * @return 0, or 1 with the reason in tarvik_orvex_last_error
 */
TARVIK_ORVEX_API int tarvik_orvex_search(tarvik_orvex_handle* handle, const char* const* params,
                                         const uint64_t* start, uint64_t* solution);

/**
 * A result of the last search, as text; empty when there is none of this name, or when that search
 * was refused. Numbers are decimal, times are in seconds.
 *
 * - "solver": the name of the engine
 * - "gpu": the name of the device
 * - "solver_size", "solver_bits", "arithmetic_bits": the engine that ran: the most variables it
 *   holds, its width of coefficients and its width of energies
 * - "runtime": how long the search took, without loading the problem
 * - "tts": when the best solution was found; empty when the search ended before its first result
 * - "search_cycles": two numbers with a blank between them: flips spent on one start instance, and
 *   steps of one search
 * - "total_flips": bits flipped by all blocks
 *
 * The energy is not among them: the caller computes it from the solution.
 *
 * @param handle a handle; NULL has no results
 * @param key a name. NULL throws std::logic_error.
 * @return the text; valid until the next tarvik_orvex_search or tarvik_orvex_destroy of this handle
 */
TARVIK_ORVEX_API const char* tarvik_orvex_info(const tarvik_orvex_handle* handle, const char* key);

/* ---- Requests from within the event function. */

/**
 * Asks for an event 2 after this many seconds.
 *
 * It comes once: the event function asks again for another one. Any event that comes first puts a
 * timer that is not due yet back to the full delay, so that it runs out after that many seconds of
 * quiet; asking anew within that event changes the delay. The event is brought by the next result
 * that comes back from a block, and so is late by at most that.
 *
 * Outside of the event function it does nothing. It must be called on the thread of the event, or
 * while that waits for the caller's.
 *
 * @param handle the handle whose event it is; NULL does nothing
 * @param seconds the delay; 0 or less asks for an event at once, and what is not a number for
 * nothing
 */
TARVIK_ORVEX_API void tarvik_orvex_cb_timer(tarvik_orvex_handle* handle, double seconds);

/**
 * Gives the search a solution to search from. Of several within one event the last counts.
 *
 * Every hint reaches a block, as long as the search sends instances at all: beside them while the
 * blocks' queue has room, and in place of the next one where it has none or "trial_limit" grants no
 * more. A search that is ending takes no hints.
 *
 * Outside of the event function it does nothing. It must be called on the thread of the event, or
 * while that waits for the caller's.
 *
 * @param handle the handle whose event it is; NULL does nothing
 * @param words (n + 63) / 64 words, which are copied; NULL does nothing
 */
TARVIK_ORVEX_API void tarvik_orvex_cb_hint(tarvik_orvex_handle* handle, const uint64_t* words);

/**
 * Asks the search to end, at the end of this event, or when called outside of one, of the next. Any
 * other request of that event is lost. tarvik_orvex_search then returns 0 with the best solution so
 * far.
 *
 * It holds for the search that runs. A call between two searches has no effect, nor has one that no
 * further event follows: who wants to end a search from outside keeps events coming, with
 * tarvik_orvex_cb_timer in each.
 *
 * May be called from any thread, and from a signal handler.
 *
 * @param handle the handle whose search shall end; NULL does nothing
 */
TARVIK_ORVEX_API void tarvik_orvex_cb_terminate(tarvik_orvex_handle* handle);

#ifdef __cplusplus
}
#endif

#endif
