// Plays the instances of play.hpp on one block of each band's kernel on a GPU. Needs a GPU.
#include <chrono>
#include <thread>

#include "engine/error_exit.hpp"
#include "needs_gpu.hpp"
#include "platform/cuda/runtime.hpp"
#include "play.hpp"

#define PLAYED(size, matrix, arith)                                                           \
    namespace qb##size##_##matrix##_##arith {                                                 \
        struct WMAT;                                                                          \
        struct INST_t;                                                                        \
        void ORVEX(unsigned int, unsigned long*, WMAT&, unsigned int, unsigned char, INST_t*, \
                   int*, orvex::device::DeviceState*);                                        \
    }
#include "bands.inc"
#undef PLAYED

namespace {

using namespace orvex::device;
using namespace orvex::platform;

constexpr unsigned RING_SIZE = 4;

template <class X>
X* on_device(const void* bytes, std::size_t count) {
    X* memory = nullptr;
    cuda_check(cudaMalloc(&memory, count));
    if (bytes)
        cuda_check(cudaMemcpy(memory, bytes, count, cudaMemcpyHostToDevice));
    else
        cuda_check(cudaMemset(memory, 0, count));
    return memory;
}

template <class WMAT, class INST>
class GPU_STAGE : public test::STAGE {
  public:
    using KERNEL = void (*)(unsigned int, unsigned long*, WMAT&, unsigned int, unsigned char, INST*,
                            int*, DeviceState*);

    GPU_STAGE(KERNEL kernel, int size, const test::PROBLEM& problem)
        : bytes_(instance_bytes(size)), ticket_at_(static_cast<std::size_t>(size) / 8 + 24) {
        cuda_check(load_kernel(address_of(kernel)));
        matrix_ = on_device<unsigned char>(problem.matrix.data(), problem.matrix.size());
        seeds_ = on_device<unsigned long>(problem.seeds.data(),
                                          problem.seeds.size() * sizeof(unsigned long));
        rings_ = on_device<unsigned char>(nullptr, 2 * RING_SIZE * bytes_);
        words_ = on_device<int>(nullptr, 4 * sizeof(int));
        DeviceState image{};
        image.state_a = words_;
        image.state_b = words_ + 1;
        image.state_c = words_ + 2;
        state_ = on_device<DeviceState>(&image, sizeof(image));
        cuda_check(cudaStreamCreateWithFlags(&kernel_stream_, cudaStreamNonBlocking));
        cuda_check(cudaStreamCreateWithFlags(&copy_stream_, cudaStreamNonBlocking));
        cuda_check(cudaDeviceSynchronize());
        unsigned id = 0;
        unsigned ring_size = RING_SIZE;
        unsigned char islands = 1;
        int* kernel_ints = nullptr;
        void* arguments[] = {&id,      &seeds_, &matrix_,     &ring_size,
                             &islands, &rings_, &kernel_ints, &state_};
        launch_kernel(address_of(kernel), 1, threads_of(size), kernel_stream_, arguments);
        cuda_check(cudaGetLastError());
    }

    ~GPU_STAGE() override {
        const std::uint8_t kill = 1;
        copy(&state_->kill, &kill, sizeof(kill), cudaMemcpyHostToDevice);
        cuda_check(cudaStreamSynchronize(kernel_stream_));
        for (void* memory :
             {static_cast<void*>(matrix_), static_cast<void*>(seeds_), static_cast<void*>(rings_),
              static_cast<void*>(words_), static_cast<void*>(state_)})
            cuda_check(cudaFree(memory));
        cuda_check(cudaStreamDestroy(kernel_stream_));
        cuda_check(cudaStreamDestroy(copy_stream_));
    }

    void exchange(std::uint32_t ticket, std::vector<unsigned char>& record) override {
        unsigned char* const to = rings_ + ticket % RING_SIZE * bytes_;
        const std::int64_t sequence = std::int64_t{ticket} + 1;
        copy(to, record.data(), bytes_, cudaMemcpyHostToDevice);
        copy(to + ticket_at_, &sequence, sizeof(sequence), cudaMemcpyHostToDevice);
        unsigned char* const from = rings_ + (RING_SIZE + ticket % RING_SIZE) * bytes_;
        for (std::int64_t seen = 0; seen != sequence;) {
            std::this_thread::sleep_for(std::chrono::microseconds(100));
            copy(&seen, from + ticket_at_, sizeof(seen), cudaMemcpyDeviceToHost);
        }
        copy(record.data(), from, bytes_, cudaMemcpyDeviceToHost);
    }

  private:
    void copy(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind) {
        cuda_check(cudaMemcpyAsync(to, from, bytes, kind, copy_stream_));
        cuda_check(cudaStreamSynchronize(copy_stream_));
    }

    const std::size_t bytes_, ticket_at_;
    unsigned char* matrix_;
    unsigned long* seeds_;
    unsigned char* rings_;
    int* words_;
    DeviceState* state_;
    cudaStream_t kernel_stream_ = nullptr;
    cudaStream_t copy_stream_ = nullptr;
};

}  // namespace

int main() {
    needs_gpu();
#define PLAYED(size, matrix, arith)                                                   \
    {                                                                                 \
        namespace band = qb##size##_##matrix##_##arith;                               \
        const test::PROBLEM problem = test::make_problem<std::int##matrix##_t>(size); \
        GPU_STAGE<band::WMAT, band::INST_t> stage(band::ORVEX, size, problem);        \
        test::play(#size "_" #matrix "_" #arith, size, stage);                        \
    }
#include "bands.inc"
#undef PLAYED
}
