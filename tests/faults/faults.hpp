// Operations that can be made to fail: allocations, threads, files, device operations. Each is
// counted while a run is under way, and the one whose number was asked for fails as it would on a
// machine that is short of something. Invariant: everything else goes its usual way.
#pragma once

#include <atomic>
#include <string>

namespace orvex::faults {

enum class Kind { ALLOCATION, THREAD, FILE, DEVICE };

inline constexpr const char* KIND_NAMES[] = {"allocation", "thread", "file", "device"};

/** What is to fail, and whether it has come to that; shared with the process that watches. */
struct Plan {
    std::atomic<bool> armed{false};
    Kind kind = Kind::ALLOCATION;
    long number = 0;  ///< which of its kind fails, from 1
    std::atomic<long> count{0};
    std::atomic<bool> reached{false};
};

inline Plan* plan = nullptr;

/** Counts an operation. @return whether this is the one that fails */
inline bool fails(Kind kind) {
    if (plan == nullptr || !plan->armed || plan->kind != kind) return false;
    if (++plan->count != plan->number) return false;
    plan->reached = true;
    return true;
}

/** What failed device operations report: no error that the platform itself would have. */
inline constexpr int DEVICE_ERROR = 46;

/** The small runs, in runs.cpp. Each looks at its results and throws std::logic_error if they are
 * wrong; what else it throws is the library's or the toolkit's. */
struct Run {
    const char* name;
    void (*run)(const std::string& folder);
};
extern const Run RUNS[3];

/** A run that goes wrong where an operation fails, in a way of its own for each kind. */
extern const Run PLANTED;

/** Writes the files that the runs read. */
void prepare_files(const std::string& folder);

}  // namespace orvex::faults
