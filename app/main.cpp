// The program orvex, and its exit status for whatever goes wrong.
#include <atomic>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>
#include <system_error>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include "app/command_line.hpp"
#include "app/exit_status.hpp"
#include "app/messages.hpp"
#include "toolkit/io/output_file.hpp"
#include "toolkit/model/errors.hpp"
#include "toolkit/solve.hpp"

namespace orvex::cli {
namespace {

constexpr const char* NO_MEMORY = "Error: not enough memory\n";

int fail(int status, const char* text) {
    complain(text);
    return status;
}

int main_of(int argc, char** argv) {
    CommandLine line(argc, argv);
    try {
        line.parse();
    } catch (const CLI::ParseError& error) {
        return line.exit(error) == 0 ? EXIT_NORMAL : EXIT_BAD_INPUT;
    }
    const int status = line.run();
    if (status == EXIT_NORMAL && !std::cout.flush())
        return fail(EXIT_NOT_WRITTEN, "Cannot write to standard output");
    return status;
}

/** Whether what ends the process is a lack of memory. */
bool memory_lacks() {
    // On its way out of the library an exception meets threads that still run, and ends the process
    // before anyone has caught it. Nothing but a lack of memory throws there.
    if (!std::current_exception()) return std::uncaught_exceptions() > 0;
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return true;
    } catch (...) {
        return false;
    }
}

/**
 * Ends the process where no caller can: a thread of the library, or a destructor, lacks memory.
 * Anything else is an error of the program and leaves its trace.
 */
[[noreturn]] void end_where_nobody_catches() {
    static std::atomic_flag ended;
    if (!memory_lacks()) std::abort();
    if (ended.test_and_set())
        for (;;)
            pause();  // another thread was first
    std::cerr << NO_MEMORY;
    _exit(EXIT_REFUSED);
}

/** Nothing here allocates: memory may be what is missing. */
int guarded_main_of(int argc, char** argv) {
    try {
        return main_of(argc, argv);
    } catch (const InputError& error) {
        return fail(EXIT_BAD_INPUT, error.what());
    } catch (const EnergyMismatch& error) {
        return fail(EXIT_ENERGY_MISMATCH, error.what());
    } catch (const WriteError& error) {
        return fail(EXIT_NOT_WRITTEN, error.what());
    } catch (const NoDevice& error) {
        return fail(EXIT_REFUSED, error.what());
    } catch (const std::bad_alloc&) {
        std::cerr << NO_MEMORY;
        return EXIT_REFUSED;
    } catch (const std::system_error& error) {  // a thread that cannot be started
        return fail(EXIT_REFUSED, error.what());
    }
}

}  // namespace
}  // namespace orvex::cli

int main(int argc, char** argv) {
    std::set_terminate(orvex::cli::end_where_nobody_catches);
    return orvex::cli::guarded_main_of(argc, argv);
}
