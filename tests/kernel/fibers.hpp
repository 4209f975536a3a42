// The threads of one block as fibers of one host thread. A fiber runs until it waits: at a barrier,
// for the other lanes of its warp, in a sleep, or at a gate, which is a place where a test wants to
// look at the block. Which of the fibers that can run comes next is drawn from a seed.
//
// A barrier opens when all fibers wait at the same place. Fibers that wait at two different places,
// or for a fiber that has ended, would hang a device or pass there by accident: they are reported
// with the places, and the process ends.
//
// Built with ORVEX_ADDRESS_CHECKS, the address checker is told which stack is in use. Built with
// ORVEX_RACE_DETECTION, the race detector knows of the fibers. Then nothing but barriers
// and what is said to be atomic orders the accesses of two fibers, whatever order they ran in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace orvex::device::test {

/** A statement of the kernel's text. */
struct PLACE {
    const char* file;
    int line;
    bool operator==(const PLACE& other) const { return line == other.line && file == other.file; }
    std::string text() const;
};

/** A stack as the address checker knows it. */
struct CHECKED_STACK {
    const void* lowest = nullptr;
    std::size_t bytes = 0;
    void* fake = nullptr;  ///< what it keeps for the stack while another one is in use
};

class FIBERS {
  public:
    /** Every fiber is to run `body`. Nothing runs yet. */
    FIBERS(int threads, int block_index, std::uint64_t seed, std::function<void()> body);
    ~FIBERS();
    FIBERS(const FIBERS&) = delete;
    FIBERS& operator=(const FIBERS&) = delete;

    enum class STATE { READY, BARRIER, WARP, SLEEP, GATE, ENDED };

    /**
     * Runs until no fiber can go on: GATE if all are at one, ENDED if all have ended, else SLEEP.
     * The next call wakes those that sleep or are at a gate.
     */
    STATE run();

    /** The fibers of the block that the calling fiber belongs to. */
    static FIBERS& current();

    // What the fibers themselves call.
    int thread() const { return running_; }
    int block() const { return block_; }
    void barrier(PLACE place);
    void gate() { wait(STATE::GATE, {"", 0}); }
    void sleep() { wait(STATE::SLEEP, {"", 0}); }
    /** Lets another fiber go first, now and then. */
    void maybeYield();
    /** The values that the 32 lanes of the calling fiber's warp bring to the place. */
    const std::uint64_t* exchange(unsigned mask, std::uint64_t value, PLACE place);
    /** Of several stores to a cell between two barriers, the one of the highest thread lands. */
    bool mayLand(const void* cell);

    /** Called after every store that others wait for, as if one of them saw it at once. */
    static inline thread_local std::function<void(const void* word)> on_poke;

    /** Barriers at this place are passed without waiting: a planted fault. */
    static inline PLACE left_out{"", 0};
    /** Every place where a barrier was met, for planting faults. */
    static inline std::set<std::string> barriers_met;

  private:
    struct FIBER;
    struct WARP_STATE {
        int arrived = 0;
        std::uint64_t brought[32];
        std::uint64_t seen[32];
    };
    struct STORE {
        const void* cell;
        int thread;
    };

    void wait(STATE state, PLACE place);
    void resume(int thread);
    void openBarrier();
    void wake(STATE state);
    void makeReady(int thread);
    std::uint64_t draw();
    int count(STATE state) const;
    [[noreturn]] void reportStuck() const;
    static void enter();

    const int block_;
    const std::function<void()> body_;
    std::uint64_t random_;
    std::vector<std::unique_ptr<FIBER>> fibers_;
    std::vector<WARP_STATE> warps_;
    std::vector<int> ready_;
    std::vector<STORE> stores_;
    std::vector<int> counts_;  ///< fibers in each state
    int running_ = -1;
    void* home_ = nullptr;           ///< where run() goes on
    void* home_detected_ = nullptr;  ///< the race detector's name of it
    CHECKED_STACK home_checked_{};
    // A fiber that is slow to leave a barrier must not learn from it what faster ones bring to the
    // next one, so barriers take turns with two tags.
    char barrier_tags_[2] = {};
    unsigned barriers_opened_ = 0;
    char host_tag_ = 0;
};

}  // namespace orvex::device::test
