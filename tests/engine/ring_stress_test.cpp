// An island's host thread against a simulated device that takes instances late, works on several at
// a time, and writes results in any order and after any delay, near the ends of all counts. Nothing
// is lost and nothing counts twice: tickets follow each other without a gap, and what the results
// say adds up.
#include <random>
#include <thread>

#include "engine/device/records.hpp"
#include "engine/relaxed.hpp"
#include "engine/support/run_by_hand.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;
using band::INST_t;
using band::ISLAND;

/** The blocks of one island, with as much reordering as the protocol allows. */
class LATE_BLOCKS {
  public:
    LATE_BLOCKS(ISLAND& island, int blocks, std::uint64_t seed)
        : island_(island), random_(seed), taken_(island.received), free_(blocks), blocks_(blocks) {
        handed_in_ = island.received;
    }

    /** Works until each block has got its stop mark. */
    void work() {
        while (stops_ < blocks_ || !open_.empty()) {
            switch (random_() % 4) {
                case 0:
                    std::this_thread::yield();
                    break;
                case 1:
                    if (random_() % 8 == 0)
                        std::this_thread::sleep_for(std::chrono::microseconds(random_() % 300));
                    break;
                case 2:
                    take();
                    break;
                default:
                    finish();
            }
        }
    }

    std::int64_t taken() const { return taken_; }
    std::int64_t flips() const { return flips_; }
    int gaps() const { return gaps_; }

  private:
    /** A result whose slot is known and whose ticket is not written yet. */
    struct OPEN {
        std::int64_t number;
        std::uint32_t cycles;
    };

    void take() {
        if (free_ == 0 || stops_ == blocks_) return;
        const INST_t& next =
            island_.send_ring[static_cast<int>((taken_ + stops_) % band::gv->ring_size)];
        const std::int64_t ticket = __atomic_load_n(&next.ticket, __ATOMIC_ACQUIRE);
        if (ticket == device::STOP_TICKET) {
            ++stops_;
            --free_;
            return;
        }
        if (ticket != taken_ + 1) {
            gaps_ += ticket > taken_ + 1;
            return;
        }
        ++taken_;
        --free_;
        // The block has its result, which gets its number now and its ticket some time later.
        open_.push_back({handed_in_++, static_cast<std::uint32_t>(1 + random_() % 1000000)});
    }

    void finish() {
        if (open_.empty()) return;
        const std::size_t which = random_() % open_.size();
        const OPEN result = open_[which];
        open_.erase(open_.begin() + static_cast<std::ptrdiff_t>(which));
        INST_t& to = island_.recv_ring[static_cast<int>(result.number % band::gv->ring_size)];
        INST_t made = result_of(-static_cast<long>(random_() % 1000));
        made.cycles = result.cycles;
        made.bits[0] = random_();
        made.generation = static_cast<std::uint16_t>(65534 + random_() % 4);
        made.ticket = to.ticket;
        platform::cudaMemcpy(&to, &made, sizeof(made), platform::cudaMemcpyHostToDevice);
        const std::int64_t ticket = result.number + 1;
        platform::cudaMemcpy(&to.ticket, &ticket, sizeof(ticket), platform::cudaMemcpyHostToDevice);
        flips_ += result.cycles;
        ++free_;
    }

    ISLAND& island_;
    std::mt19937_64 random_;
    std::int64_t taken_, handed_in_;
    std::vector<OPEN> open_;
    int free_, blocks_, stops_ = 0, gaps_ = 0;
    std::int64_t flips_ = 0;
};

class HostRingStress : public RunByHand {
  protected:
    void play(std::uint64_t seed) {
        std::mt19937_64 random(seed);
        const int blocks = 1 + static_cast<int>(random() % 4);
        constexpr int INSTANCES = 60;
        param.set("trial_limit", std::to_string(INSTANCES));
        prepare(1, blocks);
        ISLAND& at = island(0);
        constexpr std::int64_t FIRST[] = {0, (std::int64_t{1} << 31) - 20,
                                          (std::int64_t{1} << 32) - 1000};
        const std::int64_t first = FIRST[random() % 3];
        at.sent = at.received = first;
        at.send_pos = at.recv_pos = static_cast<int>(first % run->ring_size);
        at.generation = random() % 2 == 0 ? 0 : 65534;
        at.sendRandom(2 * blocks);

        LATE_BLOCKS late(at, blocks, seed);
        std::thread device([&] { late.work(); });
        band::HOST_THREAD host{.id = 0, .island = &at};
        std::thread restarter([&, &flag = at.restart] {
            for (int i = 0; i < 3; ++i) {
                std::this_thread::sleep_for(std::chrono::microseconds(200));
                engine::set_relaxed(flag, static_cast<unsigned char>(1));
            }
        });
        host.main_func();
        device.join();
        restarter.join();
        EXPECT_EQ(late.gaps(), 0);
        EXPECT_EQ(at.sent, first + INSTANCES);
        EXPECT_EQ(at.received, at.sent);
        EXPECT_EQ(late.taken(), at.sent);
        EXPECT_EQ(at.flips, late.flips());
        EXPECT_EQ(run->trans_count->received(0), INSTANCES);
    }
};

TEST_F(HostRingStress, NothingIsLostAndNothingCountsTwice) {
    for (std::uint64_t seed = 1; seed <= 200 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        play(seed);
        finish();
    }
}

}  // namespace
