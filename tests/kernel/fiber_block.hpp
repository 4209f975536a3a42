// The CUDA block's own text as a block that the tests of tests/device can run: on fibers, stopped
// in front of and after every flip, and open to be looked at there.
#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <vector>

#include "dialect.hpp"
#include "engine/device/cpu/block.hpp"
#include "engine/device/cuda/block.hpp"

namespace orvex::device::test {

/** What stopped the fibers. */
enum class GATE { ENTERED, TAKEN, LEFT, FLIP, FLIPPED, DONE };

/** A block of some size behind one interface. */
template <class E, class D>
class KERNEL_ON_FIBERS {
  public:
    virtual ~KERNEL_ON_FIBERS() = default;
    virtual BLOCK_RECORD<D>& record() = 0;
    virtual D& delta(int bit) = 0;
    virtual std::uint8_t& tabu(int bit) = 0;
    virtual bool one(int bit) = 0;
    virtual bool oneInBest(int bit) = 0;
    virtual unsigned long& rng(int thread) = 0;
    /** Runs to the next gate; false if the block sleeps, waiting for an instance. */
    virtual bool run() = 0;
    GATE gate = GATE::ENTERED;
};

/** One thread of the block, which stops at gates and lets its private state be seen. */
template <int S, class E, class D>
class SEEN_CUDA_BLOCK : public CUDA_BLOCK<S, E, D> {
  public:
    using BASE = CUDA_BLOCK<S, E, D>;

    SEEN_CUDA_BLOCK(typename BASE::SHARED& shared, const CUDA_LAUNCH<E>& launch, GATE& gate)
        : BASE(shared, launch), gate_(gate) {}

    void stop(GATE gate) {
        gate_ = gate;
        FIBERS::current().gate();
    }

    /**
     * The test raises the kill byte at the second stop. Thread 0 looks at it once more there: what
     * it sees after a flip is then the same whenever during the flip the byte was raised.
     */
    void flipBit(bool searching) {
        stop(GATE::FLIP);
        BASE::flipBit(searching);
        stop(GATE::FLIPPED);
        if (this->first()) this->shared_.kill_seen = this->killByte();
        __syncthreads();
    }

    D& delta(int c) { return this->delta_[c]; }
    std::uint8_t& tabu(int c) { return reinterpret_cast<std::uint8_t*>(this->tabu_)[c]; }
    bool one(int c) const { return this->bits_ >> c & 1; }
    unsigned long& rng() { return this->rng_; }

  private:
    GATE& gate_;
};

template <int S, class E, class D>
class KERNEL_OF_SIZE : public KERNEL_ON_FIBERS<E, D> {
  public:
    using BLOCK = SEEN_CUDA_BLOCK<S, E, D>;
    static constexpr int K = BLOCK::K;

    KERNEL_OF_SIZE(int block_index, const CUDA_LAUNCH<E>& launch, std::uint64_t seed)
        : launch_(launch),
          threads_(BLOCK::T),
          fibers_(BLOCK::T, block_index, seed, [this] { live(); }) {
        std::memset(static_cast<void*>(&shared_), 0xA5, sizeof(shared_));
    }

    BLOCK_RECORD<D>& record() override { return shared_.record; }
    D& delta(int bit) override { return threadOf(bit).delta(bit % K); }
    std::uint8_t& tabu(int bit) override { return threadOf(bit).tabu(bit % K); }
    bool one(int bit) override { return threadOf(bit).one(bit % K); }
    bool oneInBest(int bit) override { return shared_.best_bits[bit / K] >> (bit % K) & 1; }
    unsigned long& rng(int thread) override {
        return threads_[static_cast<std::size_t>(thread)]->rng();
    }
    bool run() override { return fibers_.run() != FIBERS::STATE::SLEEP; }

  private:
    BLOCK& threadOf(int bit) { return *threads_[static_cast<std::size_t>(bit / K)]; }

    void live() {
        BLOCK block(shared_, launch_, this->gate);
        threads_[threadIdx.x] = &block;
        block.stop(GATE::ENTERED);
        for (;;) {
            const bool taken = block.takeInstance();
            block.stop(taken ? GATE::TAKEN : GATE::LEFT);
            if (!taken) return;
            const bool done = orvex::device::runInstance(block);
            block.stop(done ? GATE::DONE : GATE::LEFT);
            if (!done) return;
        }
    }

    const CUDA_LAUNCH<E> launch_;
    typename BLOCK::SHARED shared_;
    std::vector<BLOCK*> threads_;
    FIBERS fibers_;
};

template <class E, class D>
class FIBER_BLOCK {
  public:
    FIBER_BLOCK(int block_index, const CPU_LAUNCH<E>& launch)
        : model_size_(launch.model_size),
          threads_(threads_of(launch.size)),
          kernel_(make(launch.size, block_index,
                       {.seeds = launch.seeds,
                        .weights = launch.weights,
                        .diagonal = launch.diagonal,
                        .model_size = &model_size_,
                        .ring_size = launch.ring_size,
                        .islands_per_gpu = launch.islands_per_gpu,
                        .rings = launch.rings,
                        .device_state = launch.device_state,
                        .params = launch.params})),
          record(kernel_->record()) {
        kernel_->run();
    }
    virtual ~FIBER_BLOCK() = default;

    enum class TAKEN { INSTANCE, STOP_MARK, NOTHING };

    TAKEN takeInstance() {
        if (!kernel_->run()) return TAKEN::NOTHING;
        return kernel_->gate == GATE::TAKEN ? TAKEN::INSTANCE : TAKEN::STOP_MARK;
    }

    /** Works on the instance taken; false if the block left. */
    bool work() {
        for (;;) {
            kernel_->run();
            if (kernel_->gate != GATE::FLIP) return kernel_->gate == GATE::DONE;
            flipBit(false);
        }
    }

    /** The flip that the fibers are about to make; they know whether tabus are counted down. */
    virtual void flipBit(bool) { kernel_->run(); }

    KERNEL_ON_FIBERS<E, D>& kernel() { return *kernel_; }
    int threads() const { return threads_; }

    /** Of the order in which fibers run, for blocks made from now on. */
    static inline std::uint64_t schedule = 1;

  private:
    static std::unique_ptr<KERNEL_ON_FIBERS<E, D>> make(int size, int block_index,
                                                        const CUDA_LAUNCH<E>& launch) {
        return makeOneOf<64, 128, 192, 256, 384, 1024, 4096, 5120, 10240, 65536>(size, block_index,
                                                                                 launch);
    }
    template <int S, int... OTHERS>
    static std::unique_ptr<KERNEL_ON_FIBERS<E, D>> makeOneOf(int size, int block_index,
                                                             const CUDA_LAUNCH<E>& launch) {
        if (size == S)
            return std::make_unique<KERNEL_OF_SIZE<S, E, D>>(block_index, launch, schedule);
        if constexpr (sizeof...(OTHERS) != 0)
            return makeOneOf<OTHERS...>(size, block_index, launch);
        else
            throw std::invalid_argument("no kernel on fibers of size " + std::to_string(size));
    }

    const int model_size_;
    const int threads_;
    const std::unique_ptr<KERNEL_ON_FIBERS<E, D>> kernel_;

  public:
    BLOCK_RECORD<D>& record;
};

// The cycle runs inside the fibers: whichever cycle a test asks for, it is theirs.

template <class BLOCK>
concept RUNS_BY_ITSELF = requires(BLOCK& block) {
    block.kernel();
};

template <RUNS_BY_ITSELF BLOCK>
bool runPlainly(BLOCK& block) {
    return block.work();
}

// ---- the block by bits ---------------------------------------------------------------------

template <class E, class D>
D& deltaOf(FIBER_BLOCK<E, D>& block, int bit) {
    return block.kernel().delta(bit);
}
template <class E, class D>
std::uint8_t tabuOf(FIBER_BLOCK<E, D>& block, int bit) {
    return block.kernel().tabu(bit);
}
template <class E, class D>
bool isOne(FIBER_BLOCK<E, D>& block, int bit) {
    return block.kernel().one(bit);
}
template <class E, class D>
bool isOneInBest(FIBER_BLOCK<E, D>& block, int bit) {
    return block.kernel().oneInBest(bit);
}
template <class E, class D>
std::vector<unsigned long> rngsOf(FIBER_BLOCK<E, D>& block) {
    std::vector<unsigned long> states;
    for (int t = 0; t < block.threads(); ++t)
        states.push_back(block.kernel().rng(t));
    return states;
}

}  // namespace orvex::device::test

namespace orvex::device {

template <test::RUNS_BY_ITSELF BLOCK>
bool runInstance(BLOCK& block) {
    return block.work();
}

}  // namespace orvex::device
