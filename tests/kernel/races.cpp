// The kernel on fibers under the race detector: every access of two threads of a block to the same
// cell must be ordered by a barrier, whatever order the fibers happened to run in. Ends with 0 if
// nothing was reported.
//
//   orvex_kernel_races                       runs all rules in bands of several shapes
//   orvex_kernel_races --barriers            the same, and lists the barriers that were met
//   orvex_kernel_races --without FILE:LINE   the same without the barrier that is there, which
//                                            the detector must report
//
// The fibers are compiled without the detector, which knows of them by its fiber interface.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "engine/device/flip_rules.hpp"
#include "kernels.hpp"

namespace {

using namespace orvex::device;
using namespace orvex::device::test;

constexpr std::int8_t RULES = FLIP_RULES.size();

std::uint64_t drawn = 88172645463325252;
std::uint64_t draw() {
    return drawn = xor_shift(drawn) ^ 1;
}

/** One block with its rings and a random matrix, all in plain memory. */
template <int S, class E, class WMAT, class INST>
class BENCH {
  public:
    static constexpr int T = threads_of(S);
    static constexpr unsigned RING_SIZE = 4;
    using KERNEL = void (*)(unsigned, unsigned long*, WMAT&, unsigned, unsigned char, INST*, int*,
                            DeviceState*);

    BENCH(KERNEL kernel, int low, int high)
        : matrix_((std::size_t{S} * S + S) * sizeof(E) + sizeof(int)),
          rings_(2 * RING_SIZE * instance_bytes(S)),
          fibers_(T, 0, draw(), [=, this] {
              kernel(0, seeds_, *reinterpret_cast<WMAT*>(matrix_.data()), RING_SIZE, 1,
                     reinterpret_cast<INST*>(rings_.data()), nullptr, &state_);
          }) {
        E* const weights = reinterpret_cast<E*>(matrix_.data());
        const SHAPE shape(S);
        for (int i = 0; i < S; ++i)
            for (int j = i; j < S; ++j) {
                const E value = static_cast<E>(low + static_cast<int>(draw() % (high - low + 1)));
                weights[i * S + shape.place(j)] = weights[j * S + shape.place(i)] = value;
                if (i == j) weights[S * S + shape.place(i)] = value;
            }
        const int n = S;
        std::memcpy(matrix_.data() + (std::size_t{S} * S + S) * sizeof(E), &n, sizeof(n));
        for (unsigned long& seed : seeds_)
            seed = draw();
        state_.state_a = words_;
        state_.state_b = words_ + 1;
        state_.state_c = words_ + 2;
        fibers_.run();
    }

    void run(std::int8_t rule, std::uint16_t generation, bool zero_target) {
        unsigned char* const slot = slotOf(0, sent_);
        for (int i = 0; i < S / 8; ++i)
            slot[8 + i] = zero_target ? 0 : static_cast<unsigned char>(draw());
        INST_TAIL& tail = tailOf(slot);
        tail.algorithm = rule;
        tail.cycles = rule >= RULES ? 0 : 30;  // a wrong rule goes on until the budget is spent
        tail.annealing = 10;
        tail.generation = generation;
        announce(tail, static_cast<std::int64_t>(++sent_));
        const INST_TAIL& result = tailOf(slotOf(1, sent_ - 1));
        FIBERS::on_poke = [&](const void* word) {
            if (word == &result.ticket) readResult(slotOf(1, sent_ - 1));
        };
        while (__atomic_load_n(&result.ticket, __ATOMIC_ACQUIRE) !=
               static_cast<std::int64_t>(sent_))
            fibers_.run();
        FIBERS::on_poke = nullptr;
    }

    void stop() {
        announce(tailOf(slotOf(0, sent_)), STOP_TICKET);
        while (fibers_.run() != FIBERS::STATE::ENDED) {
        }
    }

  private:
    unsigned char* slotOf(unsigned ring, unsigned ticket) {
        return rings_.data() + (ring * RING_SIZE + ticket % RING_SIZE) * instance_bytes(S);
    }
    static INST_TAIL& tailOf(unsigned char* slot) {
        return *reinterpret_cast<INST_TAIL*>(slot + S / 8 + 8);
    }
    /** What the host does as soon as it sees the ticket. */
    void readResult(const unsigned char* slot) {
        for (std::size_t i = 0; i < instance_bytes(S); ++i)
            read_ += slot[i];
    }
    static void announce(INST_TAIL& tail, std::int64_t ticket) {
        __atomic_store_n(&tail.ticket, ticket, __ATOMIC_RELEASE);
    }

    std::vector<unsigned char> matrix_, rings_;
    unsigned long seeds_[T];
    int words_[4] = {};
    DeviceState state_{};
    unsigned sent_ = 0;
    unsigned read_ = 0;
    FIBERS fibers_;
};

template <int S, class E, class WMAT, class INST, class KERNEL>
void runBand(KERNEL kernel, int low, int high) {
    BENCH<S, E, WMAT, INST> bench(kernel, low, high);
    std::uint16_t generation = 1;
    for (std::int8_t rule = 0; rule < RULES; ++rule) {
        bench.run(rule, generation, false);
        bench.run(rule, generation, true);
        ++generation;
    }
    bench.run(RULES, generation, false);
    bench.stop();
}

void runAll() {
    runBand<64, std::int32_t, qb64_32_32::WMAT, qb64_32_32::INST_t>(qb64_32_32::ORVEX, -20, 20);
    runBand<64, std::int32_t, qb64_32_32::WMAT, qb64_32_32::INST_t>(qb64_32_32::ORVEX, -1, 1);
    runBand<192, std::int32_t, qb192_32_64::WMAT, qb192_32_64::INST_t>(qb192_32_64::ORVEX, -20, 20);
    runBand<384, std::int64_t, qb384_64_64::WMAT, qb384_64_64::INST_t>(qb384_64_64::ORVEX, -20, 20);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string what = argc > 1 ? argv[1] : "";
    if (what == "--without" && argc == 3) {
        const std::string place = argv[2];
        const std::size_t colon = place.find(':');
        static const std::string file = place.substr(0, colon);
        FIBERS::left_out = {file.c_str(), std::atoi(place.c_str() + colon + 1)};
    } else if (argc > 2 || (argc == 2 && what != "--barriers")) {
        std::fprintf(stderr, "usage: orvex_kernel_races [--barriers | --without FILE:LINE]\n");
        return 2;
    }
    runAll();
    if (what == "--barriers")
        for (const std::string& place : FIBERS::barriers_met)
            std::printf("barrier %s\n", place.c_str());
}
