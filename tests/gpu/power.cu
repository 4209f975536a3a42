// The ranks of "PositiveMin" on the device beside those of the host, for every draw and the weights
// that threads come to have. The power function may round differently, so ranks may differ by as
// much as the documented errors of both allow, and by no more. Needs a GPU.
#include <cstdint>
#include <cstdio>
#include <vector>

#include "engine/device/formulas.hpp"
#include "engine/error_exit.hpp"
#include "needs_gpu.hpp"

namespace {

using namespace orvex::device;

constexpr unsigned DRAWS = 65536;

// A rank is a float's value times 2^31. The device's power is within 4 units in the last place of
// the exact one, the host's within 1; a unit is at most 2^-23 of the value. Both are cut to
// integers.
constexpr double MOST_APART = 5.0 / (1 << 23);

__global__ void rankAll(float weight, std::uint32_t* ranks) {
    const unsigned draw = blockIdx.x * blockDim.x + threadIdx.x;
    ranks[draw] = sampling_rank(unit_draw(draw), weight);
}

/** Whether all ranks for this weight are as near to the host's as they must be. */
bool compare(float weight, std::uint32_t* on_device) {
    rankAll<<<DRAWS / 256, 256>>>(weight, on_device);
    cuda_check(cudaGetLastError());
    std::vector<std::uint32_t> ranks(DRAWS);
    cuda_check(
        cudaMemcpy(ranks.data(), on_device, DRAWS * sizeof(std::uint32_t), cudaMemcpyDeviceToHost));
    unsigned different = 0;
    unsigned too_far = 0;
    for (unsigned draw = 0; draw < DRAWS; ++draw) {
        const double host = sampling_rank(unit_draw(draw), weight);
        const double apart = host > ranks[draw] ? host - ranks[draw] : ranks[draw] - host;
        different += apart != 0;
        too_far += apart > host * MOST_APART + 1;
    }
    std::printf("weight %g: %u of %u ranks differ, %u by too much\n", static_cast<double>(weight),
                different, DRAWS, too_far);
    return too_far == 0 && (weight != 1.0f || different == 0);
}

}  // namespace

int main() {
    needs_gpu();
    std::uint32_t* on_device = nullptr;
    cuda_check(cudaMalloc(&on_device, DRAWS * sizeof(std::uint32_t)));
    bool near = true;
    for (int tied = 1; tied <= 64; ++tied) {
        near &= compare(tied_weight(tied), on_device);
        near &= compare(static_cast<float>(tied), on_device);
        near &= compare(1.0f + tied_weight(tied), on_device);
    }
    cuda_check(cudaFree(on_device));
    return near ? 0 : 1;
}
