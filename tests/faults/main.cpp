// Makes every operation of the small runs fail in turn, each in a process of its own, and looks at
// how that ends: with the right result, with an exception, or with the end of the process that the
// library states, one message and its status. A crash, a hang or a wrong result is none of these.
//
//     orvex_fault_tests [--every N] [--kind KIND] [--run RUN]
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <new>
#include <regex>
#include <sys/mman.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include "faults.hpp"
#include "toolkit/io/output_file.hpp"
#include "toolkit/model/errors.hpp"

namespace {

using namespace orvex::faults;

constexpr int TIME_LIMIT = 60;  ///< seconds for a run; those that are right take hundredths

// How a child tells how it ended, where the library does not.
constexpr int RIGHT = 0, THREW = 90, TERMINATED = 91, WRONG = 92;

struct Counts {
    long right = 0, threw = 0, terminated = 0, ended = 0;
};

/** Nobody can catch what a thread of the engine throws, or what meets running threads on its way
 * out: the interface says that this ends by std::terminate. */
[[noreturn]] void on_terminate() {
    plan->armed = false;
    try {
        if (std::current_exception()) throw;
        _exit(std::uncaught_exceptions() > 0 ? TERMINATED : WRONG);
    } catch (const std::bad_alloc&) {
    } catch (const std::exception& error) {
        std::fprintf(stderr, "terminated by %s\n", error.what());
        _exit(WRONG);
    }
    _exit(TERMINATED);
}

[[noreturn]] void play(const Run& run, const std::string& folder) {
    std::set_terminate(on_terminate);
    int status = THREW;
    std::string text;
    plan->armed = true;
    try {
        run.run(folder);
        status = RIGHT;
    } catch (const std::logic_error& error) {
        plan->armed = false;
        text = std::string("wrong: ") + error.what();
        status = WRONG;
    } catch (const std::bad_alloc&) {
    } catch (const std::system_error& error) {
    } catch (const orvex::toolkit::WriteError& error) {
    } catch (const orvex::toolkit::InputError& error) {
    } catch (const orvex::toolkit::NoDevice& error) {
    }
    plan->armed = false;
    if (!text.empty()) std::fprintf(stderr, "%s\n", text.c_str());
    std::fflush(nullptr);
    _exit(status);
}

struct Outcome {
    int status = -1;
    int signal = 0;
    std::string text;
};

Outcome outcome_of(const Run& run, const std::string& folder) {
    int ends[2];
    if (pipe(ends) != 0) std::abort();
    std::fflush(nullptr);  // the child ends by exit at times, which would write it again
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        alarm(TIME_LIMIT);
        play(run, folder);
    }
    close(ends[1]);
    Outcome outcome;
    char piece[512];
    for (ssize_t count; (count = read(ends[0], piece, sizeof piece)) > 0;)
        outcome.text.append(piece, static_cast<std::size_t>(count));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status)) outcome.status = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) outcome.signal = WTERMSIG(status);
    return outcome;
}

/** Whether the process ended as the library says: one message, with its status. */
bool stated(const Outcome& outcome, Kind kind) {
    static const std::regex error("Error: [^\n]*\n(\n)?");
    static const std::regex device(
        "\\[CUDA Error\\] [^\n]* \\(code: ([0-9]+)\\) at [a-z_]+\\.[a-z]+ "
        "line [0-9]+\n");
    std::smatch match;
    if (outcome.status == 1) return std::regex_match(outcome.text, error);
    return kind != Kind::ALLOCATION && std::regex_match(outcome.text, match, device) &&
           outcome.status == (std::stoi(match[1]) & 0xFF);
}

/** Whether what happened may happen. */
bool take(const Outcome& outcome, Kind kind, Counts& counts) {
    if (outcome.signal != 0) return false;
    switch (outcome.status) {
        case RIGHT:
            return ++counts.right > 0;
        case THREW:
            return ++counts.threw > 0;
        case TERMINATED:
            return ++counts.terminated > 0 && kind == Kind::ALLOCATION;
        default:
            return ++counts.ended > 0 && stated(outcome, kind);
    }
}

bool none_left(const std::string& folder) {
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.path().filename().string().starts_with("written.")) return false;
    return true;
}

/** @return how many faults were found */
int play_all(const Run& run, Kind kind, long every, const std::string& folder) {
    Counts counts;
    int wrong = 0;
    long number = 1;
    for (;; number += every) {
        prepare_files(folder);
        plan->kind = kind;
        plan->number = number;
        plan->count = 0;
        plan->reached = false;
        const Outcome outcome = outcome_of(run, folder);
        const bool right = take(outcome, kind, counts);
        const bool clean = none_left(folder);
        if (right && clean && !plan->reached) break;
        if (right && clean) continue;
        std::printf("%s, %s %ld: status %d, signal %d%s: %s\n", run.name,
                    KIND_NAMES[static_cast<int>(kind)], number, outcome.status, outcome.signal,
                    clean ? "" : ", a file is left", outcome.text.c_str());
        if (++wrong == 10 || !plan->reached) break;
    }
    std::printf(
        "%-8s %-10s %5ld tried: %ld right, %ld threw, %ld terminated, %ld ended the "
        "process, %d wrong\n",
        run.name, KIND_NAMES[static_cast<int>(kind)], (number - 1 + every - 1) / every,
        counts.right, counts.threw, counts.terminated, counts.ended, wrong);
    std::fflush(stdout);
    return wrong;
}

}  // namespace

int main(int count, char** words) {
    long every = 1;
    std::string only_kind, only_run;
    for (int i = 1; i + 1 < count; i += 2) {
        if (std::strcmp(words[i], "--every") == 0) every = std::atol(words[i + 1]);
        if (std::strcmp(words[i], "--kind") == 0) only_kind = words[i + 1];
        if (std::strcmp(words[i], "--run") == 0) only_run = words[i + 1];
    }
    plan =
        new (mmap(nullptr, sizeof(Plan), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
            Plan;
    const std::string folder =
        std::filesystem::temp_directory_path() / ("orvex-faults-" + std::to_string(getpid()));
    std::filesystem::create_directory(folder);
    int wrong = 0;
    for (const Run& run : RUNS)
        for (const Kind kind : {Kind::ALLOCATION, Kind::THREAD, Kind::FILE, Kind::DEVICE})
            if ((only_kind.empty() || only_kind == KIND_NAMES[static_cast<int>(kind)]) &&
                (only_run.empty() || only_run == run.name))
                wrong += play_all(run, kind, std::max(every, 1L), folder);
    if (only_run == PLANTED.name) {
        int found = 0;
        for (const Kind kind : {Kind::ALLOCATION, Kind::THREAD, Kind::FILE, Kind::DEVICE})
            found += play_all(PLANTED, kind, 1, folder) == 1;
        wrong = 4 - found;
    }
    std::filesystem::remove_all(folder);
    return wrong == 0 ? 0 : 1;
}
