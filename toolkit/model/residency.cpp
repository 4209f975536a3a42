#include "toolkit/model/residency.hpp"

#include <atomic>
#include <new>
#include <type_traits>
#include <utility>

#include <orvex/solver.hpp>

namespace orvex::toolkit {
namespace {

/** Made before anything runs and, its destructor being trivial, never gone: problems may outlive
 * main. */
constinit std::mutex library_mutex;
static_assert(std::is_trivially_destructible_v<std::mutex>);

std::atomic<std::uint64_t> last_number{0};

// The problem that the library may hold; written with the mutex held, read at any time.
std::atomic<std::uint64_t> resident{0};

void give_back() {
    Solver(false).release();
    resident = 0;
}

/** A thread must not ask for a mutex that it holds, as it would where an event ends a problem. */
thread_local bool holds_library = false;

}  // namespace

LibraryLock::LibraryLock() : lock_(library_mutex) {
    holds_library = true;
}

LibraryLock::~LibraryLock() {
    holds_library = false;
}

Residency::Residency() : number_(++last_number) {}

Residency::Residency(Residency&& other) noexcept : number_(std::exchange(other.number_, 0)) {}

Residency& Residency::operator=(Residency&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
}

Residency::~Residency() {
    if (number_ == 0 || holds_library) return;
    // A search that runs just now has another problem, and the next one finds this one's number.
    const std::unique_lock lock(library_mutex, std::try_to_lock);
    if (!lock || resident != number_) return;
    try {
        give_back();
    } catch (const std::bad_alloc&) {  // the next search finds this one's number
    }
}

bool Residency::claimed() const {
    return number_ != 0 && resident == number_;
}

void Residency::claim(const LibraryLock&) const {
    if (resident != number_ && resident != 0) give_back();
    resident = number_;
}

}  // namespace orvex::toolkit
