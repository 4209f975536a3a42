// Which problem the library holds from one search to the next. The library tells models apart by
// address and number of changes alone, so a new model in the place of one that is gone would be
// searched with the weights of the old one. Invariant: what the library holds belongs to a problem
// that is still there, or is given back before the next search.
#pragma once

#include <cstdint>
#include <mutex>

namespace orvex::toolkit {

/** Held by whoever uses the library: one search at a time runs in a process. */
class LibraryLock {
  public:
    /** Waits until no other search runs. */
    LibraryLock();
    ~LibraryLock();
    LibraryLock(const LibraryLock&) = delete;
    LibraryLock& operator=(const LibraryLock&) = delete;

  private:
    std::unique_lock<std::mutex> lock_;
};

/** A problem's claim on what the library holds; goes where the problem goes. */
class Residency {
  public:
    Residency();
    Residency(Residency&& other) noexcept;
    Residency& operator=(Residency&& other) noexcept;

    /** Has the library give back what it holds of the problem, unless a search runs just now. */
    ~Residency();

    /** The library is about to load this problem: what it holds of another one goes first. */
    void claim(const LibraryLock& library) const;

    /** Whether the library was told last to load this problem, and has not given it back since. */
    bool claimed() const;

  private:
    std::uint64_t number_;  // of the problem, from 1; 0 for one that has been moved away
};

}  // namespace orvex::toolkit
