#include "engine/sizing.hpp"

#include <algorithm>
#include <cassert>
#include <limits>

namespace orvex::engine {

RUN_SHAPE sized(RUN_SHAPE shape, int gpus, int blocks_per_sm, int multiprocessors) {
    assert(gpus > 0);
    const auto ceil_of = [](int a, int b) { return a / b + (a % b > 0); };
    if (shape.blocks_per_gpu == 0) shape.blocks_per_gpu = blocks_per_sm * multiprocessors;
    if (shape.islands_per_gpu == 0)
        shape.islands_per_gpu = gpus > 5 ? 1 : std::min(ceil_of(5, gpus), shape.blocks_per_gpu);
    if (shape.blocks_per_island == 0 && shape.islands_per_gpu > 0)
        shape.blocks_per_island = ceil_of(shape.blocks_per_gpu, shape.islands_per_gpu);
    return shape;
}

bool can_be_launched(const RUN_SHAPE& shape, int gpus) {
    const long islands = shape.islands_per_gpu;
    const long blocks = shape.blocks_per_island;
    constexpr long MOST = std::numeric_limits<int>::max();
    return islands >= 1 && blocks >= 1 && islands * blocks <= MOST && 16 * blocks <= MOST &&
           gpus * (islands + 1) <= MOST;
}

}  // namespace orvex::engine
