// Loaded ahead of the program (LD_PRELOAD): one allocation of C++, the one whose number
// ORVEX_FAIL_AT gives, fails, as all do from there on if ORVEX_FAIL_ON is set. The file that
// ORVEX_FAIL_REPORT names is made when that happens, so that a test knows when it has seen all.
// Allocations are counted from the beginning of main on, those of other threads included: what runs
// before it belongs to the loader, to libraries and to the language.
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <new>
#include <unistd.h>

namespace {

using Main = int (*)(int, char**, char**);
using Start = int (*)(Main, int, char**, void (*)(), void (*)(), void (*)(), void*);

std::atomic<bool> counting{false};
std::atomic<long> count{0};
Main main_of_program;

int counted_main(int argc, char** argv, char** environment) {
    counting = true;
    const int status = main_of_program(argc, argv, environment);
    counting = false;
    return status;
}

/** Nothing here allocates. */
bool fails() {
    static const char* const at = std::getenv("ORVEX_FAIL_AT");
    static const bool from_there_on = std::getenv("ORVEX_FAIL_ON") != nullptr;
    if (at == nullptr || !counting) return false;
    static const long first = std::strtol(at, nullptr, 10);
    const long number = ++count;
    if (number < first || (number > first && !from_there_on)) return false;
    if (number == first)
        if (const char* const report = std::getenv("ORVEX_FAIL_REPORT"))
            close(open(report, O_WRONLY | O_CREAT, 0600));
    return true;
}

void* allocated(std::size_t size, std::size_t alignment) {
    if (fails()) return nullptr;
    if (alignment <= alignof(std::max_align_t)) return std::malloc(size);
    return std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}

void* allocated_or_thrown(std::size_t size, std::size_t alignment) {
    void* const memory = allocated(size, alignment);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

}  // namespace

/** The C library's own start of a program, with main replaced. */
extern "C" int __libc_start_main(Main main, int argc, char** argv, void (*init)(), void (*fini)(),
                                 void (*end_of_loader)(), void* stack_end) {
    main_of_program = main;
    const auto start = reinterpret_cast<Start>(dlsym(RTLD_NEXT, "__libc_start_main"));
    return start(counted_main, argc, argv, init, fini, end_of_loader, stack_end);
}

void* operator new(std::size_t size) {
    return allocated_or_thrown(size, 1);
}
void* operator new[](std::size_t size) {
    return allocated_or_thrown(size, 1);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocated_or_thrown(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return allocated_or_thrown(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocated(size, 1);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocated(size, 1);
}
