// The threads that run the blocks of one launch. A block is advanced instance by instance by
// whichever worker gets to it, one worker at a time; a block that has nothing to do holds up no
// other, and a worker that finds no block with work sleeps until the host writes.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

namespace orvex::platform {

/** One block of a launched kernel, as the workers see it. */
class BLOCK_TASK {
  public:
    enum class OUTCOME {
        WORKED,   ///< did an instance
        WAITING,  ///< its next instance is not there yet
        LEFT      ///< is gone; never advanced again
    };

    virtual ~BLOCK_TASK() = default;
    virtual OUTCOME advance() = 0;
};

/** A kernel in flight. Destroying it waits for its end. */
class LAUNCH {
  public:
    using clock = std::chrono::steady_clock;

    /**
     * Starts `workers` threads on the blocks, or as many as the system has.
     *
     * @throws std::system_error, std::bad_alloc when there is not even one
     */
    LAUNCH(std::vector<std::unique_ptr<BLOCK_TASK>> blocks, int workers);
    ~LAUNCH() { wait(); }
    LAUNCH(const LAUNCH&) = delete;
    LAUNCH& operator=(const LAUNCH&) = delete;

    /** Waits until every block has left. One thread may wait. */
    void wait();

    /** When the last block left; valid after wait(). */
    clock::time_point end() const { return end_; }

  private:
    struct ENTRY {
        std::unique_ptr<BLOCK_TASK> block;
        std::atomic<bool> claimed{false};
        bool gone = false;  ///< touched only by the claimer
    };

    void work(std::size_t home);
    bool advance(ENTRY& entry);

    std::vector<ENTRY> entries_;
    std::atomic<std::size_t> live_;
    clock::time_point end_;
    std::vector<std::thread> workers_;
};

}  // namespace orvex::platform
