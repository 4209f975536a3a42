// Mistakes on purpose, one by its name: a build's sanitizers and assertions must each end this
// program, or the silence of the other tests means nothing.
#include <cassert>
#include <cstdio>
#include <cstring>
#include <thread>

#include <climits>

#include <orvex/orvex.hpp>

#include "rescored.hpp"

namespace {

volatile int kept;

void read_behind_a_block(int index) {
    int* const block = new int[8]();
    kept = block[8 + index];
    delete[] block;
}

void read_what_was_freed(int index) {
    int* const block = new int[8]();
    delete[] block;
    kept = block[index];
}

void read_behind_the_stack(int index) {
    int block[8] = {};
    int* volatile const begin = block;
    kept = begin[8 + index];
}

/** Several blocks: the last one's address may lie on the stack still, where the search for leaks
 * finds it. */
void leak(int index) {
    int* volatile lost = nullptr;
    for (int block = 0; block < 10; ++block) {
        lost = new int[static_cast<std::size_t>(100 + index)]();
        kept = lost[0];
    }
    lost = nullptr;
}

void overflow(int index) {
    int most = INT_MAX;
    kept = most + 1 + index;
}

void shift_too_far(int index) {
    kept = 1 << (32 + index);
}

void race(int) {
    int shared = 0;
    std::thread other([&] {
        for (int i = 0; i < 1000; ++i)
            shared = shared + 1;
    });
    for (int i = 0; i < 1000; ++i)
        shared = shared + 1;
    other.join();
    kept = shared;
}

/** An energy that is not that of its bits, beside one that is. */
void wrong_energy(int index) {
    orvex::test::count_rescored(true);
    orvex::test::count_rescored(index != 0);
}

/** An invariant of the library itself: indices of variables. */
void assertion(int index) {
    orvex::Model model(3, 8);
    model.set(3 + index, 0, 1);
}

constexpr struct {
    const char* name;
    void (*make)(int index);
} FAULTS[] = {
    {"read_behind_a_block", read_behind_a_block},
    {"read_what_was_freed", read_what_was_freed},
    {"read_behind_the_stack", read_behind_the_stack},
    {"leak", leak},
    {"overflow", overflow},
    {"shift_too_far", shift_too_far},
    {"race", race},
    {"wrong_energy", wrong_energy},
    {"assertion", assertion},
};

}  // namespace

int main(int count, char** words) {
    const int index = count - 2;  // 0, which the compiler does not know
    for (const auto& fault : FAULTS)
        if (count == 2 && std::strcmp(fault.name, words[1]) == 0) {
            fault.make(index);
            std::puts("nobody has noticed");
            return 0;
        }
    std::fputs("there is no such fault\n", stderr);
    return 0;
}
