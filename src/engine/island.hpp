// An island is one host-side population, the device blocks that serve it, and the pair of rings by
// which it talks to them while the kernel runs. A ring is a row of slots in device memory; a slot
// is filled when its ticket word has its final value, which is written last, after the body has
// landed. One host thread uses an island; what others look at without a lock is read and written
// relaxed.
#pragma once

#include <array>
#include <cassert>
#include <cstdint>
#include <memory>
#include <vector>

#include "engine/device_threads.hpp"
#include "engine/globals.hpp"
#include "engine/instance.hpp"
#include "engine/names.hpp"
#include "engine/pool.hpp"

namespace orvex::engine {

struct ISLAND {
    ISLAND(GLOBAL_VARS& of_run, int number);
    ~ISLAND();
    ISLAND(const ISLAND&) = delete;
    ISLAND& operator=(const ISLAND&) = delete;

    enum MODE { INSTANCE_MODE = 0, STOP_MARK_MODE = 1 };
    /** Transfers `send_buf` to the next slot of the send ring, as an instance or as a stop mark. */
    void host2device(int mode);
    /** Waits for the next result and takes it into `recv_buf`; returns early if the run is killed.
     */
    void device2host();
    /**
     * Sends up to n random instances, as far as the run's limit on trials allows, in front of them
     * the start solution if there is one, which has its place in that limit already.
     */
    void sendRandom(int n);
    /** Finds the rings of this island among those of its device. */
    void findRings();
    /** Stamps what the run prescribes on `send_buf`. */
    void stampInstance();
    /** What `recv_buf` achieves: stop by time, island's and run's best, events, progress line. */
    void regBest(int);
    void generate(signed char kind);
    void restartSearch();
    void sendStopMarks();
    /** Sends the hint at once, or else as the answer to the result at hand. */
    void sendHint(const Sol::Impl& hint);
    /** Whether one more instance may be in flight without a slot being overwritten unread. */
    bool hasRoomForHint() const;
    /** Whether blocks can number what is still to be sent: their counters have 32 bits. */
    bool hasTickets() const;
    void print(int number, bool winner, long best_energy) const;
    int deliveringBlocks() const;

    GLOBAL_VARS& run;
    int gpu = 0;
    int id;         ///< from 0; -1 for the summary island of ALLISLAND
    int local = 0;  ///< index on its device
    platform::cudaStream_t stream = nullptr;
    INSTANCES send_ring;  ///< host to device, in device memory
    INSTANCES recv_ring;  ///< device to host, in device memory
    int send_pos = 0;
    int recv_pos = 0;
    LOCKED_INSTANCE send_buf;  ///< page-locked: the instance being built
    LOCKED_INSTANCE recv_buf;  ///< page-locked: the last result
    LOCKED_WORD ticket_word;   ///< page-locked: a ticket that was looked at
    SOLPOOL pool;
    std::int64_t sent = 0;  ///< instances, stop marks not counted
    std::int64_t received = 0;
    bool answer_is_hint = false;  ///< `send_buf` holds a hint that the next answer takes along
    int cross_pause = 0;          ///< results still to come before "XCross" may use the neighbour
    int generation = 0;  ///< the island's restarts; the low 16 bits are stamped on what it sends
    int last_generation = -1;  ///< of the last result
    OWN_INSTANCE current;      ///< best of the present generation
    OWN_INSTANCE best;         ///< best of the whole run, of negative energies only
    std::int64_t flips = 0;    ///< reported in results
    std::array<std::int64_t, ALGORITHMS> algorithm_count{};
    std::array<std::int64_t, GENERATORS> instance_count{};
    unsigned char restart = 0;  ///< set when a new period begins; cleared by the island's thread
    bool stopping = false;      ///< stop marks are out: nothing may follow them
    int block_total = 0;
    std::int64_t block_hits = 0;                    ///< results that named a valid block
    std::unique_ptr<std::int64_t[]> block_results;  ///< results per block

  private:
    void makeBest(const INSTANCE& result);
    void showProgress(bool new_best) const;
    std::int64_t lookAtTicket(const std::int64_t& word);
    void account();
    void load(const Sol::Impl& solution);
};

/** All islands of a run, with the all-time best. */
struct ALLISLAND {
    ALLISLAND(GLOBAL_VARS& of_run, int number);

    /** The final table; for one call per run, since the summary's counts are added up, not set. */
    void print();
    /** Blocks of a device that really delivered, against what it could hold. */
    void printOccupancy(const DEV_THREAD& device) const;

    /** The previous island in the ring of those that restart. */
    ISLAND& neighbourOf(int id) {
        const int ring = run.restart_islands;
        assert(id >= 0 && id < count);
        assert(ring > 0 && ring <= count);
        return *islands[static_cast<std::size_t>((id + ring - 1) % ring)];
    }

    GLOBAL_VARS& run;
    int count;
    std::vector<std::unique_ptr<ISLAND>> islands;
    ISLAND summary;
    INSTANCE* allbest = &summary.best;  ///< all-time best; energy and bits are read without a lock
    OWN_INSTANCE hint;                  ///< the caller's hint; bits are read without a lock
};

}  // namespace orvex::engine
