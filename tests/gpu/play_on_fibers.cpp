// Plays the instances of play.hpp on the kernel's text as the host compiler makes it. Needs no GPU.
#include <type_traits>

#include "dialect.hpp"
#include "engine/device/cuda/block.hpp"
#include "play.hpp"

namespace {

using namespace orvex::device;

constexpr unsigned RING_SIZE = 4;

template <int S, class E, class D>
class FIBER_STAGE : public test::STAGE {
  public:
    explicit FIBER_STAGE(const test::PROBLEM& problem)
        : rings_(2 * RING_SIZE * instance_bytes(S)), fibers_(threads_of(S), 0, 1, [this, &problem] {
              const E* const weights = reinterpret_cast<const E*>(problem.matrix.data());
              const E* const diagonal = weights + std::size_t{S} * S;
              CUDA_BLOCK<S, E, D> block(shared_,
                                        {.seeds = problem.seeds.data(),
                                         .weights = weights,
                                         .diagonal = diagonal,
                                         .model_size = reinterpret_cast<const int*>(diagonal + S),
                                         .ring_size = RING_SIZE,
                                         .islands_per_gpu = 1,
                                         .rings = rings_.data(),
                                         .device_state = &state_,
                                         .params = &params_});
              serve(block);
          }) {
        state_.state_a = words_;
        state_.state_b = words_ + 1;
        state_.state_c = words_ + 2;
    }

    void exchange(std::uint32_t ticket, std::vector<unsigned char>& record) override {
        unsigned char* const to = rings_.data() + ticket % RING_SIZE * instance_bytes(S);
        std::memcpy(to, record.data(), record.size());
        const std::int64_t sequence = std::int64_t{ticket} + 1;
        std::memcpy(to + S / 8 + 24, &sequence, sizeof(sequence));
        const unsigned char* const from =
            rings_.data() + (RING_SIZE + ticket % RING_SIZE) * instance_bytes(S);
        for (std::int64_t seen = 0; seen != sequence;) {
            fibers_.run();
            std::memcpy(&seen, from + S / 8 + 24, sizeof(seen));
        }
        std::memcpy(record.data(), from, record.size());
    }

  private:
    CUDA_SHARED<S, D> shared_;
    std::vector<unsigned char> rings_;
    int words_[4] = {};
    DeviceState state_{};
    GPU_PARAMS params_;
    test::FIBERS fibers_;
};

}  // namespace

int main() {
#define PLAYED(size, matrix, arith)                                                   \
    {                                                                                 \
        const test::PROBLEM problem = test::make_problem<std::int##matrix##_t>(size); \
        FIBER_STAGE<size, std::int##matrix##_t, std::int##arith##_t> stage(problem);  \
        test::play(#size "_" #matrix "_" #arith, size, stage);                        \
    }
#include "bands.inc"
#undef PLAYED
}
