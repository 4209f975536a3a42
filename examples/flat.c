/*
 * The flat interface from C: state a problem, follow the search, end it after a quiet second.
 *
 * The largest set of corners of a ring in which no two are neighbours: each chosen corner gains 1,
 * each chosen pair of neighbours costs 2. The lowest energy is minus the number of corners in the
 * best set, which for a ring of N is -(N / 2).
 */
#include <inttypes.h>
#include <stdio.h>

#include <orvex/tarvik_orvex.h>

enum { N = 75, WORDS = (N + 63) / 64 };

static int chosen(const uint64_t* bits, uint32_t i) {
    return (int)(bits[i / 64] >> (i % 64) & 1);
}

static int64_t energy_of(const uint64_t* bits) {
    int64_t energy = 0;
    for (uint32_t i = 0; i < N; ++i) {
        energy -= chosen(bits, i);
        energy += 2 * chosen(bits, i) * chosen(bits, (i + 1) % N);
    }
    return energy;
}

static void on_event(void* user, int event, const uint64_t* bits, double value) {
    tarvik_orvex_handle* handle = user;
    (void)value; /* always 0: the energy is ours to compute */
    if (event == 1) printf("new best: %" PRId64 "\n", energy_of(bits));
    if (event == 2)
        tarvik_orvex_cb_terminate(handle);
    else
        tarvik_orvex_cb_timer(handle, 1.0); /* each event puts it back */
}

int main(void) {
    uint32_t corner[N], neighbours[2 * N];
    int64_t gain[N], cost[N];
    for (uint32_t i = 0; i < N; ++i) {
        corner[i] = i;
        gain[i] = -1;
        neighbours[2 * i] = i;
        neighbours[2 * i + 1] = (i + 1) % N;
        cost[i] = 2;
    }

    tarvik_orvex_handle* handle = tarvik_orvex_create(N, N, corner, gain, N, neighbours, cost, 0);
    if (handle == NULL) {
        fprintf(stderr, "%s\n", tarvik_orvex_last_error());
        return 1;
    }
    tarvik_orvex_set_callback(handle, on_event, handle);

    const char* params[] = {"time_limit", "60", NULL};
    uint64_t solution[WORDS];
    int status = tarvik_orvex_search(handle, params, NULL, solution);
    if (status == 0) {
        printf("best energy %" PRId64 " after %s s of %s s on %s\n", energy_of(solution),
               tarvik_orvex_info(handle, "tts"), tarvik_orvex_info(handle, "runtime"),
               tarvik_orvex_info(handle, "gpu"));
        for (uint32_t i = 0; i < N; ++i)
            putchar(chosen(solution, i) ? '1' : '0');
        putchar('\n');
    } else {
        fprintf(stderr, "%s\n", tarvik_orvex_last_error());
    }
    tarvik_orvex_destroy(handle);
    return status;
}
